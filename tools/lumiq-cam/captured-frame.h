// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A frame that belongs to the program: taken from the driver's memory on the capture thread,
// written by the main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "text-values.h"

namespace LumiqCam {

enum class FrameContent {
    Bytes,  // To be written as they are.
    Jpeg,   // A whole JPEG picture.
    I420,   // Planes without padding, one behind the other; chroma sides rounded up.
};

struct CapturedFrame {
    FrameContent content = FrameContent::Bytes;
    std::span<const std::uint8_t> bytes;
    std::shared_ptr<const void> memory;            // Where the bytes are.
    PixelFormat delivered = PixelFormat::Invalid;  // What the camera sent.
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    // Luma from 0 to 255, as in JPEG, instead of 16 to 235, as in video.
    bool fullRange = false;
    bool converted = false;  // The back end made 4:2:0 of something else.

    void own(std::vector<std::uint8_t> made) {
        auto owner = std::make_shared<const std::vector<std::uint8_t>>(std::move(made));
        bytes = *owner;
        memory = std::move(owner);
    }

    std::size_t chromaWidth() const { return (std::size_t{width} + 1) / 2; }
    std::size_t chromaHeight() const { return (std::size_t{height} + 1) / 2; }
    std::size_t lumaSize() const { return std::size_t{width} * height; }
    std::size_t chromaSize() const { return chromaWidth() * chromaHeight(); }
    const std::uint8_t* cb() const { return bytes.data() + lumaSize(); }
    const std::uint8_t* cr() const { return cb() + chromaSize(); }
};

}  // namespace LumiqCam
