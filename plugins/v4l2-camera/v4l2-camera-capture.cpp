// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starting and stopping a capture. Called on host threads; a removal and the destructor stop on
// theirs. What belongs to a running stream is made in the order of startStream() and undone by
// tearDown().

#include <sys/eventfd.h>

#include <algorithm>
#include <cstring>
#include <exception>

#include "lumiq/internal/assert.h"
#include "lumiq/internal/log.h"
#include "v4l2-camera.h"

namespace Nerio::Lumiq {

using Internal::MutexLock;
using Internal::SystemError;

namespace {

// Small images travel better raw, large ones encoded: USB's bandwidth decides.
PixelFormat resolvePreferred(PixelFormat format, const CameraCapabilityEx& capability) {
    constexpr std::uint32_t largestRaw = 640 * 480;
    if (format != PixelFormat::Preferred) {
        return format;
    }
    return capability.width * capability.height <= largestRaw ? PixelFormat::Raw
                                                              : PixelFormat::Encoded;
}

v4l2_buffer mmapBuffer(std::uint32_t index) {
    v4l2_buffer buffer{};
    buffer.index = index;
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    return buffer;
}

}  // namespace

bool V4L2Camera::captureStarted() const {
    return m_started.load(std::memory_order_acquire);
}

bool V4L2Camera::startCapture(const CameraCapability& capability, PixelFormat format) {
    return startCapture(CameraCapabilityEx(capability), format);
}

bool V4L2Camera::startCapture(const CameraCapabilityEx& capability, PixelFormat format) {
    if (!isFormatSupported(format)) {
        return false;
    }
    const MutexLock lock(m_startMutex);
    if (captureStarted()) {
        if (capability.width == m_width && capability.height == m_height) {
            return true;
        }
        stopCapture();
    }
    LUMIQ_ASSERT(!m_started);
    return startStream(capability, resolvePreferred(format, capability));
}

bool V4L2Camera::startStream(const CameraCapabilityEx& capability, PixelFormat format) {
    LUMIQ_LOG_AS(Debug, "startCapture") << "Desired format: " << toString(format);
    const MutexLock lock(m_deviceMutex);
    while (m_running) {
        // A stop on another thread has the stream in hand; it ends without this thread's help.
        m_tornDown.wait(m_deviceMutex);
    }
    const Device device = openDevice();
    if (!device) {
        return false;
    }
    const std::uint32_t fourcc = device->bestListed(captureCandidates(format));
    if (fourcc == 0) {
        LUMIQ_LOG_AS(Error, "startCapture") << "No supported video formats found";
        return false;
    }
    if (!setFormat(*device, capability, fourcc)) {
        return false;
    }
    setFrameRate(*device, capability.fps);
    return allocBuffers(*device) && streamOn(*device) && startThread(device);
}

bool V4L2Camera::setFormat(const V4L2Device& device, const CameraCapabilityEx& capability,
                           std::uint32_t fourcc) {
    m_stream.fourcc = fourcc;
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.width = capability.width;
    format.fmt.pix.height = capability.height;
    format.fmt.pix.pixelformat = fourcc;
    LUMIQ_LOG_AS(Debug, "startCapture") << "Selected format: " << fourccText(fourcc);
    if (const int error = device.request(VIDIOC_S_FMT, &format)) {
        LUMIQ_LOG_AS(Error, "startCapture") << "VIDIOC_S_FMT error: " << error;
        return false;
    }
    LUMIQ_LOG_AS(Debug, "startCapture")
        << "Selected size: " << capability.width << "x" << capability.height;
    m_width = static_cast<std::uint16_t>(capability.width);
    m_height = static_cast<std::uint16_t>(capability.height);
    m_stream.width = m_width;
    m_stream.height = m_height;
    return true;
}

// A camera that refuses the rate still delivers images, at a rate of its own.
void V4L2Camera::setFrameRate(const V4L2Device& device, const FrameRate& rate) {
    constexpr FrameRate assumed{30, 1};
    v4l2_streamparm current{};
    current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (const int error = device.request(VIDIOC_G_PARM, &current)) {
        LUMIQ_LOG_AS(Error, "startCapture") << "VIDIOC_G_PARM error: " << error;
        m_frameRate = assumed;
        return;
    }
    if ((current.parm.capture.capability & V4L2_CAP_TIMEPERFRAME) == 0) {
        return;
    }
    v4l2_streamparm wished{};
    wished.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wished.parm.capture.timeperframe = intervalOf(rate);
    if (const int error = device.request(VIDIOC_S_PARM, &wished)) {
        LUMIQ_LOG_AS(Error, "startCapture") << "VIDIOC_S_PARM error: " << error;
        m_frameRate = assumed;
        return;
    }
    m_frameRate = rate;
}

bool V4L2Camera::allocBuffers(const V4L2Device& device) {
    v4l2_requestbuffers request{};
    request.count = maxBufferCount;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (const int error = device.request(VIDIOC_REQBUFS, &request)) {
        LUMIQ_LOG(Error) << "VIDIOC_REQBUFS failed: " << SystemError{error};
        return false;
    }
    m_bufferCount = std::min(request.count, static_cast<std::uint32_t>(maxBufferCount));
    m_buffers = std::make_shared<V4L2CameraBuffers>();
    for (std::uint32_t index = 0; index < m_bufferCount; ++index) {
        if (!allocBuffer(device, index)) {
            return false;
        }
    }
    return true;
}

bool V4L2Camera::allocBuffer(const V4L2Device& device, std::uint32_t index) {
    v4l2_buffer buffer = mmapBuffer(index);
    if (const int error = device.request(VIDIOC_QUERYBUF, &buffer)) {
        LUMIQ_LOG_AS(Error, "allocBuffers") << "VIDIOC_QUERYBUF failed: " << SystemError{error};
        return false;
    }
    if (const int error = (*m_buffers)[index].map(device.fd(), buffer.length, buffer.m.offset)) {
        LUMIQ_LOG_AS(Error, "allocBuffers") << "mmap failed: " << SystemError{error};
        unmapBuffers();
        return false;
    }
    if (const int error = device.request(VIDIOC_QBUF, &buffer)) {
        LUMIQ_LOG_AS(Error, "allocBuffers") << "VIDIOC_QBUF failed: " << SystemError{error};
        return false;
    }
    return true;
}

bool V4L2Camera::streamOn(const V4L2Device& device) {
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (const int error = device.request(VIDIOC_STREAMON, &type)) {
        LUMIQ_LOG_AS(Error, "startCapture")
            << "Failed to turn on a stream: " << std::strerror(error) << " (" << error << ")";
        freeBuffers(device);
        return false;
    }
    return true;
}

bool V4L2Camera::startThread(const Device& device) {
    m_running = true;
    m_started.store(true, std::memory_order_release);
    m_startTime = std::chrono::steady_clock::now();
    try {
        m_thread = std::thread([this, device] { loop(*device); });
        return true;
    } catch (const std::exception& error) {
        LUMIQ_LOG_AS(Error, "startCapture") << "Can't start the capture thread: " << error.what();
    }
    // A stop that has claimed the capture meanwhile tears it down; otherwise it is undone here.
    if (m_started.exchange(false, std::memory_order_acq_rel)) {
        freeBuffers(*device);
        m_running = false;
    }
    return false;
}

bool V4L2Camera::stopCapture() {
    // Of two stops at once, the one that clears the flag tears down.
    if (!m_started.exchange(false, std::memory_order_acq_rel)) {
        return true;
    }
    if (m_eventFd.isValid()) {
        ::eventfd_write(m_eventFd.get(), 1);
    }
    // Not under the device mutex: the thread may need it to finish its cycle. There is no thread
    // when the start that set the flag could not make one.
    if (std::thread thread = takeThread(); thread.joinable()) {
        thread.join();
    }
    tearDown();
    return true;
}

// Waits for a start that has just set the flag and is about to put the thread in place.
std::thread V4L2Camera::takeThread() {
    const MutexLock lock(m_deviceMutex);
    return std::move(m_thread);
}

void V4L2Camera::tearDown() {
    {
        const MutexLock lock(m_deviceMutex);
        if (const Device device = takeDevice()) {
            freeBuffers(*device);
            device->close();
        }
        m_running = false;
    }
    m_tornDown.notify_all();
}

void V4L2Camera::unmapBuffers() {
    if (m_buffers) {
        for (V4L2CameraBuffer& buffer : *m_buffers) {
            buffer.unmap();
        }
        m_buffers.reset();
    }
}

// Unmaps before it stops the stream: nothing of ours refers to driver memory any more when the
// driver takes it back.
void V4L2Camera::freeBuffers(const V4L2Device& device) {
    unmapBuffers();
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (const int error = device.request(VIDIOC_STREAMOFF, &type)) {
        LUMIQ_LOG(Error) << "VIDIOC_STREAMOFF failed: " << SystemError{error};
    }
}

}  // namespace Nerio::Lumiq
