// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Turning frames into pictures; see the header.
#include "picture.h"

#include <png.h>

#include <libyuv.h>

#include "exit-code.h"

namespace LumiqCam {

std::vector<std::uint8_t> toRgb(const CapturedFrame& frame) {
    const int width = frame.width;
    const int height = frame.height;
    const int chromaStride = static_cast<int>(frame.chromaWidth());
    std::vector<std::uint8_t> rgb(frame.lumaSize() * 3);
    // libyuv calls red, green, blue in this order in memory "RAW".
    const auto convert = frame.fullRange ? libyuv::J420ToRAW : libyuv::I420ToRAW;
    const int result = convert(frame.bytes.data(), width, frame.cb(), chromaStride, frame.cr(),
                               chromaStride, rgb.data(), width * 3, width, height);
    if (result != 0) {
        throw Failure(ExitCode::Internal, "libyuv cannot convert a frame of " +
                                              toText(FrameSize{frame.width, frame.height}));
    }
    return rgb;
}

std::vector<std::uint8_t> encodePng(const CapturedFrame& frame) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = frame.width;
    image.height = frame.height;
    image.format = PNG_FORMAT_RGB;
    image.flags = PNG_IMAGE_FLAG_FAST;
    const std::vector<std::uint8_t> rgb = toRgb(frame);
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::uint8_t> png(size);
    if (png_image_write_to_memory(&image, png.data(), &size, 0, rgb.data(), 0, nullptr) == 0) {
        throw Failure(ExitCode::Internal, std::string("libpng: ") + image.message);
    }
    png.resize(size);
    return png;
}

std::string y4mHeader(const CapturedFrame& frame, FrameRate rate) {
    // Where the chroma samples lie: between two luma columns in JPEG, on every second one in video.
    const char* const chroma =
        frame.fullRange ? "C420jpeg XCOLORRANGE=FULL" : "C420mpeg2 XCOLORRANGE=LIMITED";
    return "YUV4MPEG2 W" + std::to_string(frame.width) + " H" + std::to_string(frame.height) +
           " F" + std::to_string(rate.numerator) + ":" + std::to_string(rate.denominator) +
           " Ip A1:1 " + chroma + "\n";
}

}  // namespace LumiqCam
