// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a simulated camera sees: vertical bars that move from frame to frame, and over them a dark
// strip with the frame number in digits and as a block code. Used by the frame painters, on the
// driver thread.

#ifndef LUMIQ_SIMULATOR_BARS_H
#define LUMIQ_SIMULATOR_BARS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "camera-description.h"

namespace Simulator {

/// One row of the bars, wide enough to begin anywhere in the first width and still be whole.
/// Chroma has one sample for two pixels.
class Bars {
public:
    Bars(std::uint32_t width, const Picture& picture);

    /// Where in the row the frame begins; always even.
    [[nodiscard]] std::size_t start(std::uint32_t number) const;
    [[nodiscard]] std::uint32_t cycle() const { return m_cycle; }
    [[nodiscard]] const std::vector<std::uint8_t>& luma() const { return m_luma; }
    [[nodiscard]] const std::vector<std::uint8_t>& blue() const { return m_blue; }
    [[nodiscard]] const std::vector<std::uint8_t>& red() const { return m_red; }

private:
    std::uint32_t m_width;
    std::uint32_t m_cycle;
    std::vector<std::uint8_t> m_luma, m_blue, m_red;
};

/// The strip with the frame number, luma only; empty in pictures too small for it.
class NumberStrip {
public:
    NumberStrip(std::uint32_t width, std::uint32_t height);

    void draw(std::uint32_t number);
    [[nodiscard]] std::uint32_t height() const { return m_height; }
    [[nodiscard]] const std::uint8_t* row(std::size_t y) const { return &m_luma[y * m_width]; }

private:
    void fill(std::size_t left, std::size_t top, std::size_t side, std::uint8_t luma);
    void drawDigit(unsigned digit, std::size_t left, std::size_t top, std::size_t scale);

    std::uint32_t m_width;
    std::uint32_t m_height;
    std::vector<std::uint8_t> m_luma;
};

}  // namespace Simulator

#endif
