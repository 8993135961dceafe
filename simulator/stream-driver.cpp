// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The driver thread of a stream: one frame at a time, at its time, and whatever is to go wrong with
// it. It sleeps on the futex of the control block, so that an unplug or a fault from another
// process acts at once.

#include <pthread.h>

#include "frame-choice.h"
#include "frame-damage.h"
#include "stream.h"

namespace Simulator {
namespace {

constexpr std::uint64_t nanoseconds = 1000000000;

}  // namespace

void Stream::run() {
    pthread_setname_np(pthread_self(), "simulated-cam");
    Lock lock(m_mutex);
    while (!m_quit) {
        const std::uint32_t seen = m_control.wake.load(std::memory_order_acquire);
        const auto until = work(lock);
        if (m_quit || (until && *until <= Clock::now())) {
            continue;
        }
        lock.unlock();
        waitForRing(m_control, seen, until);
        lock.lock();
    }
}

/// Does what there is to do now; returns when there will be more, nothing for only after a ring.
std::optional<Stream::Clock::time_point> Stream::work(Lock& lock) {
    noticeUnplug();
    if (!m_streaming || m_broken) {
        return std::nullopt;
    }
    if (m_stall) {
        if (stalls()) {
            return m_stall->until;
        }
        m_stall.reset();
        m_begin = Clock::now();
        m_interval = 0;
        produce(lock);
    } else if (dueTime() <= Clock::now()) {
        frameDue(lock);
    }
    // A stall or a break that began just now is for the next round.
    return m_stall || !m_streaming || m_broken ? Clock::now() : dueTime();
}

void Stream::noticeUnplug() {
    if (!gone()) {
        return;
    }
    m_streaming = false;
    m_queue.cancel();
    showReadiness();
}

Stream::Clock::time_point Stream::dueTime() const {
    const std::uint64_t past =
        m_interval * m_format.interval.numerator * nanoseconds / m_format.interval.denominator;
    return m_begin + std::chrono::nanoseconds(past);
}

void Stream::frameDue(Lock& lock) {
    m_struck = countEvent(m_control, eventFrame);
    const StruckFault* const stall = m_struck.find(FaultKind::Stall);
    if (stall == nullptr) {
        produce(lock);
        return;
    }
    m_stall = {*stall, std::nullopt};
    if (stall->fault.value != 0) {
        m_stall->until = Clock::now() + std::chrono::milliseconds(stall->fault.value);
    }
}

/// Whether the stall goes on: its time is not over, and nobody has cleared it.
bool Stream::stalls() {
    return stillOn(m_control, m_stall->fault) &&
           (!m_stall->until || Clock::now() < *m_stall->until);
}

/// One frame, good or bad, into the oldest queued buffer. Without one the frame is lost.
void Stream::produce(Lock& lock) {
    if (m_struck.find(FaultKind::Unplug) != nullptr) {
        unplugDevice(m_control);
        noticeUnplug();
        return;
    }
    if (m_struck.find(FaultKind::QueueError) != nullptr) {
        m_broken = true;
        showReadiness();
        return;
    }
    m_control.framesMade.fetch_add(1, std::memory_order_relaxed);
    const bool lost = m_struck.find(FaultKind::LoseFrame) != nullptr;
    const std::optional<std::uint32_t> index = lost ? std::nullopt : m_queue.beginFilling();
    if (index) {
        fill(lock, *index);
    }
    ++m_sequence;
    ++m_interval;
}

/// Whether the driver sees that a frame is not whole: it knows how long those are that are not
/// compressed.
bool Stream::misses(std::size_t bytes, std::size_t wholeBytes) const {
    return bytes < wholeBytes && !isCompressed(m_format.fourcc) &&
           m_struck.find(FaultKind::UnflaggedFrame) == nullptr;
}

void Stream::fill(Lock& lock, std::uint32_t index) {
    const auto at =
        std::chrono::duration_cast<std::chrono::microseconds>(dueTime().time_since_epoch());
    FilledFrame frame;
    frame.sequence = m_sequence;
    frame.microseconds = static_cast<std::uint64_t>(at.count());
    const std::shared_ptr<BufferMemory> memory = m_queue.memory(index);
    const std::size_t capacity = m_queue.length(index);
    m_filling = true;
    lock.unlock();
    const std::size_t painted = m_painter->paint(memory->data(), capacity, frame.sequence);
    const DamagedFrame damaged = damageFrame(memory->data(), painted, frame.sequence, m_struck);
    frame.bytesUsed = static_cast<std::uint32_t>(damaged.bytes);
    frame.error = damaged.flagged || misses(damaged.bytes, painted);
    lock.lock();
    m_filling = false;
    m_filled.notify_all();
    if (m_streaming) {
        m_queue.finishFilling(index, frame);
        showReadiness();
    }
}

}  // namespace Simulator
