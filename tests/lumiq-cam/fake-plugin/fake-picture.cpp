// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Drawing the fake cameras' picture; see the header.
#include "fake-picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

// jpeglib.h needs the headers above.
#include <jpeglib.h>

namespace FakePlugin {
namespace {

using Nerio::Lumiq::PixelFormat;

struct Rgb {
    int red, green, blue;
};
struct YCbCr {
    std::uint8_t y, cb, cr;
};

constexpr int kSquare = 8;
constexpr int kBits = 8;

Rgb colourAt(PictureSize size, std::uint32_t number, int x, int y) {
    if (y < kSquare && x < kSquare * kBits) {
        const bool set = ((number >> static_cast<unsigned>(x / kSquare)) & 1U) != 0;
        return set ? Rgb{255, 255, 255} : Rgb{0, 0, 0};
    }
    const bool right = x >= size.width / 2;
    if (y < size.height / 2) {
        return right ? Rgb{0, 255, 0} : Rgb{255, 0, 0};
    }
    return right ? Rgb{255, 255, 255} : Rgb{0, 0, 255};
}

std::uint8_t rounded(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

// ITU-R BT.601.
YCbCr toYCbCr(Rgb colour, bool fullRange) {
    const double y = 0.299 * colour.red + 0.587 * colour.green + 0.114 * colour.blue;
    const double cb = (colour.blue - y) / 1.772;
    const double cr = (colour.red - y) / 1.402;
    if (fullRange) {
        return {rounded(y), rounded(128 + cb), rounded(128 + cr)};
    }
    return {rounded(16 + y * 219 / 255), rounded(128 + cb * 224 / 255),
            rounded(128 + cr * 224 / 255)};
}

YCbCr sampleAt(PictureSize size, std::uint32_t number, int x, int y, bool fullRange) {
    return toYCbCr(
        colourAt(size, number, std::min(x, size.width - 1), std::min(y, size.height - 1)),
        fullRange);
}

std::vector<std::uint8_t> packedImage(PictureSize size, std::uint32_t number, bool lumaFirst) {
    std::vector<std::uint8_t> bytes(std::size_t{2} * size.width * size.height + 2);
    for (int y = 0; y < size.height; ++y) {
        std::uint8_t* out =
            bytes.data() + std::size_t{2} * size.width * static_cast<std::size_t>(y);
        for (int x = 0; x < size.width; ++x, out += 2) {
            const YCbCr own = sampleAt(size, number, x, y, false);
            const YCbCr pair = sampleAt(size, number, x & ~1, y, false);
            out[lumaFirst ? 0 : 1] = own.y;
            out[lumaFirst ? 1 : 0] = (x & 1) == 0 ? pair.cb : pair.cr;
        }
    }
    return bytes;
}

std::vector<std::uint8_t> semiPlanarImage(PictureSize size, std::uint32_t number) {
    const std::size_t luma = std::size_t{size.width} * size.height;
    std::vector<std::uint8_t> bytes(luma * 2 + 2);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const YCbCr sample = sampleAt(size, number, x, y, false);
            const auto row = static_cast<std::size_t>(y);
            const auto column = static_cast<std::size_t>(x);
            bytes[row * size.width + column] = sample.y;
            if (y % 2 == 0 && x % 2 == 0) {
                bytes[luma + row / 2 * size.width + column] = sample.cb;
                bytes[luma + row / 2 * size.width + column + 1] = sample.cr;
            }
        }
    }
    return bytes;
}

std::vector<std::uint8_t> jpegPicture(PictureSize size, std::uint32_t number) {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    unsigned char* memory = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&state, &memory, &length);
    state.image_width = size.width;
    state.image_height = size.height;
    state.input_components = 3;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, 95, TRUE);
    jpeg_start_compress(&state, TRUE);
    std::vector<std::uint8_t> row(std::size_t{3} * size.width);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const Rgb colour = colourAt(size, number, x, y);
            std::uint8_t* const out = row.data() + 3 * x;
            out[0] = static_cast<std::uint8_t>(colour.red);
            out[1] = static_cast<std::uint8_t>(colour.green);
            out[2] = static_cast<std::uint8_t>(colour.blue);
        }
        JSAMPROW line = row.data();
        jpeg_write_scanlines(&state, &line, 1);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    std::vector<std::uint8_t> bytes(memory, memory + length);
    std::free(memory);
    return bytes;
}

// Leaves out the DHT segments, which libjpeg writes one table to a segment.
std::vector<std::uint8_t> withoutTables(const std::vector<std::uint8_t>& jpeg) {
    std::vector<std::uint8_t> result{0xFF, 0xD8};
    std::size_t at = 2;
    while (jpeg[at + 1] != 0xDA) {
        const std::size_t length = 2 + std::size_t{jpeg[at + 2]} * 256 + jpeg[at + 3];
        if (jpeg[at + 1] != 0xC4) {
            result.insert(result.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(at),
                          jpeg.begin() + static_cast<std::ptrdiff_t>(at + length));
        }
        at += length;
    }
    result.insert(result.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(at), jpeg.end());
    return result;
}

// As a driver's buffer looks: the image, then what an earlier, longer image left.
std::vector<std::uint8_t> followedByRemains(std::vector<std::uint8_t> image) {
    for (int i = 0; i < 64; ++i) {
        image.insert(image.end(), {0x5A, 0xFF, 0xD9, 0xA5});
    }
    return image;
}

std::vector<std::uint8_t> opaqueImage(std::uint32_t number) {
    std::vector<std::uint8_t> bytes(4096);
    const std::array<std::uint8_t, 8> start{0, 0,   0, 1, 0x65, static_cast<std::uint8_t>(number),
                                            0, 0x80};
    std::copy(start.begin(), start.end(), bytes.begin());
    return bytes;
}

}  // namespace

std::vector<std::uint8_t> planarImage(PictureSize size, std::uint32_t number, bool fullRange) {
    const std::size_t luma = std::size_t{size.width} * size.height;
    const std::size_t stride = size.width / 2U;
    const std::size_t cb = luma;
    const std::size_t cr = cb + luma / 4;
    std::vector<std::uint8_t> bytes(cr + luma + size.width);
    for (int y = 0; y < size.height; ++y) {
        const auto row = static_cast<std::size_t>(y);
        for (int x = 0; x < size.width; ++x) {
            const auto column = static_cast<std::size_t>(x);
            bytes[row * size.width + column] = sampleAt(size, number, x, y, fullRange).y;
        }
    }
    // Samples of odd sides are written where the planes overlap, as a converter would.
    for (int y = 0; y < size.height; y += 2) {
        for (int x = 0; x < size.width; x += 2) {
            const YCbCr sample = sampleAt(size, number, x, y, fullRange);
            const std::size_t at =
                static_cast<std::size_t>(y) / 2 * stride + static_cast<std::size_t>(x) / 2;
            bytes[cb + at] = sample.cb;
            bytes[cr + at] = sample.cr;
        }
    }
    return bytes;
}

std::vector<std::uint8_t> driverBuffer(PixelFormat format, PictureSize size, std::uint32_t number,
                                       bool withoutHuffmanTables) {
    switch (format) {
        case PixelFormat::YUYV:
        case PixelFormat::UYVY:
            return packedImage(size, number, format == PixelFormat::YUYV);
        case PixelFormat::YUV420Planar:
            return planarImage(size, number, false);
        case PixelFormat::YUV420SemiPlanar:
            return semiPlanarImage(size, number);
        case PixelFormat::MJPG: {
            const auto jpeg = jpegPicture(size, number);
            return followedByRemains(withoutHuffmanTables ? withoutTables(jpeg) : jpeg);
        }
        default:
            return opaqueImage(number);
    }
}

}  // namespace FakePlugin
