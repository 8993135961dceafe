// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Maps driver buffers. Called by V4L2Camera with the device mutex held.

#include "v4l2-camera-buffer.h"

#include <sys/mman.h>

#include <cerrno>
#include <utility>

namespace Nerio::Lumiq {

int V4L2CameraBuffer::map(int fd, std::uint32_t length, std::uint32_t offset) noexcept {
    void* start = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, offset);
    if (start == MAP_FAILED) {
        return errno;
    }
    m_start = static_cast<const std::uint8_t*>(start);
    m_length = length;
    return 0;
}

void V4L2CameraBuffer::unmap() noexcept {
    if (m_start != nullptr) {
        ::munmap(const_cast<std::uint8_t*>(std::exchange(m_start, nullptr)),
                 std::exchange(m_length, 0));
    }
}

}  // namespace Nerio::Lumiq
