// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Paints uncompressed and opaque frames. Called on the driver thread.

#include "frame-painter.h"

#include <algorithm>
#include <cstring>

#include "bars.h"
#include "frame-choice.h"
#include "frame-number.h"

namespace Simulator {
namespace {

constexpr std::uint8_t neutral = 128;

/// Cuts what an uncompressed painter writes to the room there is.
class RawPainter : public FramePainter {
public:
    RawPainter(std::uint32_t code, std::uint32_t width, std::uint32_t height,
               const Picture& picture)
        : m_width(width),
          m_height(height),
          m_bars(width, picture),
          m_strip(width, height),
          m_bytes(imageBytes(code, width, height)) {}

    std::size_t paint(std::uint8_t* to, std::size_t capacity, std::uint32_t number) final {
        m_strip.draw(number);
        if (capacity >= m_bytes) {
            paintWhole(to, m_bars.start(number));
            return m_bytes;
        }
        m_overflow.resize(m_bytes);
        paintWhole(m_overflow.data(), m_bars.start(number));
        std::memcpy(to, m_overflow.data(), capacity);
        return capacity;
    }

protected:
    virtual void paintWhole(std::uint8_t* to, std::size_t start) = 0;

    const std::size_t m_width;
    const std::size_t m_height;
    const Bars m_bars;
    NumberStrip m_strip;

private:
    const std::size_t m_bytes;
    std::vector<std::uint8_t> m_overflow;
};

/// YUYV and UYVY: `lumaByte` is where in a pixel its luma is.
class PackedPainter final : public RawPainter {
public:
    PackedPainter(std::uint32_t code, std::uint32_t width, std::uint32_t height,
                  const Picture& picture, std::size_t lumaByte)
        : RawPainter(code, width, height, picture),
          m_lumaByte(lumaByte),
          m_row(2 * m_bars.luma().size()) {
        for (std::size_t x = 0; x < m_bars.luma().size(); ++x) {
            const auto& chroma = x % 2 == 0 ? m_bars.blue() : m_bars.red();
            m_row[2 * x + m_lumaByte] = m_bars.luma()[x];
            m_row[2 * x + 1 - m_lumaByte] = chroma[x / 2];
        }
    }

private:
    void paintWhole(std::uint8_t* to, std::size_t start) override {
        const std::size_t stride = 2 * m_width;
        for (std::size_t y = 0; y < m_strip.height(); ++y) {
            const std::uint8_t* const from = m_strip.row(y);
            std::uint8_t* const row = to + y * stride;
            for (std::size_t x = 0; x < m_width; ++x) {
                row[2 * x + m_lumaByte] = from[x];
                row[2 * x + 1 - m_lumaByte] = neutral;
            }
        }
        for (std::size_t y = m_strip.height(); y < m_height; ++y) {
            std::memcpy(to + y * stride, &m_row[2 * start], stride);
        }
    }

    const std::size_t m_lumaByte;
    std::vector<std::uint8_t> m_row;
};

/// YU12 and, with both chroma samples side by side, NV12.
class PlanarPainter final : public RawPainter {
public:
    PlanarPainter(std::uint32_t code, std::uint32_t width, std::uint32_t height,
                  const Picture& picture, bool interleaved)
        : RawPainter(code, width, height, picture) {
        if (!interleaved) {
            m_chroma = {m_bars.blue(), m_bars.red()};
            return;
        }
        m_samples = 2;
        m_chroma.emplace_back(2 * m_bars.blue().size());
        for (std::size_t x = 0; x < m_bars.blue().size(); ++x) {
            m_chroma[0][2 * x] = m_bars.blue()[x];
            m_chroma[0][2 * x + 1] = m_bars.red()[x];
        }
    }

private:
    void paintWhole(std::uint8_t* to, std::size_t start) override {
        for (std::size_t y = 0; y < m_height; ++y, to += m_width) {
            std::memcpy(to, y < m_strip.height() ? m_strip.row(y) : &m_bars.luma()[start], m_width);
        }
        const std::size_t stride = (m_width + 1) / 2 * m_samples;
        for (const auto& row : m_chroma) {
            for (std::size_t y = 0; y < (m_height + 1) / 2; ++y, to += stride) {
                if (y < m_strip.height() / 2) {
                    std::memset(to, neutral, stride);
                } else {
                    std::memcpy(to, &row[start / 2 * m_samples], stride);
                }
            }
        }
    }

    std::size_t m_samples = 1;
    std::vector<std::vector<std::uint8_t>> m_chroma;
};

/// Codes without a picture: a mark, the number, and bytes that say nothing.
class OpaquePainter final : public FramePainter {
public:
    OpaquePainter(std::uint32_t width, std::uint32_t height)
        : m_bytes(std::size_t{width} * height / 16 + 64) {}

    std::size_t paint(std::uint8_t* to, std::size_t capacity, std::uint32_t number) override {
        const std::size_t bytes =
            std::min<std::size_t>(capacity, m_bytes + number % 7 * std::size_t{16});
        std::memset(to, 0x5a, bytes);
        std::memcpy(to, opaqueMark.data(), std::min(bytes, opaqueMark.size()));
        for (std::size_t i = opaqueMark.size(); i < std::min(bytes, opaqueMark.size() + 4); ++i) {
            to[i] = static_cast<std::uint8_t>(number >> 8 * (i - opaqueMark.size()));
        }
        return bytes;
    }

private:
    const std::size_t m_bytes;
};

}  // namespace

std::unique_ptr<FramePainter> makePainter(std::uint32_t code, std::uint32_t width,
                                          std::uint32_t height, const Picture& picture) {
    switch (code) {
        case fourcc("YUYV"):
            return std::make_unique<PackedPainter>(code, width, height, picture, 0);
        case fourcc("UYVY"):
            return std::make_unique<PackedPainter>(code, width, height, picture, 1);
        case fourcc("YU12"):
            return std::make_unique<PlanarPainter>(code, width, height, picture, false);
        case fourcc("NV12"):
            return std::make_unique<PlanarPainter>(code, width, height, picture, true);
        case fourcc("MJPG"):
        case fourcc("JPEG"):
            return makeJpegPainter(width, height, picture);
        default:
            return std::make_unique<OpaquePainter>(width, height);
    }
}

}  // namespace Simulator
