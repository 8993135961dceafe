// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// JPEG files made and read without the codec under test, plane by plane. Test thread.
#pragma once

#include <cstdint>
#include <vector>

#include "test-picture.h"

namespace SdkTest {

using Bytes = std::vector<std::uint8_t>;

/// How many luma samples there are for one chroma sample in either direction, and whether there is
/// chroma at all.
struct Layout {
    int across = 2;
    int down = 2;
    bool grey = false;
};

/// A JPEG of the picture at quality 95. For other layouts than 4:2:0 its chroma is stretched.
Bytes writeJpeg(const TestPicture& picture, Layout layout = {});

/// Throws std::runtime_error on anything that is not a whole JPEG.
struct DecodedJpeg {
    int width = 0;
    int height = 0;
    std::vector<Plane> planes;  ///< As they are in the file: one, or three of 4:2:0.
};
DecodedJpeg readJpeg(const Bytes& bytes);

}  // namespace SdkTest
