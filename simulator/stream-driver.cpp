// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The driver thread of a stream: one frame at a time, at its time, and whatever is to go wrong with
// it. It sleeps on the futex of the control block, so that an unplug or a fault from another
// process acts at once.

#include <pthread.h>

#include <algorithm>
#include <cstring>

#include "frame-choice.h"
#include "stream.h"

namespace Simulator {
namespace {

constexpr std::uint64_t nanoseconds = 1000000000;
/// What a garbled frame keeps, so that it still looks like a frame.
constexpr std::size_t keptStart = 1024;
constexpr std::size_t keptEnd = 2;

void garble(std::uint8_t* data, std::size_t bytes, std::uint32_t seed) {
    std::uint32_t noise = seed * 2654435761U + 1;
    for (std::size_t i = std::min(keptStart, bytes / 2); i + keptEnd < bytes; ++i) {
        noise ^= noise << 13;
        noise ^= noise >> 17;
        noise ^= noise << 5;
        data[i] = static_cast<std::uint8_t>(noise);
    }
}

/// Changes a painted frame as the faults demand.
void damage(std::uint8_t* data, FilledFrame& frame, const StruckFaults& struck) {
    if (struck.find(FaultKind::GarbleFrame) != nullptr) {
        garble(data, frame.bytesUsed, frame.sequence);
    }
    frame.error = struck.find(FaultKind::ErrorFrame) != nullptr;
    const bool truncated = struck.find(FaultKind::TruncateFrame) != nullptr;
    if (frame.error || truncated || struck.find(FaultKind::ShortFrame) != nullptr) {
        // What is cut off is gone, not left over from a frame before.
        std::memset(data + frame.bytesUsed / 2, 0, frame.bytesUsed - frame.bytesUsed / 2);
        frame.bytesUsed /= 2;
    }
    const bool jpeg = frame.bytesUsed > 4 && data[0] == 0xff && data[1] == 0xd8;
    if (truncated && jpeg) {
        data[frame.bytesUsed - 2] = 0xff;
        data[frame.bytesUsed - 1] = 0xd9;
    }
}

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
    frame.bytesUsed =
        static_cast<std::uint32_t>(m_painter->paint(memory->data(), capacity, frame.sequence));
    damage(memory->data(), frame, m_struck);
    lock.lock();
    m_filling = false;
    m_filled.notify_all();
    if (m_streaming) {
        m_queue.finishFilling(index, frame);
        showReadiness();
    }
}

}  // namespace Simulator
