// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The requests of a stream. Called on the host's threads.

#include "stream.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

#include "raw-calls.h"

namespace Simulator {
namespace {

/// All buffers of a camera together; more would not fit the 32 bits of a mapping offset.
constexpr std::uint64_t maxBufferBytes = std::uint64_t{3} << 30;

}  // namespace

void Stream::Readiness::show(bool ready) {
    if (descriptor.get() < 0 || shown == ready) {
        return;
    }
    shown = ready;
    std::uint64_t value = 1;
    if (ready) {
        rawWrite(descriptor.get(), &value, sizeof value);
    } else {
        rawRead(descriptor.get(), &value, sizeof value);
    }
}

Stream::Stream(std::shared_ptr<const OwnedDescriptor> file, ControlBlock& control, Picture picture)
    : m_file(std::move(file)), m_control(control), m_picture(picture) {}

Stream::~Stream() {
    {
        const Lock lock(m_mutex);
        m_quit = true;
    }
    ring(m_control);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

int Stream::requestBuffers(std::uint32_t& count, std::uint32_t bytes) {
    Lock lock(m_mutex);
    if (m_streaming || (m_dequeueing && count != 0)) {
        return EBUSY;
    }
    cancel(lock);
    m_queue.clear();
    if (count == 0) {
        return 0;
    }
    count = allocate(count, bytes);
    return count == 0 ? ENOMEM : 0;
}

int Stream::createBuffers(std::uint32_t& count, std::uint32_t bytes, std::uint32_t& index) {
    const Lock lock(m_mutex);
    index = m_queue.size();
    m_untouched = m_untouched || index == 0;
    if (count == 0) {
        return 0;
    }
    if (index == VIDEO_MAX_FRAME) {
        return ENOBUFS;
    }
    count = allocate(std::min<std::uint32_t>(count, VIDEO_MAX_FRAME - index), bytes);
    return count == 0 ? ENOMEM : 0;
}

std::uint32_t Stream::allocate(std::uint32_t count, std::uint32_t bytes) {
    std::uint32_t made = 0;
    for (; made < count; ++made) {
        const std::uint64_t total = std::uint64_t{m_queue.size() + 1} * wholePages(bytes);
        auto memory =
            total > maxBufferBytes ? nullptr : BufferMemory::allocate(m_file, m_control, bytes);
        if (memory == nullptr) {
            break;
        }
        m_queue.add(std::move(memory), bytes);
    }
    return made;
}

int Stream::query(v4l2_buffer& buffer) {
    const Lock lock(m_mutex);
    return m_queue.query(buffer);
}

int Stream::queue(v4l2_buffer& buffer) {
    const Lock lock(m_mutex);
    const bool there = buffer.index < m_queue.size();
    const int error = m_broken && there ? EIO : m_queue.queue(buffer);
    if (error == 0) {
        m_untouched = false;
        showReadiness();
    }
    return error;
}

int Stream::dequeue(v4l2_buffer& buffer, bool wait) {
    Lock lock(m_mutex);
    if (m_dequeueing) {
        return EBUSY;
    }
    while (m_streaming && !m_broken && !m_queue.anyDone()) {
        if (!wait) {
            return EAGAIN;
        }
        m_dequeueing = true;
        lock.unlock();
        pollfd ready = {showWhenReady(m_takes), POLLIN, 0};
        const int result = rawPoll(&ready, 1, nullptr, nullptr);
        const int error = errno;
        lock.lock();
        m_dequeueing = false;
        if (result < 0 && error == EINTR) {
            return EINTR;
        }
    }
    if (!m_streaming) {
        return EINVAL;
    }
    if (m_broken) {
        return EIO;
    }
    m_queue.dequeue(buffer);
    showReadiness();
    return 0;
}

int Stream::on(const StreamFormat& format) {
    const Lock lock(m_mutex);
    if (m_queue.size() == 0) {
        return EINVAL;
    }
    if (m_streaming) {
        return 0;
    }
    m_format = format;
    m_painter = makePainter(format.fourcc, format.width, format.height, m_picture);
    m_streaming = true;
    m_begin = Clock::now();
    m_interval = 1;
    m_sequence = 0;
    m_struck = {};
    m_stall.reset();
    showReadiness();
    startThread();
    ring(m_control);
    return 0;
}

void Stream::off() {
    Lock lock(m_mutex);
    cancel(lock);
}

/// Takes every buffer from the driver and gives it to the host.
void Stream::cancel(Lock& lock) {
    m_streaming = false;
    m_filled.wait(lock, [this] { return !m_filling; });
    m_broken = false;
    m_untouched = true;
    m_queue.cancel();
    m_painter.reset();
    showReadiness();
}

bool Stream::streaming() {
    const Lock lock(m_mutex);
    return m_streaming;
}

bool Stream::allocated() {
    const Lock lock(m_mutex);
    return m_queue.size() > 0;
}

std::shared_ptr<BufferMemory> Stream::memoryAt(std::uint64_t offset) {
    const Lock lock(m_mutex);
    return m_queue.memoryAt(offset);
}

short Stream::pollEvents(short wanted) {
    const int frames = wanted & (POLLIN | POLLRDNORM);
    int events = 0;
    if (frames != 0) {
        const Lock lock(m_mutex);
        if (!m_streaming || m_broken || m_untouched) {
            events = POLLERR;
        } else if (m_queue.anyDone()) {
            events = frames;
        }
    }
    // Asked last: who sees the end of the stream that an unplug brought sees the unplug as well.
    return static_cast<short>(gone() ? POLLERR | POLLHUP | (wanted & POLLPRI) : events);
}

int Stream::readyDescriptor(bool frames) {
    return showWhenReady(frames ? m_frames : m_events);
}

int Stream::showWhenReady(Readiness& readiness) {
    const Lock lock(m_mutex);
    if (readiness.descriptor.get() < 0) {
        readiness.descriptor = OwnedDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    }
    showReadiness();
    startThread();
    return readiness.descriptor.get();
}

void Stream::showReadiness() {
    const bool over = gone() || !m_streaming || m_broken;
    m_takes.show(over || m_queue.anyDone());
    m_frames.show(over || m_queue.anyDone() || m_untouched);
    m_events.show(gone());
}

void Stream::startThread() {
    if (m_thread.joinable() || m_quit) {
        return;
    }
    // The host's signals are not for this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_thread = std::thread(&Stream::run, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace Simulator
