// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The picture that fake cameras see: four quarters in red, green, blue and white, and the frame's
// number as black and white squares along the top. Pure functions.
#pragma once

#include <cstdint>
#include <vector>

#include "lumiq/pixel-format.h"

namespace FakePlugin {

struct PictureSize {
    std::uint16_t width;
    std::uint16_t height;
};

// A driver buffer with this picture, in the layout that the format has; longer than the image, with
// remains of other data behind it where the image is encoded.
std::vector<std::uint8_t> driverBuffer(Nerio::Lumiq::PixelFormat format, PictureSize size,
                                       std::uint32_t number, bool withoutHuffmanTables);

// The picture as planar 4:2:0 as the contract lays it out: chroma stride half the width, Cb behind
// the luma, Cr a quarter of the image behind Cb, all rounded down.
std::vector<std::uint8_t> planarImage(PictureSize size, std::uint32_t number, bool fullRange);

}  // namespace FakePlugin
