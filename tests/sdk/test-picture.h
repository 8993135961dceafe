// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A picture to encode, and how close another comes to it. Test thread.
#pragma once

#include <cstdint>
#include <vector>

#include "lumiq/frame.h"

namespace SdkTest {

struct Plane {
    int width = 0;
    int height = 0;
    int stride = 0;
    std::vector<std::uint8_t> bytes;

    const std::uint8_t* row(int y) const { return bytes.data() + y * stride; }
};

/// Waves of another direction and length in each plane. The bytes between the rows, if `padding` is
/// not 0, are white: who reads them shows them.
struct TestPicture {
    explicit TestPicture(int width, int height, int padding = 0);

    Nerio::Lumiq::YCbCrFrame frame(std::int64_t timestamp = -1) const;

    Plane y, cb, cr;
};

/// In decibels; infinite when all samples are the same.
double likeness(const Plane& plane, const std::uint8_t* other, int otherStride);

/// The least of the three planes.
double likeness(const TestPicture& picture, const Nerio::Lumiq::YCbCrFrame& other);

}  // namespace SdkTest
