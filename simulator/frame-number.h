// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Where a simulated camera writes the number of each frame, and how to read it back. For tests and
// tools, on any thread; needs nothing else of the simulator.
//
// A picture of at least 128x32 has the number in the luma of its top left 128x16 pixels: two rows
// of sixteen cells of 8x8 pixels, dark for 0 and bright for 1. The cells lie on the blocks of a
// JPEG and have no colour, so compression and conversion between chroma layouts leave them
// readable. The bits, lowest first: 24 of the number (frame 16777216 is 0 again), 8 of a check sum.

#ifndef LUMIQ_SIMULATOR_FRAME_NUMBER_H
#define LUMIQ_SIMULATOR_FRAME_NUMBER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Simulator {

inline constexpr std::uint32_t codeCell = 8;
inline constexpr std::uint32_t codeColumns = 16;
inline constexpr std::uint32_t codeRows = 2;
inline constexpr std::uint32_t codeWidth = codeCell * codeColumns;
/// The strip at the top that carries the code and the digits.
inline constexpr std::uint32_t stripHeight = 32;

/// The 32 bits for a frame number.
constexpr std::uint32_t frameCode(std::uint32_t number) {
    number &= 0xffffffU;
    std::uint32_t check = 0xa5;
    for (unsigned bit = 24; bit-- > 0;) {
        const std::uint32_t carry = (check >> 7 ^ number >> bit) & 1U;
        check = (check << 1 & 0xffU) ^ (carry != 0 ? 0x2fU : 0U);
    }
    return number | check << 24;
}

/// Reads the number from a luma plane; nothing when there is none that holds. `pixelStep` is 2 for
/// packed 4:2:2, where `luma` points to the first luma byte.
inline std::optional<std::uint32_t> readFrameNumber(const std::uint8_t* luma, std::size_t stride,
                                                    std::size_t width, std::size_t height,
                                                    std::size_t pixelStep = 1) {
    if (width < codeWidth || height < stripHeight) {
        return std::nullopt;
    }
    std::uint32_t code = 0;
    for (std::size_t cell = 0; cell < 32; ++cell) {
        const std::size_t left = cell % codeColumns * codeCell;
        const std::size_t top = cell / codeColumns * codeCell;
        unsigned sum = 0;
        for (std::size_t y = top + 2; y < top + 6; ++y) {
            for (std::size_t x = left + 2; x < left + 6; ++x) {
                sum += luma[y * stride + x * pixelStep];
            }
        }
        const unsigned mean = sum / 16;
        if (mean > 96 && mean < 160) {
            return std::nullopt;
        }
        code |= (mean >= 160 ? 1U : 0U) << cell;
    }
    const std::uint32_t number = code & 0xffffffU;
    return frameCode(number) == code ? std::optional(number) : std::nullopt;
}

/// What an opaque frame (H264, VP80, ...) begins with, before its number in four bytes, lowest
/// first. To an H.264 reader it is the start of filler data.
inline constexpr std::array<std::uint8_t, 8> opaqueMark = {0, 0, 0, 1, 'L', 'U', 'M', 'Q'};

/// Reads the number of an opaque frame; nothing when it is none.
inline std::optional<std::uint32_t> readOpaqueFrameNumber(const std::uint8_t* data,
                                                          std::size_t bytes) {
    if (bytes < opaqueMark.size() + 4) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < opaqueMark.size(); ++i) {
        if (data[i] != opaqueMark[i]) {
            return std::nullopt;
        }
    }
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number |= std::uint32_t{data[opaqueMark.size() + i]} << 8 * i;
    }
    return number;
}

}  // namespace Simulator

#endif
