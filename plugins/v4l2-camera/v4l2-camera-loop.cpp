// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The capture thread: waits for the driver to fill a buffer, hands it to the listener and gives it
// back. One thread for each capturing camera; it does not keep the camera alive.

#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "lumiq/internal/log.h"
#include "v4l2-camera.h"

namespace Nerio::Lumiq {

using Internal::MutexLock;
using Internal::SystemError;

namespace {

constexpr int waitMilliseconds = 10000;

// The camera whose loop runs on this thread; null on every other thread, and once that camera is
// gone: a host may let go of the last pointer inside a listener call.
thread_local const V4L2Camera* loopCamera = nullptr;

}  // namespace

void V4L2Camera::loop(const V4L2Device& device) {
    loopCamera = this;
    // After every point where the camera may have died, the first thing looked at is loopCamera.
    while (loopCamera != nullptr && captureStarted()) {
        const Wake wake = waitForFrame(device.fd());
        if (wake == Wake::End) {
            return;
        }
        if (wake == Wake::Frame && loopCamera != nullptr) {
            if (!captureStarted()) {
                return;
            }
            // Goes last, with no lock held; it may be the last pointer.
            const std::shared_ptr<V4L2Camera> self = deliverFrame(device);
        }
    }
}

V4L2Camera::Wake V4L2Camera::waitForFrame(int fd) {
    std::array<pollfd, 2> waits{{{fd, POLLIN, 0}, {m_eventFd.get(), POLLIN, 0}}};
    const int ready = ::poll(waits.data(), waits.size(), waitMilliseconds);
    if (ready < 0) {
        return onPollError(errno);
    }
    if (ready == 0) {
        reportFromLoop("timeout");
        return Wake::End;
    }
    if ((waits[1].revents & POLLIN) != 0) {
        eventfd_t count = 0;
        ::eventfd_read(m_eventFd.get(), &count);
        LUMIQ_LOG_AS(Debug, "loop") << "Wakeup i/o thread";
        return Wake::Again;
    }
    const short events = waits[0].revents;
    if ((events & POLLIN) == 0) {
        reportFromLoop("error revents: " + std::to_string(events));
        return Wake::End;
    }
    return Wake::Frame;
}

V4L2Camera::Wake V4L2Camera::onPollError(int error) {
    if (error == EINTR) {
        return Wake::Again;
    }
    LUMIQ_LOG_AS(Error, "loop") << "Camera loop: " << std::strerror(error);
    reportFromLoop(std::strerror(error));
    // There may be a frame all the same; the dequeue tells.
    return Wake::Frame;
}

// The camera is kept until the listener lock is free again: the listener may let go of the last
// pointer to it. A camera whose last pointer is gone already has nobody to tell.
void V4L2Camera::reportFromLoop(const std::string& message) {
    if (const std::shared_ptr<V4L2Camera> self = weak_from_this().lock()) {
        reportError(message);
    }
}

// Returns what keeps the camera alive, to be let go of outside its locks.
std::shared_ptr<V4L2Camera> V4L2Camera::deliverFrame(const V4L2Device& device) {
    const MutexLock lock(m_deviceMutex);
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    if (const int error = device.request(VIDIOC_DQBUF, &buffer)) {
        LUMIQ_LOG_AS(Error, "loop") << "VIDIOC_DQBUF failed: " << SystemError{error};
    }
    std::shared_ptr<V4L2Camera> self = callListener(buffer.index);
    if (const int error = device.request(VIDIOC_QBUF, &buffer)) {
        LUMIQ_LOG_AS(Error, "loop") << "VIDIOC_QBUF failed: " << SystemError{error};
    }
    ::sched_yield();
    return self;
}

std::shared_ptr<V4L2Camera> V4L2Camera::callListener(std::uint32_t index) {
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    const auto elapsed = std::chrono::steady_clock::now() - m_startTime;
    const auto time = duration_cast<microseconds>(elapsed).count();

    const std::lock_guard lock(m_listenerMutex);
    if (m_listener == nullptr) {
        return nullptr;
    }
    std::shared_ptr<V4L2Camera> self = weak_from_this().lock();
    if (!self) {
        // The last pointer is gone; its owner waits for this thread to end.
        return nullptr;
    }
    if (index >= m_bufferCount || !m_buffers) {
        LUMIQ_LOG_AS(Error, "loop")
            << "VIDIOC_DQBUF gave buffer " << index << " of " << m_bufferCount;
        return self;
    }
    const SharedBuffer buffer(m_buffers, &(*m_buffers)[index]);
    m_listener->onCameraFrame(std::make_shared<V4L2CameraGraphicBuffer>(
        self, buffer, m_stream, static_cast<unsigned long>(time)));
    return self;
}

// For the destructor: true on the capture thread of this camera, which then ends without touching
// the camera again.
bool V4L2Camera::endLoopOnThisThread() {
    if (loopCamera != this) {
        return false;
    }
    loopCamera = nullptr;
    m_started.store(false, std::memory_order_release);
    return true;
}

}  // namespace Nerio::Lumiq
