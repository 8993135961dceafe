// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Copies frames and reads them; see the header.
#include "film.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "frame-number.h"
#include "lumiq/frame.h"
#include "lumiq/graphic-buffer.h"

namespace RealKernel {
namespace {

using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::YCbCrFrame;

constexpr std::size_t barCount = 8;

// What a USB camera paints, from the left: white, yellow, cyan, green, magenta, red, blue, black.
constexpr std::array<Colour, barCount> usbBars{{{235, 128, 128},
                                                {210, 16, 146},
                                                {170, 166, 16},
                                                {145, 54, 34},
                                                {106, 202, 222},
                                                {81, 90, 240},
                                                {41, 240, 110},
                                                {16, 128, 128}}};

// The same with the full range of values.
Colour inJpeg(const Colour& colour) {
    return {(colour.y - 16) * 255 / 219, (colour.cb - 128) * 255 / 224 + 128,
            (colour.cr - 128) * 255 / 224 + 128};
}

// Room for what a JPEG rounds off.
bool isNear(const Colour& seen, const Colour& wanted) {
    constexpr int tolerance = 8;
    return std::abs(seen.y - wanted.y) <= tolerance && std::abs(seen.cb - wanted.cb) <= tolerance &&
           std::abs(seen.cr - wanted.cr) <= tolerance;
}

std::string text(const Colour& colour) {
    return std::to_string(colour.y) + "," + std::to_string(colour.cb) + "," +
           std::to_string(colour.cr);
}

// Numbers of frames in the order in which they came. On a busy machine the kernel's driver may hand
// on two neighbours the wrong way round.
std::string complaintAboutOrder(const std::vector<std::uint32_t>& numbers) {
    if (numbers.empty()) {
        return "no frames";
    }
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        const bool swapped =
            numbers[i] + 1 == numbers[i - 1] && (i < 2 || numbers[i] > numbers[i - 2]);
        if (numbers[i] <= numbers[i - 1] && !swapped) {
            return "frame " + std::to_string(numbers[i]) + " came after " +
                   std::to_string(numbers[i - 1]);
        }
    }
    const auto [first, last] = std::ranges::minmax_element(numbers);
    return *last - *first <= 2 * numbers.size() ? "" : "more frames were lost than came";
}

std::vector<std::uint8_t> copyPlane(const std::uint8_t* data, std::size_t stride, std::size_t step,
                                    std::size_t width, std::size_t height) {
    std::vector<std::uint8_t> plane(width * height);
    std::uint8_t* to = plane.data();
    for (std::size_t row = 0; row < height; ++row) {
        for (std::size_t column = 0; column < width; ++column) {
            *to++ = data[row * stride + column * step];
        }
    }
    return plane;
}

Picture copyPicture(const YCbCrFrame& frame) {
    const std::size_t width = (frame.width + 1U) / 2;
    const std::size_t height = (frame.height + 1U) / 2;
    return {frame.width, frame.height,
            copyPlane(frame.y, frame.yStride, 1, frame.width, frame.height),
            copyPlane(frame.cb, frame.cStride, frame.chromaStep, width, height),
            copyPlane(frame.cr, frame.cStride, frame.chromaStep, width, height)};
}

}  // namespace

Colour Picture::at(std::size_t column, std::size_t row) const {
    const std::size_t chroma = row / 2 * ((width + 1) / 2) + column / 2;
    return {y[row * width + column], cb[chroma], cr[chroma]};
}

std::optional<std::size_t> Picture::firstBar() const {
    constexpr int dark = 40;
    constexpr int bright = 140;
    const std::uint8_t* const row = y.data() + height / 2 * width;
    for (std::size_t column = 0; column < width; ++column) {
        if (row[column] < dark && row[(column + 1) % width] > bright) {
            return (column + 1) % width;
        }
    }
    return std::nullopt;
}

Colour Picture::bar(std::size_t index) const {
    const std::size_t begin = firstBar().value();
    return at((begin + (2 * index + 1) * width / (2 * barCount)) % width, height / 2);
}

std::optional<std::uint32_t> Picture::number() const {
    return Simulator::readFrameNumber(y.data(), width, width, height);
}

std::string Picture::flaw(const Look& look) const {
    const auto seen = number();
    if (!seen) {
        return "no number in a picture of " + std::to_string(width) + "x" + std::to_string(height);
    }
    const std::size_t begin = *seen % look.cycle * width / look.cycle & ~std::size_t{1};
    for (std::size_t bar = 0; bar < barCount; ++bar) {
        const std::size_t middle = (2 * bar + 1) * width / (2 * barCount);
        const Colour wanted = look.jpeg ? inJpeg(usbBars[bar]) : usbBars[bar];
        for (const std::size_t row : {height / 2, height - 4}) {
            const Colour colour = at((middle + width - begin) % width, row);
            if (!isNear(colour, wanted)) {
                return "frame " + std::to_string(*seen) + ": bar " + std::to_string(bar) +
                       " in row " + std::to_string(row) + " is " + text(colour);
            }
        }
    }
    return "";
}

std::size_t movedLeft(const Picture& from, const Picture& to) {
    return (from.firstBar().value() + from.width - to.firstBar().value()) % from.width;
}

std::string complaintAbout(const std::vector<Picture>& pictures, const Look& look) {
    std::vector<std::uint32_t> numbers;
    for (const Picture& picture : pictures) {
        if (const std::string flaw = picture.flaw(look); !flaw.empty()) {
            return flaw;
        }
        numbers.push_back(*picture.number());
    }
    return complaintAboutOrder(numbers);
}

std::string complaintAbout(const std::vector<std::vector<std::uint8_t>>& frames) {
    std::vector<std::uint32_t> numbers;
    for (const auto& bytes : frames) {
        const auto number = Simulator::readOpaqueFrameNumber(bytes.data(), bytes.size());
        if (!number) {
            return "no number in " + std::to_string(bytes.size()) + " bytes";
        }
        numbers.push_back(*number);
    }
    return complaintAboutOrder(numbers);
}

void Film::keepPictures() {
    onFrame = [this](const std::shared_ptr<GraphicBuffer>& buffer) {
        const auto frame = buffer->mapYCbCr();
        m_pictures.push_back(frame ? copyPicture(*frame) : Picture{});
    };
}

void Film::keepBytes(Nerio::Lumiq::PixelFormat format) {
    onFrame = [this, format](const std::shared_ptr<GraphicBuffer>& buffer) {
        m_bytes.emplace_back();
        const auto frame = buffer->mapFrame();
        if (frame && frame->format == format) {
            const auto& encoded = frame->encoded;
            m_bytes.back().assign(encoded.data, encoded.data + encoded.size);
        }
    };
}

}  // namespace RealKernel
