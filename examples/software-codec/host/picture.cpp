// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Painting, converting and comparing pictures; see the header.

#include "picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace EncodeAndDecode {
namespace {

using Nerio::Lumiq::YCbCrFrame;
using Colour = std::array<double, 3>;

std::uint8_t toByte(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

double lumaOf(const Colour& rgb) {
    return 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2];
}

/// The colour in the middle of a square of pixels, `side` by `side`, with the corner at x, y.
Colour meanColour(const RgbPicture& picture, int x, int y, int side) {
    Colour sum{};
    for (int row = y; row < y + side; ++row) {
        for (int column = x; column < x + side; ++column) {
            const std::size_t pixel =
                (std::size_t(row) * std::size_t(picture.width) + std::size_t(column)) * 3;
            for (std::size_t i = 0; i < 3; ++i) {
                sum[i] += picture.bytes[pixel + i];
            }
        }
    }
    for (double& value : sum) {
        value /= side * side;
    }
    return sum;
}

Colour paintedColour(int x, int y, int width, int height) {
    const double right = double(x) / width;
    const double down = double(y) / height;
    const double fromMiddle = std::hypot(x - width / 2, y - height * 2 / 5) / height;
    if (fromMiddle < 0.3) {
        const double ring = 127.5 + 120 * std::cos(fromMiddle * fromMiddle * height * 1.4);
        return {ring, ring, ring};
    }
    if (down > 0.8) {
        const int bar = static_cast<int>(right * 8);
        return {bar & 2 ? 30.0 : 225.0, bar & 4 ? 30.0 : 225.0, bar & 1 ? 30.0 : 225.0};
    }
    return {255 * right, 200 * down + 40, 255 * (1 - right)};
}

double decibels(const std::uint8_t* picture, int pictureStride, const std::uint8_t* original,
                int originalStride, int width, int height) {
    double squares = 0;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const double difference = double(picture[row * pictureStride + column]) -
                                      double(original[row * originalStride + column]);
            squares += difference * difference;
        }
    }
    if (squares == 0) {
        return std::numeric_limits<double>::infinity();
    }
    return 10 * std::log10(255.0 * 255.0 * width * height / squares);
}

}  // namespace

I420Picture::I420Picture(const RgbPicture& picture)
    : m_width(picture.width / 2 * 2), m_height(picture.height / 2 * 2) {
    m_bytes.reserve(std::size_t(m_width) * std::size_t(m_height) * 3 / 2);
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            m_bytes.push_back(toByte(lumaOf(meanColour(picture, x, y, 1))));
        }
    }
    const auto appendChroma = [&](std::size_t primary, double scale) {
        for (int y = 0; y < m_height; y += 2) {
            for (int x = 0; x < m_width; x += 2) {
                const Colour colour = meanColour(picture, x, y, 2);
                m_bytes.push_back(toByte(128 + (colour[primary] - lumaOf(colour)) / scale));
            }
        }
    };
    appendChroma(2, 1.772);
    appendChroma(0, 1.402);
}

YCbCrFrame I420Picture::frame() const {
    const std::size_t luma = std::size_t(m_width) * std::size_t(m_height);
    YCbCrFrame frame;
    frame.y = m_bytes.data();
    frame.cb = frame.y + luma;
    frame.cr = frame.cb + luma / 4;
    frame.yStride = static_cast<std::uint16_t>(m_width);
    frame.cStride = static_cast<std::uint16_t>(m_width / 2);
    frame.chromaStep = 1;
    frame.width = static_cast<std::uint16_t>(m_width);
    frame.height = static_cast<std::uint16_t>(m_height);
    return frame;
}

RgbPicture paintPicture(int width, int height) {
    RgbPicture picture{width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (const double value : paintedColour(x, y, width, height)) {
                picture.bytes.push_back(toByte(value));
            }
        }
    }
    return picture;
}

RgbPicture toRgb(const YCbCrFrame& frame) {
    RgbPicture picture{frame.width, frame.height, {}};
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const int chroma = y / 2 * frame.cStride + x / 2 * frame.chromaStep;
            const double luma = frame.y[y * frame.yStride + x];
            const double cb = frame.cb[chroma] - 128.0;
            const double cr = frame.cr[chroma] - 128.0;
            picture.bytes.push_back(toByte(luma + 1.402 * cr));
            picture.bytes.push_back(toByte(luma - 0.344136 * cb - 0.714136 * cr));
            picture.bytes.push_back(toByte(luma + 1.772 * cb));
        }
    }
    return picture;
}

Likeness compare(const YCbCrFrame& picture, const YCbCrFrame& original) {
    const int width = original.width;
    const int height = original.height;
    return {
        decibels(picture.y, picture.yStride, original.y, original.yStride, width, height),
        decibels(picture.cb, picture.cStride, original.cb, original.cStride, width / 2, height / 2),
        decibels(picture.cr, picture.cStride, original.cr, original.cStride, width / 2, height / 2),
    };
}

}  // namespace EncodeAndDecode
