// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Paints JPEG frames, 4:2:2 as UVC cameras send them. Every row of blocks ends in a restart marker,
// so rows are independent: the bars are compressed once for each of their positions, and a frame is
// such a picture with its top rows, those with the number, compressed anew. Called on the driver
// thread.

#include <cstdio>  // jpeglib.h needs it first

#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>

#include "bars.h"
#include "frame-number.h"
#include "frame-painter.h"

namespace Simulator {
namespace {

constexpr std::size_t blockRows = 8;
constexpr std::size_t stripRestarts = stripHeight / blockRows;
constexpr std::size_t endMarkerBytes = 2;

using Bytes = std::vector<std::uint8_t>;

/// The position after the header of the scan, where its compressed data begins.
std::size_t scanStart(std::span<const std::uint8_t> jpeg) {
    std::size_t at = 2;
    while (jpeg[at + 1] != 0xda) {
        at += 2 + (std::size_t{jpeg[at + 2]} << 8 | jpeg[at + 3]);
    }
    return at + 2 + (std::size_t{jpeg[at + 2]} << 8 | jpeg[at + 3]);
}

/// The position of the n-th restart marker (from 1). Compressed data has a zero after every 0xff.
std::size_t restartMarker(std::span<const std::uint8_t> jpeg, std::size_t n) {
    std::size_t at = scanStart(jpeg);
    while (true) {
        if (jpeg[at] == 0xff && jpeg[at + 1] >= 0xd0 && jpeg[at + 1] <= 0xd7 && --n == 0) {
            return at;
        }
        ++at;
    }
}

/// A JPEG uses the whole of a byte (JFIF 1.02), where video leaves room at both ends (BT.601).
std::uint8_t fullLuma(std::uint8_t video) {
    return static_cast<std::uint8_t>(std::clamp((video - 16) * 255 / 219, 0, 255));
}
std::uint8_t fullChroma(std::uint8_t video) {
    return static_cast<std::uint8_t>(std::clamp(128 + (video - 128) * 255 / 224, 0, 255));
}

Bytes converted(const Bytes& row, std::uint8_t (*convert)(std::uint8_t)) {
    Bytes result(row.size());
    std::transform(row.begin(), row.end(), result.begin(), convert);
    return result;
}

class JpegPainter final : public FramePainter {
public:
    JpegPainter(std::uint32_t width, std::uint32_t height, const Picture& picture)
        : m_width(width),
          m_height(height),
          m_quality(picture.jpegQuality),
          m_bars(width, picture),
          m_luma(converted(m_bars.luma(), fullLuma)),
          m_blue(converted(m_bars.blue(), fullChroma)),
          m_red(converted(m_bars.red(), fullChroma)),
          m_strip(width, height),
          m_neutral(width + 2 * blockRows, 128),
          m_padded(blockRows * (width + 2 * blockRows), 0),
          m_backgrounds(m_bars.cycle()) {}

    std::size_t paint(std::uint8_t* to, std::size_t capacity, std::uint32_t number) override {
        assemble(number);
        const std::size_t bytes = std::min(capacity, m_frame.size());
        std::memcpy(to, m_frame.data(), bytes);
        return bytes;
    }

private:
    void assemble(std::uint32_t number) {
        m_strip.draw(number);
        Bytes& background = m_backgrounds[number % m_bars.cycle()];
        if (m_strip.height() >= m_height) {
            m_frame = compress(m_height, number);
            return;
        }
        if (background.empty()) {
            background = compress(m_height, number);
        }
        if (m_strip.height() == 0) {
            m_frame = background;
            return;
        }
        const Bytes top = compress(m_strip.height(), number);
        const std::size_t start = scanStart(top);
        const auto rest = static_cast<long>(restartMarker(background, stripRestarts));
        m_frame.assign(background.begin(), background.begin() + static_cast<long>(start));
        m_frame.insert(m_frame.end(), top.begin() + static_cast<long>(start),
                       top.end() - endMarkerBytes);
        m_frame.insert(m_frame.end(), background.begin() + rest, background.end());
    }

    /// The top `height` rows of the frame as a JPEG of their own.
    Bytes compress(std::uint32_t height, std::uint32_t number) {
        jpeg_compress_struct jpeg{};
        jpeg_error_mgr errors{};
        jpeg.err = jpeg_std_error(&errors);
        jpeg_create_compress(&jpeg);
        unsigned char* memory = nullptr;
        unsigned long bytes = 0;
        jpeg_mem_dest(&jpeg, &memory, &bytes);
        configure(jpeg, height);
        jpeg_start_compress(&jpeg, TRUE);
        while (jpeg.next_scanline < jpeg.image_height) {
            writeBlockRow(jpeg, number);
        }
        jpeg_finish_compress(&jpeg);
        jpeg_destroy_compress(&jpeg);
        Bytes result(memory, memory + bytes);
        std::free(memory);
        return result;
    }

    void configure(jpeg_compress_struct& jpeg, std::uint32_t height) const {
        jpeg.image_width = m_width;
        jpeg.image_height = height;
        jpeg.input_components = 3;
        jpeg.in_color_space = JCS_YCbCr;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, m_quality, TRUE);
        jpeg.raw_data_in = TRUE;
        jpeg.dct_method = JDCT_ISLOW;
        jpeg.restart_in_rows = 1;
        for (int component = 0; component < 3; ++component) {
            jpeg.comp_info[component].h_samp_factor = component == 0 ? 2 : 1;
            jpeg.comp_info[component].v_samp_factor = 1;
        }
    }

    void writeBlockRow(jpeg_compress_struct& jpeg, std::uint32_t number) {
        const std::size_t start = m_bars.start(number);
        std::array<std::array<JSAMPROW, blockRows>, 3> rows{};
        for (std::size_t i = 0; i < blockRows; ++i) {
            const std::size_t y = jpeg.next_scanline + i;
            const bool inStrip = y < m_strip.height();
            rows[0][i] = inStrip ? stripRow(y) : sample(m_luma, start);
            rows[1][i] = inStrip ? m_neutral.data() : sample(m_blue, start / 2);
            rows[2][i] = inStrip ? m_neutral.data() : sample(m_red, start / 2);
        }
        std::array<JSAMPARRAY, 3> planes = {rows[0].data(), rows[1].data(), rows[2].data()};
        jpeg_write_raw_data(&jpeg, planes.data(), blockRows);
    }

    /// A row of the strip, padded to whole blocks.
    JSAMPROW stripRow(std::size_t y) {
        std::uint8_t* const row = &m_padded[y % blockRows * (m_width + 2 * blockRows)];
        std::transform(m_strip.row(y), m_strip.row(y) + m_width, row, fullLuma);
        return row;
    }

    /// The library takes its input by plain pointers, and only reads from them.
    static JSAMPROW sample(const Bytes& row, std::size_t start) {
        return const_cast<JSAMPROW>(&row[start]);
    }

    const std::uint32_t m_width;
    const std::uint32_t m_height;
    const int m_quality;
    const Bars m_bars;
    const Bytes m_luma, m_blue, m_red;  ///< the bars' rows in a JPEG's range
    NumberStrip m_strip;
    Bytes m_neutral;
    Bytes m_padded;
    std::vector<Bytes> m_backgrounds;  ///< by position in the cycle; empty until first needed
    Bytes m_frame;
};

}  // namespace

std::unique_ptr<FramePainter> makeJpegPainter(std::uint32_t width, std::uint32_t height,
                                              const Picture& picture) {
    return std::make_unique<JpegPainter>(width, height, picture);
}

}  // namespace Simulator
