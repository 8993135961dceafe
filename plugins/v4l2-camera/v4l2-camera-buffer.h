// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The driver's buffers as they are mapped into the process. Mapped and unmapped by V4L2Camera with
// the device mutex held; frames refer to them.

#ifndef LUMIQ_V4L2_CAMERA_BUFFER_H
#define LUMIQ_V4L2_CAMERA_BUFFER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Nerio::Lumiq {

/// One mapped driver buffer; unmaps itself.
class V4L2CameraBuffer {
public:
    V4L2CameraBuffer() = default;
    V4L2CameraBuffer(const V4L2CameraBuffer&) = delete;
    V4L2CameraBuffer& operator=(const V4L2CameraBuffer&) = delete;
    ~V4L2CameraBuffer() { unmap(); }

    /// Maps `length` bytes of the device at `offset`, read only. Returns 0 or the errno.
    [[nodiscard]] int map(int fd, std::uint32_t length, std::uint32_t offset) noexcept;

    /// Takes the pixels away; what still refers to the buffer then finds it empty.
    void unmap() noexcept;

    [[nodiscard]] const std::uint8_t* start() const noexcept { return m_start; }
    [[nodiscard]] std::uint32_t length() const noexcept { return m_length; }

private:
    const std::uint8_t* m_start = nullptr;
    std::uint32_t m_length = 0;  ///< Bytes, as the driver reported them.
};

/// The buffers of one stream, by their V4L2 index. Shared with the frames, so that a frame that
/// outlives the stream finds an empty buffer and not a dangling pointer.
inline constexpr std::size_t maxBufferCount = 4;
using V4L2CameraBuffers = std::array<V4L2CameraBuffer, maxBufferCount>;
using SharedBuffer = std::shared_ptr<const V4L2CameraBuffer>;

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_V4L2_CAMERA_BUFFER_H
