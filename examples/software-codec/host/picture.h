// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Pictures as this program handles them: as colours to look at, and as planar 4:2:0 for the codec,
// with the matrix of BT.601 and full range, as JPEG files have it. Main thread.
#pragma once

#include <lumiq/frame.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace EncodeAndDecode {

/// Red, green, blue; rows without padding.
struct RgbPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
};

/// Planar 4:2:0 with even sides, planes one behind the other.
class I420Picture {
public:
    /// An odd last column or row is left out.
    explicit I420Picture(const RgbPicture& picture);

    /// What an encoder takes; points into this picture.
    [[nodiscard]] Nerio::Lumiq::YCbCrFrame frame() const;

    [[nodiscard]] std::size_t size() const { return m_bytes.size(); }

private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_bytes;
};

/// Something to see what a codec does to it: colours that change slowly, bars with sharp edges, and
/// rings that grow finer outwards.
[[nodiscard]] RgbPicture paintPicture(int width, int height);

[[nodiscard]] RgbPicture toRgb(const Nerio::Lumiq::YCbCrFrame& frame);

/// How close each plane comes to the original, in decibels; infinite when it is the same.
struct Likeness {
    double y;
    double cb;
    double cr;
};
[[nodiscard]] Likeness compare(const Nerio::Lumiq::YCbCrFrame& picture,
                               const Nerio::Lumiq::YCbCrFrame& original);

}  // namespace EncodeAndDecode
