// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Draws the bars and the number strip. Called by the frame painters, on the driver thread.

#include "bars.h"

#include <array>
#include <cstring>

#include "frame-number.h"

namespace Simulator {
namespace {

struct Colour {
    std::uint8_t luma, blue, red;
};
/// White, yellow, cyan, green, magenta, red, blue, black.
constexpr std::array<Colour, 8> colours = {{{235, 128, 128},
                                            {210, 16, 146},
                                            {170, 166, 16},
                                            {145, 54, 34},
                                            {106, 202, 222},
                                            {81, 90, 240},
                                            {41, 240, 110},
                                            {16, 128, 128}}};
/// JPEG wants rows in whole blocks, up to 15 pixels more than the picture has.
constexpr std::size_t spare = 16;

constexpr std::uint8_t dark = 16;
constexpr std::uint8_t bright = 235;
constexpr unsigned digits = 6;
constexpr std::size_t digitColumns = 6;  ///< with the gap
/// Seven rows of five dots, the leftmost in bit 4.
constexpr std::uint8_t font[10][7] = {
    {0x0e, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0e}, {0x04, 0x0c, 0x04, 0x04, 0x04, 0x04, 0x0e},
    {0x0e, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1f}, {0x1f, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0e},
    {0x02, 0x06, 0x0a, 0x12, 0x1f, 0x02, 0x02}, {0x1f, 0x10, 0x1e, 0x01, 0x01, 0x11, 0x0e},
    {0x06, 0x08, 0x10, 0x1e, 0x11, 0x11, 0x0e}, {0x1f, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0e, 0x11, 0x11, 0x0e, 0x11, 0x11, 0x0e}, {0x0e, 0x11, 0x11, 0x0f, 0x01, 0x02, 0x0c}};

}  // namespace

Bars::Bars(std::uint32_t width, const Picture& picture) : m_width(width), m_cycle(picture.cycle) {
    const std::size_t columns = 2 * std::size_t{width} + spare + (width & 1U);
    m_luma.resize(columns);
    m_blue.resize((columns + 1) / 2);
    m_red.resize((columns + 1) / 2);
    for (std::size_t x = 0; x < columns; ++x) {
        const Colour& colour = colours[x % width * colours.size() / width];
        m_luma[x] = colour.luma;
        m_blue[x / 2] = picture.grey ? 128 : colour.blue;
        m_red[x / 2] = picture.grey ? 128 : colour.red;
    }
}

std::size_t Bars::start(std::uint32_t number) const {
    return std::size_t{number % m_cycle} * m_width / m_cycle & ~std::size_t{1};
}

NumberStrip::NumberStrip(std::uint32_t width, std::uint32_t height)
    : m_width(width),
      m_height(width >= codeWidth && height >= stripHeight ? stripHeight : 0),
      m_luma(std::size_t{m_height} * width, dark) {}

void NumberStrip::draw(std::uint32_t number) {
    if (m_height == 0) {
        return;
    }
    const std::uint32_t code = frameCode(number);
    for (std::size_t cell = 0; cell < 32; ++cell) {
        fill(cell % codeColumns * codeCell, cell / codeColumns * codeCell, codeCell,
             (code >> cell & 1U) != 0 ? bright : dark);
    }
    // Beside the code where there is room, else small and below it.
    const bool beside = m_width >= codeWidth + codeCell + digits * digitColumns * 4;
    const std::size_t scale = beside ? 4 : 2;
    const std::size_t left = beside ? codeWidth + codeCell : 2;
    const std::size_t top = beside ? 2 : 17;
    for (unsigned digit = digits; digit-- > 0; number /= 10) {
        drawDigit(number % 10, left + digit * digitColumns * scale, top, scale);
    }
}

void NumberStrip::fill(std::size_t left, std::size_t top, std::size_t side, std::uint8_t luma) {
    for (std::size_t y = top; y < top + side; ++y) {
        std::memset(&m_luma[y * m_width + left], luma, side);
    }
}

void NumberStrip::drawDigit(unsigned digit, std::size_t left, std::size_t top, std::size_t scale) {
    for (std::size_t row = 0; row < 7; ++row) {
        for (std::size_t column = 0; column < 5; ++column) {
            const bool dot = (font[digit][row] >> (4 - column) & 1U) != 0;
            fill(left + column * scale, top + row * scale, scale, dot ? bright : dark);
        }
    }
}

}  // namespace Simulator
