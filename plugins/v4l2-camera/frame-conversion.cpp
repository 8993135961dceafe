// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Frame layouts and conversions. The only file that knows libyuv. Called by
// V4L2CameraGraphicBuffer.

#include "frame-conversion.h"

#include <libyuv.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace Nerio::Lumiq {
namespace {

constexpr std::uint16_t half(std::uint16_t value) {
    return static_cast<std::uint16_t>(value >> 1U);
}

void describeEncoded(Frame& frame, const StreamFormat& stream, const V4L2CameraBuffer& buffer) {
    frame.format = static_cast<PixelFormat>(stream.fourcc);
    // The whole buffer: how much of it the driver filled is not part of the description.
    frame.encoded = {stream.width, stream.height, buffer.length(), buffer.start()};
}

void describePacked(Frame& frame, const StreamFormat& stream, const V4L2CameraBuffer& buffer) {
    frame.format = static_cast<PixelFormat>(stream.fourcc);
    frame.planes[0] = {stream.width, stream.height, static_cast<std::uint16_t>(stream.width * 2U),
                       buffer.start()};
}

void describePlanar(Frame& frame, const StreamFormat& stream, const V4L2CameraBuffer& buffer) {
    const std::size_t luma = std::size_t{stream.width} * stream.height;
    const std::uint16_t width = half(stream.width);
    const std::uint16_t height = half(stream.height);
    frame.format = PixelFormat::YUV420Planar;
    frame.planes[0] = {stream.width, stream.height, stream.width, buffer.start()};
    frame.planes[1] = {width, height, width, buffer.start() + luma};
    frame.planes[2] = {width, height, width, buffer.start() + luma + luma / 4};
}

void describeSemiPlanar(Frame& frame, const StreamFormat& stream, const V4L2CameraBuffer& buffer) {
    const std::size_t luma = std::size_t{stream.width} * stream.height;
    frame.format = PixelFormat::YUV420SemiPlanar;
    frame.planes[0] = {stream.width, stream.height, stream.width, buffer.start()};
    frame.planes[1] = {half(stream.width), half(stream.height), stream.width,
                       buffer.start() + luma};
}

struct Layout {
    PixelFormat code;
    void (*describe)(Frame&, const StreamFormat&, const V4L2CameraBuffer&);
};
constexpr Layout layouts[] = {
    {PixelFormat::MJPG, describeEncoded}, {PixelFormat::JPEG, describeEncoded},
    {PixelFormat::H264, describeEncoded}, {PixelFormat::VP80, describeEncoded},
    {PixelFormat::YUYV, describePacked},  {PixelFormat::UYVY, describePacked},
    {PixelFormat::YU12, describePlanar},  {PixelFormat::NV12, describeSemiPlanar},
};

// The bytes from the buffer's start to the end of the last row of a plane at `offset`.
std::size_t extent(std::size_t offset, std::size_t stride, std::size_t rows, std::size_t rowBytes) {
    return rows == 0 ? offset : offset + stride * (rows - 1) + rowBytes;
}

std::size_t planarSize(const Frame& frame) {
    const FramePlane& last = frame.planes[2];
    const std::size_t luma = std::size_t{frame.planes[0].width} * frame.planes[0].height;
    return extent(luma + luma / 4, last.stride, last.height, last.width);
}

std::size_t semiPlanarSize(const Frame& frame) {
    const FramePlane& chroma = frame.planes[1];
    const std::size_t luma = std::size_t{frame.planes[0].width} * frame.planes[0].height;
    return extent(luma, chroma.stride, chroma.height, std::size_t{2} * chroma.width);
}

std::size_t packedSize(const Frame& frame) {
    const FramePlane& plane = frame.planes[0];
    return extent(0, plane.stride, plane.height, std::size_t{2} * plane.width);
}

// The decoder is told where the buffer ends and finds the image in it.
std::size_t encodedSize(const Frame& /*frame*/) {
    return 1;
}

bool wrapPlanar(const Frame& frame, V4L2CameraYCbCrFrame& record) {
    record.y = frame.planes[0].data;
    record.cb = frame.planes[1].data;
    record.cr = frame.planes[2].data;
    record.yStride = frame.planes[0].stride;
    record.cStride = frame.planes[1].stride;
    record.chromaStep = 1;
    return true;
}

bool wrapSemiPlanar(const Frame& frame, V4L2CameraYCbCrFrame& record) {
    record.y = frame.planes[0].data;
    record.cb = frame.planes[1].data;
    record.cr = frame.planes[1].data + 1;
    record.yStride = frame.planes[0].stride;
    record.cStride = frame.planes[1].stride;
    record.chromaStep = 2;
    return true;
}

// Where a conversion writes: the record's planes, in the memory that it owns.
struct Target {
    explicit Target(const V4L2CameraYCbCrFrame& record)
        : y(record.pixels()),
          cb(y + (record.cb - record.y)),
          cr(y + (record.cr - record.y)),
          yStride(record.yStride),
          cStride(record.cStride) {}
    std::uint8_t* y;
    std::uint8_t* cb;
    std::uint8_t* cr;
    int yStride;
    int cStride;
};

// Of an odd width the planes have bytes between them that no converter writes.
void blackenGaps(V4L2CameraYCbCrFrame& record) {
    if (record.width % 2 != 0) {
        record.blacken();
    }
}

template <auto Convert>
void convertRows(const std::uint8_t* source, int stride, const Target& to, int width, int firstRow,
                 int rows) {
    const std::ptrdiff_t chroma = std::ptrdiff_t{firstRow} / 2 * to.cStride;
    Convert(source, stride, to.y + std::ptrdiff_t{firstRow} * to.yStride, to.yStride,
            to.cb + chroma, to.cStride, to.cr + chroma, to.cStride, width, rows);
}

// The last rows of an image of odd width. Pixels share their chroma in pairs, and a converter reads
// the whole last pair of a row: two bytes beyond the last row, and so perhaps beyond the buffer.
template <auto Convert>
void convertLastRows(const FramePlane& plane, const Target& to, int rows) {
    const std::size_t rowBytes = std::size_t{2} * plane.width;
    const std::size_t paddedBytes = rowBytes + 2;
    const int firstRow = plane.height - rows;
    std::vector<std::uint8_t> padded(paddedBytes * static_cast<std::size_t>(rows), 128);
    for (std::size_t row = 0; row < static_cast<std::size_t>(rows); ++row) {
        const std::size_t from = (static_cast<std::size_t>(firstRow) + row) * plane.stride;
        std::copy_n(plane.data + from, rowBytes, padded.data() + row * paddedBytes);
    }
    convertRows<Convert>(padded.data(), static_cast<int>(paddedBytes), to, plane.width, firstRow,
                         rows);
}

template <auto Convert>
bool convertPacked(const Frame& frame, V4L2CameraYCbCrFrame& record) {
    record.initPlanar();
    if (record.y == nullptr) {
        return false;
    }
    const FramePlane& plane = frame.planes[0];
    blackenGaps(record);
    const Target to(record);
    // Whole pairs of rows, since chroma is halved in height as well.
    const int apart = plane.width % 2 == 0 ? 0 : std::min(2 - plane.height % 2, int{plane.height});
    convertRows<Convert>(plane.data, plane.stride, to, plane.width, 0, plane.height - apart);
    if (apart != 0) {
        convertLastRows<Convert>(plane, to, apart);
    }
    return true;
}

bool convertMotionJpeg(const Frame& frame, V4L2CameraYCbCrFrame& record) {
    record.initPlanar();
    if (record.y == nullptr) {
        return false;
    }
    const EncodedPlane& image = frame.encoded;
    blackenGaps(record);
    const Target to(record);
    const auto decode = [&] {
        return libyuv::MJPGToI420(image.data, image.size, to.y, to.yStride, to.cb, to.cStride,
                                  to.cr, to.cStride, image.width, image.height, image.width,
                                  image.height);
    };
    if (decode() != 0) {
        // A damaged image may have been written in part or not at all. Decoding it once more over
        // black shows what there is of it, and nothing of what the memory held before.
        record.blacken();
        decode();
    }
    return true;
}

constexpr Conversion conversions[] = {
    {PixelFormat::YUV420Planar, nullptr, planarSize, wrapPlanar},
    {PixelFormat::YU12, nullptr, planarSize, wrapPlanar},
    {PixelFormat::YUV420SemiPlanar, nullptr, semiPlanarSize, wrapSemiPlanar},
    {PixelFormat::NV12, nullptr, semiPlanarSize, wrapSemiPlanar},
    {PixelFormat::YUYV, "YUY2ToI420", packedSize, convertPacked<libyuv::YUY2ToI420>},
    {PixelFormat::UYVY, "UYVYToI420", packedSize, convertPacked<libyuv::UYVYToI420>},
    {PixelFormat::MJPG, "MJPGToI420", encodedSize, convertMotionJpeg},
};

}  // namespace

void describeFrame(Frame& frame, const StreamFormat& stream, const V4L2CameraBuffer& buffer) {
    if (buffer.start() == nullptr) {
        return;
    }
    for (const Layout& layout : layouts) {
        if (layout.code == static_cast<PixelFormat>(stream.fourcc)) {
            layout.describe(frame, stream, buffer);
        }
    }
}

const Conversion* conversionFrom(PixelFormat format) {
    const auto* found = std::find_if(std::begin(conversions), std::end(conversions),
                                     [format](const auto& each) { return each.format == format; });
    return found == std::end(conversions) ? nullptr : found;
}

}  // namespace Nerio::Lumiq
