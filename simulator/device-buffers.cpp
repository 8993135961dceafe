// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The requests about buffers and streaming. Called on the host's threads, with the device's lock
// held but for dequeue and map.

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "device.h"

namespace Simulator {
namespace {

constexpr std::uint32_t bufferCapabilities =
    V4L2_BUF_CAP_SUPPORTS_MMAP | V4L2_BUF_CAP_SUPPORTS_ORPHANED_BUFS;

bool isCapture(std::uint32_t type) {
    return type == V4L2_BUF_TYPE_VIDEO_CAPTURE;
}

/// What is the same in every answer about making buffers.
template <typename Answer>
void fillConstant(Answer& answer) {
    std::memset(answer.reserved, 0, sizeof answer.reserved);
    answer.flags = 0;
    answer.capabilities = bufferCapabilities;
}

}  // namespace

int Device::dispatchQueue(std::uint64_t handle, std::uint32_t request, void* argument) {
    switch (request) {
        case VIDIOC_REQBUFS:
            return requestBuffers(handle, *static_cast<v4l2_requestbuffers*>(argument));
        case VIDIOC_CREATE_BUFS:
            return createBuffers(handle, *static_cast<v4l2_create_buffers*>(argument));
        case VIDIOC_QUERYBUF:
        case VIDIOC_QBUF: {
            auto& buffer = *static_cast<v4l2_buffer*>(argument);
            if (!isCapture(buffer.type)) {
                return EINVAL;
            }
            if (ownedByOther(handle)) {
                return EBUSY;
            }
            return request == VIDIOC_QBUF ? m_stream.queue(buffer) : m_stream.query(buffer);
        }
        case VIDIOC_STREAMON:
            return streamOn(handle, *static_cast<int*>(argument));
        case VIDIOC_STREAMOFF:
            return streamOff(handle, *static_cast<int*>(argument));
        default:
            return ENOTTY;
    }
}

std::uint32_t Device::currentBytes() const {
    const FrameChoice choice = current();
    return imageBytes(m_description.formats[choice.format].fourcc, choice.width, choice.height);
}

int Device::requestBuffers(std::uint64_t handle, v4l2_requestbuffers& answer) {
    if (!isCapture(answer.type)) {
        return EINVAL;
    }
    if (const int error = claim(handle)) {
        return error;
    }
    fillConstant(answer);
    if (answer.memory != V4L2_MEMORY_MMAP) {
        return EINVAL;
    }
    std::uint32_t bytes = currentBytes();
    const bool freeing = answer.count == 0;
    if (!freeing) {
        answer.count =
            m_description.buffers.value_or(std::min<std::uint32_t>(answer.count, VIDEO_MAX_FRAME));
        if (const StruckFault* const fault = m_struck.find(FaultKind::GrantBuffers)) {
            answer.count = fault->fault.value;
        }
        if (const StruckFault* const fault = m_struck.find(FaultKind::BufferBytes)) {
            bytes = fault->fault.value;
        }
    }
    const int error = m_stream.requestBuffers(answer.count, bytes);
    if (error == 0 && freeing) {
        dismiss(handle);
    }
    return error;
}

int Device::createBuffers(std::uint64_t handle, v4l2_create_buffers& answer) {
    if (!isCapture(answer.format.type)) {
        return EINVAL;
    }
    if (const int error = claim(handle)) {
        return error;
    }
    fillConstant(answer);
    if (answer.memory != V4L2_MEMORY_MMAP) {
        return EINVAL;
    }
    if (answer.count != 0 && answer.format.fmt.pix.sizeimage < currentBytes()) {
        return EINVAL;
    }
    return m_stream.createBuffers(answer.count, answer.format.fmt.pix.sizeimage, answer.index);
}

int Device::dequeue(std::uint64_t handle, int descriptor, v4l2_buffer& buffer) {
    if (!isCapture(buffer.type)) {
        return EINVAL;
    }
    if (ownedByOther(handle)) {
        return EBUSY;
    }
    const int flags = fcntl(descriptor, F_GETFL);
    return m_stream.dequeue(buffer, (flags & O_NONBLOCK) == 0);
}

int Device::streamOn(std::uint64_t handle, int type) {
    if (const int error = checkPriority(handle)) {
        return error;
    }
    if (!isCapture(static_cast<std::uint32_t>(type))) {
        return EINVAL;
    }
    if (ownedByOther(handle)) {
        return EBUSY;
    }
    const FrameChoice choice = current();
    return m_stream.on({m_description.formats[choice.format].fourcc, choice.width, choice.height,
                        choice.interval});
}

int Device::streamOff(std::uint64_t handle, int type) {
    if (const int error = checkPriority(handle)) {
        return error;
    }
    if (!isCapture(static_cast<std::uint32_t>(type))) {
        return EINVAL;
    }
    if (ownedByOther(handle)) {
        return EBUSY;
    }
    m_stream.off();
    return 0;
}

int Device::map(std::uint64_t handle, std::size_t bytes, int protection, int flags,
                std::uint64_t offset, std::shared_ptr<BufferMemory>& memory) {
    noteHandle(handle);
    if (gone()) {
        return ENODEV;
    }
    const StruckFaults struck = countEvent(m_control, eventMmap);
    if (const StruckFault* const fault = struck.find(FaultKind::CallErrno)) {
        return static_cast<int>(fault->fault.value);
    }
    if ((flags & MAP_SHARED) == 0 || (protection & PROT_READ) == 0) {
        return EINVAL;
    }
    memory = m_stream.memoryAt(offset);
    return memory == nullptr || wholePages(bytes) > memory->bytes() ? EINVAL : 0;
}

}  // namespace Simulator
