// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The two views of one captured image that a GraphicBuffer can give. Plain records; the thread that
// holds them reads them.

#ifndef LUMIQ_FRAME_H
#define LUMIQ_FRAME_H

#include <cstddef>
#include <cstdint>

#include "lumiq/pixel-format.h"

namespace Nerio::Lumiq {

/// A plane of pixels.
struct FramePlane {
    std::uint16_t width;       ///< Pixels.
    std::uint16_t height;      ///< Rows.
    std::uint16_t stride;      ///< Bytes from one row to the next.
    const std::uint8_t* data;  ///< First byte of the plane; read only.
};

/// The first plane of an encoded image: the byte size takes the place of the stride.
struct EncodedPlane {
    std::uint16_t width;       ///< Pixels of the decoded image.
    std::uint16_t height;      ///< Rows of the decoded image.
    std::uint32_t size;        ///< Bytes that may be read from data.
    const std::uint8_t* data;  ///< First byte; read only.
};

/// The image as the camera delivered it.
///
/// For 'MJPG', 'JPEG', 'H264' and 'VP80' read `encoded`; its size is that of the whole driver
/// buffer, of which the image fills the beginning. For every other format read `planes`:
///
///   YUYV, UYVY        one packed plane, stride 2 * width
///   YUV420Planar      three planes: Y; Cb and Cr of half width and half height
///   YUV420SemiPlanar  two planes: Y; interleaved CbCr
///                     (half width and half height, counted in pairs of samples, with the
///                     stride of Y)
///
/// Planes not in use are zero. When the driver took a smaller size than it was asked for, planes
/// reach beyond its buffer: start with a size that Camera::findClosestCapability gave, or ask
/// mapYCbCr, which refuses such a buffer, before reading. The pixels are the driver's memory: they
/// are valid until the listener call that brought the buffer returns, no longer (see
/// CameraListener::onCameraFrame).
struct Frame {
    PixelFormat format = PixelFormat::Invalid;
    union {
        FramePlane planes[4] = {};
        EncodedPlane encoded;
    };
    std::int64_t timestamp = -1;  ///< Microseconds, see GraphicBuffer::timestamp; -1: unknown.
};

/// The image as 4:2:0 with separate or interleaved chroma.
///
/// Planar (I420) of width W and height H: yStride W, cStride W / 2, chromaStep 1,
/// cb = y + W * H, cr = cb + W * H / 4. Semi-planar (NV12): yStride and cStride W, chromaStep 2,
/// cb = y + W * H, cr = cb + 1. Where the camera delivers one of the two itself the record points
/// into the driver's memory, valid as long as Frame's; otherwise it owns a converted copy, valid as
/// long as the record.
struct YCbCrFrame {
    const std::uint8_t* y = nullptr;   ///< First luma sample; read only.
    const std::uint8_t* cb = nullptr;  ///< First Cb sample; read only.
    const std::uint8_t* cr = nullptr;  ///< First Cr sample; read only.
    std::uint16_t yStride = 0;         ///< Bytes from one luma row to the next.
    std::uint16_t cStride = 0;         ///< Bytes from one chroma row to the next.
    std::uint16_t chromaStep = 0;      ///< Bytes from one chroma sample to the next in a row.
    std::uint16_t width = 0;           ///< Pixels.
    std::uint16_t height = 0;          ///< Rows.
    std::int64_t timestamp = -1;       ///< Microseconds, see GraphicBuffer::timestamp; -1: unknown.
};

static_assert(sizeof(FramePlane) == 16);
static_assert(offsetof(FramePlane, width) == 0);
static_assert(offsetof(FramePlane, height) == 2);
static_assert(offsetof(FramePlane, stride) == 4);
static_assert(offsetof(FramePlane, data) == 8);

static_assert(sizeof(EncodedPlane) == 16);
static_assert(offsetof(EncodedPlane, width) == 0);
static_assert(offsetof(EncodedPlane, height) == 2);
static_assert(offsetof(EncodedPlane, size) == 4);
static_assert(offsetof(EncodedPlane, data) == 8);

static_assert(sizeof(Frame) == 80);
static_assert(offsetof(Frame, format) == 0);
static_assert(offsetof(Frame, planes) == 8);
static_assert(offsetof(Frame, encoded) == 8);
static_assert(offsetof(Frame, timestamp) == 72);

static_assert(sizeof(YCbCrFrame) == 48);
static_assert(offsetof(YCbCrFrame, y) == 0);
static_assert(offsetof(YCbCrFrame, cb) == 8);
static_assert(offsetof(YCbCrFrame, cr) == 16);
static_assert(offsetof(YCbCrFrame, yStride) == 24);
static_assert(offsetof(YCbCrFrame, cStride) == 26);
static_assert(offsetof(YCbCrFrame, chromaStep) == 28);
static_assert(offsetof(YCbCrFrame, width) == 30);
static_assert(offsetof(YCbCrFrame, height) == 32);
static_assert(offsetof(YCbCrFrame, timestamp) == 40);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_FRAME_H
