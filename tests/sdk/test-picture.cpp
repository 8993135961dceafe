// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// See the header.

#include "test-picture.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace SdkTest {
namespace {

Plane waves(int width, int height, int padding, double across, double down) {
    Plane plane{width, height, width + padding, {}};
    plane.bytes.resize(static_cast<std::size_t>(plane.stride) * static_cast<std::size_t>(height),
                       255);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double wave = std::sin(across * x / width + down * y / height);
            plane.bytes[static_cast<std::size_t>(y * plane.stride + x)] =
                static_cast<std::uint8_t>(std::lround(128 + 90 * wave));
        }
    }
    return plane;
}

}  // namespace

TestPicture::TestPicture(int width, int height, int padding)
    : y(waves(width, height, padding, 30, 20)),
      cb(waves(width / 2, height / 2, padding, 8, -3)),
      cr(waves(width / 2, height / 2, padding, -2, 9)) {}

Nerio::Lumiq::YCbCrFrame TestPicture::frame(std::int64_t timestamp) const {
    Nerio::Lumiq::YCbCrFrame frame;
    frame.y = y.row(0);
    frame.cb = cb.row(0);
    frame.cr = cr.row(0);
    frame.yStride = static_cast<std::uint16_t>(y.stride);
    frame.cStride = static_cast<std::uint16_t>(cb.stride);
    frame.chromaStep = 1;
    frame.width = static_cast<std::uint16_t>(y.width);
    frame.height = static_cast<std::uint16_t>(y.height);
    frame.timestamp = timestamp;
    return frame;
}

double likeness(const Plane& plane, const std::uint8_t* other, int otherStride) {
    double squares = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const double difference = double(plane.row(y)[x]) - double(other[y * otherStride + x]);
            squares += difference * difference;
        }
    }
    if (squares == 0) {
        return std::numeric_limits<double>::infinity();
    }
    return 10 * std::log10(255.0 * 255.0 * plane.width * plane.height / squares);
}

double likeness(const TestPicture& picture, const Nerio::Lumiq::YCbCrFrame& other) {
    return std::min({likeness(picture.y, other.y, other.yStride),
                     likeness(picture.cb, other.cb, other.cStride),
                     likeness(picture.cr, other.cr, other.cStride)});
}

}  // namespace SdkTest
