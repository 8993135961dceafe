// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Copying frames; see the header.
#include "frame-copy.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "jpeg-stream.h"

namespace LumiqCam {
namespace {

using Nerio::Lumiq::Frame;
using Nerio::Lumiq::FramePlane;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::YCbCrFrame;

bool isJpeg(PixelFormat format) {
    return format == PixelFormat::MJPG || format == PixelFormat::JPEG;
}

bool isEncoded(PixelFormat format) {
    return isJpeg(format) || format == PixelFormat::H264 || format == PixelFormat::VP80 ||
           format == PixelFormat::VP90 || format == PixelFormat::HEVC;
}

bool is420(PixelFormat format) {
    return format == PixelFormat::YUV420Planar || format == PixelFormat::YUV420SemiPlanar ||
           format == PixelFormat::YU12 || format == PixelFormat::NV12;
}

bool isSemiPlanar(PixelFormat format) {
    return format == PixelFormat::YUV420SemiPlanar || format == PixelFormat::NV12;
}

// How many bytes of the driver's buffer are the image. A JPEG says where it ends. Other encoded
// formats do not, and the contract tells only how long the buffer is: the zeros behind the last
// byte that is not one are left out, older bytes behind the image are not told from it.
std::size_t usedLength(PixelFormat format, ByteSpan buffer) {
    if (isJpeg(format)) {
        if (const auto length = jpegLength(buffer)) {
            return *length;
        }
    }
    const auto last = std::find_if(buffer.rbegin(), buffer.rend(), [](auto b) { return b != 0; });
    return static_cast<std::size_t>(buffer.rend() - last);
}

// Bytes of a row that belong to the picture.
std::size_t rowBytes(PixelFormat format, const FramePlane& plane, std::size_t index) {
    if (!is420(format)) {
        return plane.stride;
    }
    return isSemiPlanar(format) && index == 1 ? std::size_t{plane.width} * 2 : plane.width;
}

void appendPlane(const FramePlane& plane, std::size_t bytesOfRow,
                 std::vector<std::uint8_t>& bytes) {
    for (std::size_t row = 0; row < plane.height; ++row) {
        const std::uint8_t* const begin = plane.data + row * plane.stride;
        bytes.insert(bytes.end(), begin, begin + bytesOfRow);
    }
}

// One chroma plane as the record lays it out. The record's stride is half the width and its planes
// follow one another at a quarter of the image, both rounded down: of an odd side the last column
// or row has no room of its own and is repeated from the one before it.
struct ChromaPlane {
    const std::uint8_t* data;
    std::size_t stride, step, columns, rows;
};

ChromaPlane chromaOf(const YCbCrFrame& image, const std::uint8_t* data) {
    const std::size_t step = std::max<std::size_t>(image.chromaStep, 1);
    const std::size_t columns = std::max<std::size_t>(image.width / 2U, 1);
    const std::size_t rows = std::max<std::size_t>(image.height / 2U, 1);
    return {data, image.cStride, step, columns, rows};
}

// Writes every `step`th byte from `out` on: 1 for a plane of its own, 2 for interleaved planes.
void copyChroma(const ChromaPlane& plane, const CapturedFrame& frame, std::uint8_t* out,
                std::size_t step) {
    for (std::size_t row = 0; row < frame.chromaHeight(); ++row) {
        const std::uint8_t* const in = plane.data + std::min(row, plane.rows - 1) * plane.stride;
        for (std::size_t column = 0; column < frame.chromaWidth(); ++column, out += step) {
            *out = in[std::min(column, plane.columns - 1) * plane.step];
        }
    }
}

void copyImage(const YCbCrFrame& image, bool interleaved, CapturedFrame& frame) {
    std::vector<std::uint8_t> bytes(frame.lumaSize() + 2 * frame.chromaSize());
    std::uint8_t* out = bytes.data();
    for (std::size_t row = 0; row < image.height; ++row, out += image.width) {
        std::memcpy(out, image.y + row * image.yStride, image.width);
    }
    const std::size_t step = interleaved ? 2 : 1;
    copyChroma(chromaOf(image, image.cb), frame, out, step);
    copyChroma(chromaOf(image, image.cr), frame, interleaved ? out + 1 : out + frame.chromaSize(),
               step);
    frame.own(std::move(bytes));
}

// True when the record's own memory is laid out as I420 is written.
bool isPacked(const YCbCrFrame& image, const CapturedFrame& frame) {
    return image.chromaStep == 1 && image.yStride == image.width &&
           image.cStride == frame.chromaWidth() && image.cb == image.y + frame.lumaSize() &&
           image.cr == image.cb + frame.chromaSize();
}

}  // namespace

Take takeFor(Container container, PixelFormat asked) {
    switch (container) {
        case Container::None:
            return Take::Nothing;
        case Container::Png:
        case Container::Y4m:
            return Take::Picture;
        case Container::Jpeg:
            return Take::JpegPicture;
        case Container::Bytes:
            break;
    }
    if (isSemiPlanar(asked)) {
        return Take::NV12;
    }
    return is420(asked) || asked == PixelFormat::YCbCrFlexible ? Take::I420 : Take::AsDelivered;
}

std::optional<CapturedFrame> FrameCopier::copy(GraphicBuffer& buffer) {
    const auto frame = buffer.mapFrame();
    if (!frame) {
        m_problem = "the back end gives no view of the frame";
        return std::nullopt;
    }
    if (m_take == Take::Nothing) {
        CapturedFrame seen;
        seen.delivered = frame->format;
        seen.width = buffer.width;
        seen.height = buffer.height;
        return seen;
    }
    const bool jpegAsIs = m_take == Take::JpegPicture && isJpeg(frame->format);
    if (m_take != Take::AsDelivered && !jpegAsIs) {
        return convert(buffer, frame->format);
    }
    return isEncoded(frame->format) ? copyEncoded(*frame) : copyPlanes(buffer, *frame);
}

std::optional<CapturedFrame> FrameCopier::copyEncoded(const Frame& frame) {
    const auto& image = frame.encoded;
    CapturedFrame copied;
    copied.delivered = frame.format;
    copied.width = image.width;
    copied.height = image.height;
    copied.fullRange = isJpeg(frame.format);
    const ByteSpan buffer(image.data, image.data == nullptr ? 0 : image.size);
    const ByteSpan used = buffer.first(usedLength(frame.format, buffer));
    if (used.empty()) {
        m_problem = "the frame is empty";
        return std::nullopt;
    }
    if (m_take != Take::JpegPicture) {
        copied.own({used.begin(), used.end()});
        return copied;
    }
    if (!jpegLength(used)) {
        m_problem = "the frame is no whole JPEG picture";
        return std::nullopt;
    }
    copied.content = FrameContent::Jpeg;
    copied.own(withHuffmanTables(used));
    return copied;
}

// The record of an uncompressed frame does not tell how long the driver's buffer is, which can be
// shorter than the image when the driver took another size. mapYCbCr knows and refuses such a
// buffer, so it is asked once for each buffer before its bytes are read.
std::optional<CapturedFrame> FrameCopier::copyPlanes(GraphicBuffer& buffer, const Frame& frame) {
    if (m_longEnough.count(frame.planes[0].data) == 0) {
        if (frame.planes[0].data == nullptr || !buffer.mapYCbCr()) {
            m_problem = "the driver's buffer does not hold the whole image";
            return std::nullopt;
        }
        m_longEnough.insert(frame.planes[0].data);
    }
    CapturedFrame copied;
    copied.delivered = frame.format;
    copied.width = frame.planes[0].width;
    copied.height = frame.planes[0].height;
    std::vector<std::uint8_t> bytes;
    std::size_t index = 0;
    for (const FramePlane& plane : frame.planes) {
        if (plane.data != nullptr) {
            appendPlane(plane, rowBytes(frame.format, plane, index), bytes);
        }
        ++index;
    }
    copied.own(std::move(bytes));
    return copied;
}

std::optional<CapturedFrame> FrameCopier::convert(GraphicBuffer& buffer, PixelFormat delivered) {
    const auto image = buffer.mapYCbCr();
    if (!image || image->y == nullptr || image->cb == nullptr || image->cr == nullptr ||
        image->width == 0 || image->height == 0) {
        m_hopeless = isEncoded(delivered) && !isJpeg(delivered);
        m_problem = m_hopeless ? printable(toString(delivered)) + " frames cannot be converted"
                               : "the back end cannot convert the frame";
        return std::nullopt;
    }
    CapturedFrame copied;
    copied.content =
        m_take == Take::I420 || m_take == Take::NV12 ? FrameContent::Bytes : FrameContent::I420;
    copied.delivered = delivered;
    copied.width = image->width;
    copied.height = image->height;
    copied.fullRange = isJpeg(delivered);
    copied.converted = !is420(delivered);
    // A converted image is the record's own and outlives the driver's buffer.
    if (copied.converted && m_take != Take::NV12 && isPacked(*image, copied)) {
        copied.bytes = {image->y, copied.lumaSize() + 2 * copied.chromaSize()};
        copied.memory = image;
    } else {
        copyImage(*image, m_take == Take::NV12, copied);
    }
    return copied;
}

}  // namespace LumiqCam
