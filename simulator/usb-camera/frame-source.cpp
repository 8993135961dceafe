// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The pace of a stream. Called on the camera's thread.

#include "frame-source.h"

#include "frame-damage.h"

namespace UsbCamera {
namespace {

using Simulator::FaultKind;

std::chrono::nanoseconds length(std::uint64_t intervals, std::uint32_t interval) {
    return std::chrono::nanoseconds(100 * intervals * interval);
}

}  // namespace

FrameSource::FrameSource(const StreamFormat& format, Painters& painters,
                         Simulator::ControlBlock& faults)
    : m_format(format),
      m_faults(faults),
      m_painter(painters.find(format.fourcc, format.width, format.height)),
      m_frame(format.maxBytes) {}

Clock::time_point FrameSource::due() const {
    return *m_begin + length(m_intervals, m_format.interval);
}

std::optional<Clock::time_point> FrameSource::waitUntil() const {
    return m_stall ? m_stall->until : std::optional(due());
}

/// Whether a stall goes on: its time is not over, and nobody has cleared it.
bool FrameSource::stalls(Clock::time_point now) const {
    return Simulator::stillOn(m_faults, m_stall->fault) &&
           (!m_stall->until || now < *m_stall->until);
}

FrameSource::Step FrameSource::step(Clock::time_point now) {
    if (!m_begin) {
        m_begin = now;
        m_intervals = 1;
    }
    if (m_stall) {
        if (stalls(now)) {
            return Step::Wait;
        }
        m_stall.reset();
        return produce(now);
    }
    if (now < due()) {
        return Step::Wait;
    }
    m_struck = Simulator::countEvent(m_faults, Simulator::eventFrame);
    const Simulator::StruckFault* const stall = m_struck.find(FaultKind::Stall);
    if (stall == nullptr) {
        return produce(now);
    }
    m_stall = {*stall, std::nullopt};
    if (stall->fault.value != 0) {
        m_stall->until = now + std::chrono::milliseconds(stall->fault.value);
    }
    return Step::Wait;
}

FrameSource::Step FrameSource::produce(Clock::time_point now) {
    if (m_struck.find(FaultKind::Unplug) != nullptr) {
        return Step::Unplug;
    }
    // Who was kept from taking frames gets the next ones late, not all at once.
    if (now > due() + length(1, m_format.interval)) {
        m_begin = now;
        m_intervals = 0;
    }
    ++m_intervals;
    const std::uint32_t number = m_number++;
    if (m_struck.find(FaultKind::LoseFrame) != nullptr) {
        m_bytes = 0;
        m_flawed = false;
        return Step::Frame;
    }
    const std::size_t painted = m_painter.paint(m_frame.data(), m_frame.size(), number);
    const auto frame = Simulator::damageFrame(m_frame.data(), painted, number, m_struck);
    m_bytes = frame.bytes;
    m_flawed = frame.flagged;
    return Step::Frame;
}

}  // namespace UsbCamera
