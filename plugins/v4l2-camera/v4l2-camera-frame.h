// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A dequeued driver buffer as the host sees it. Made on the capture thread, mapped there or, at the
// host's own risk, later on any thread; none of it talks to the driver.

#ifndef LUMIQ_V4L2_CAMERA_FRAME_H
#define LUMIQ_V4L2_CAMERA_FRAME_H

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "lumiq/internal/base-graphic-buffer.h"
#include "v4l2-camera-buffer.h"

namespace Nerio::Lumiq {

class V4L2Camera;

/// What the running stream delivers, as it was negotiated.
struct StreamFormat {
    std::uint32_t fourcc = 0;
    std::uint16_t width = 0;   ///< Pixels.
    std::uint16_t height = 0;  ///< Rows.
};

/// The raw view: refers to the driver's memory.
class V4L2CameraFrame : public Frame {
public:
    /// `time` in microseconds since the capture was started.
    V4L2CameraFrame(std::shared_ptr<V4L2Camera> camera, SharedBuffer buffer,
                    const StreamFormat& stream, unsigned long time);

private:
    std::shared_ptr<V4L2Camera> m_camera;
    SharedBuffer m_buffer;
};

/// The 4:2:0 view: refers to the driver's memory, or owns a converted image.
class V4L2CameraYCbCrFrame : public YCbCrFrame {
public:
    V4L2CameraYCbCrFrame(std::shared_ptr<V4L2Camera> camera, const StreamFormat& stream,
                         unsigned long time);

    /// Allocates an I420 image of the record's size. `y` stays null when no memory is left.
    void initPlanar();

    /// Allocates an NV12 image of the record's size. `y` stays null when no memory is left.
    void initSemiPlanar();

    /// The allocated image, to write to; null when the record refers to the driver's memory.
    [[nodiscard]] std::uint8_t* pixels() const noexcept { return m_pixels.get(); }

    /// Makes the allocated image black.
    void blacken();

private:
    struct Free {
        void operator()(std::uint8_t* memory) const noexcept { std::free(memory); }
    };

    void allocate(std::size_t size);

    std::shared_ptr<V4L2Camera> m_camera;
    std::unique_ptr<std::uint8_t, Free> m_pixels;
    std::size_t m_size = 0;  ///< Bytes at m_pixels.
};

/// One dequeued buffer. Each view is made on first request and kept.
class V4L2CameraGraphicBuffer : public Internal::BaseGraphicBuffer {
public:
    /// `time` in microseconds since the capture was started.
    V4L2CameraGraphicBuffer(std::shared_ptr<V4L2Camera> camera, SharedBuffer buffer,
                            const StreamFormat& stream, unsigned long time);

    [[nodiscard]] std::shared_ptr<YCbCrFrame> mapYCbCr() override;
    [[nodiscard]] std::shared_ptr<Frame> mapFrame() override;

private:
    // Keeps the camera, and with it the manager's record of it, for as long as the host holds the
    // buffer. The views go before it.
    std::shared_ptr<V4L2Camera> m_camera;
    std::shared_ptr<V4L2CameraYCbCrFrame> m_ycbcr;
    std::shared_ptr<V4L2CameraFrame> m_frame;
    SharedBuffer m_buffer;
    StreamFormat m_stream;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_V4L2_CAMERA_FRAME_H
