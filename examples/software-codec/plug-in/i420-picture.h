// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A picture that owns its pixels, as the decoder hands it to the host. Any thread.
#pragma once

#include <lumiq/frame.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace SoftwareCodec {

/// The picture in `i420`: planes one behind the other, rows without padding, both sides even. The
/// pixels live as long as the pointer or a copy of it.
inline std::shared_ptr<Nerio::Lumiq::YCbCrFrame> makePicture(std::vector<std::uint8_t> i420,
                                                             std::uint16_t width,
                                                             std::uint16_t height) {
    struct Picture {
        std::vector<std::uint8_t> bytes;
        Nerio::Lumiq::YCbCrFrame frame;
    };
    auto picture = std::make_shared<Picture>();
    picture->bytes = std::move(i420);
    const std::size_t luma = std::size_t{width} * height;
    Nerio::Lumiq::YCbCrFrame& frame = picture->frame;
    frame.y = picture->bytes.data();
    frame.cb = frame.y + luma;
    frame.cr = frame.cb + luma / 4;
    frame.yStride = width;
    frame.cStride = static_cast<std::uint16_t>(width / 2);
    frame.chromaStep = 1;
    frame.width = width;
    frame.height = height;
    return {picture, &frame};
}

}  // namespace SoftwareCodec
