// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Uses the interface of jpeglib.h, which the codec under test does not, and hands the samples over
// in rows of blocks as they are in the file; see the header.

#include "jpeg-file.h"

#include <cstdio>  // jpeglib.h needs it first

#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace SdkTest {
namespace {

constexpr int blockSide = 8;

[[noreturn]] void throwMessage(j_common_ptr state) {
    std::array<char, JMSG_LENGTH_MAX> message{};
    state->err->format_message(state, message.data());
    throw std::runtime_error(message.data());
}

/// Whoever reads a damaged file gets an exception, not a picture with holes.
void throwOnWarning(j_common_ptr state, int level) {
    if (level < 0) {
        throwMessage(state);
    }
}

jpeg_error_mgr* throwing(jpeg_error_mgr& errors) {
    jpeg_std_error(&errors);
    errors.error_exit = throwMessage;
    errors.emit_message = throwOnWarning;
    return &errors;
}

/// `samples` samples from the row on, the last one repeated; nearest neighbours where the plane is
/// smaller than `width`.
Bytes stretchedRow(const Plane& plane, int y, int width, int height, int samples) {
    const std::uint8_t* const row = plane.row(std::min(y, height - 1) * plane.height / height);
    Bytes result;
    for (int x = 0; x < samples; ++x) {
        result.push_back(row[std::min(x, width - 1) * plane.width / width]);
    }
    return result;
}

int roundUp(int value, int multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

void writeRows(jpeg_compress_struct& jpeg, const TestPicture& picture, Layout layout) {
    const std::array<const Plane*, 3> planes = {&picture.y, &picture.cb, &picture.cr};
    const int perCall = blockSide * layout.down;
    std::array<std::vector<Bytes>, 3> bytes;
    std::array<std::vector<JSAMPROW>, 3> rows;
    std::array<JSAMPARRAY, 3> arrays{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(jpeg.num_components); ++i) {
        const int across = i == 0 ? 1 : layout.across;
        const int down = i == 0 ? 1 : layout.down;
        const int samples = roundUp(picture.y.width, blockSide * layout.across) / across;
        const int first = static_cast<int>(jpeg.next_scanline) / down;
        for (int y = first; y < first + perCall / down; ++y) {
            bytes[i].push_back(stretchedRow(*planes[i], y, picture.y.width / across,
                                            picture.y.height / down, samples));
        }
        for (Bytes& row : bytes[i]) {
            rows[i].push_back(row.data());
        }
        arrays[i] = rows[i].data();
    }
    jpeg_write_raw_data(&jpeg, arrays.data(), static_cast<JDIMENSION>(perCall));
}

void configure(jpeg_compress_struct& jpeg, const TestPicture& picture, Layout layout) {
    jpeg.image_width = static_cast<JDIMENSION>(picture.y.width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.y.height);
    jpeg.input_components = layout.grey ? 1 : 3;
    jpeg.in_color_space = layout.grey ? JCS_GRAYSCALE : JCS_YCbCr;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 95, TRUE);
    jpeg.raw_data_in = TRUE;
    jpeg.comp_info[0].h_samp_factor = layout.grey ? 1 : layout.across;
    jpeg.comp_info[0].v_samp_factor = layout.grey ? 1 : layout.down;
}

void readRows(jpeg_decompress_struct& jpeg, DecodedJpeg& decoded) {
    const int perCall = blockSide * jpeg.max_v_samp_factor;
    const int from = static_cast<int>(jpeg.output_scanline);
    std::array<std::vector<JSAMPROW>, 3> rows;
    std::array<JSAMPARRAY, 3> arrays{};
    for (std::size_t i = 0; i < decoded.planes.size(); ++i) {
        const int factor = jpeg.comp_info[i].v_samp_factor;
        Plane& plane = decoded.planes[i];
        for (int y = 0; y < blockSide * factor; ++y) {
            rows[i].push_back(plane.bytes.data() +
                              (from * factor / jpeg.max_v_samp_factor + y) * plane.stride);
        }
        arrays[i] = rows[i].data();
    }
    jpeg_read_raw_data(&jpeg, arrays.data(), static_cast<JDIMENSION>(perCall));
}

void makePlanes(const jpeg_decompress_struct& jpeg, DecodedJpeg& decoded) {
    decoded.width = static_cast<int>(jpeg.image_width);
    decoded.height = static_cast<int>(jpeg.image_height);
    for (int i = 0; i < jpeg.num_components; ++i) {
        const jpeg_component_info& component = jpeg.comp_info[i];
        Plane plane{static_cast<int>(component.downsampled_width),
                    static_cast<int>(component.downsampled_height),
                    // Whole blocks, and whole groups of them, as the library writes them.
                    roundUp(static_cast<int>(component.width_in_blocks), jpeg.max_h_samp_factor) *
                        blockSide,
                    {}};
        const int rows =
            roundUp(static_cast<int>(component.height_in_blocks), jpeg.max_v_samp_factor) *
            blockSide;
        plane.bytes.resize(static_cast<std::size_t>(plane.stride) * static_cast<std::size_t>(rows));
        decoded.planes.push_back(std::move(plane));
    }
}

}  // namespace

Bytes writeJpeg(const TestPicture& picture, Layout layout) {
    if (layout.grey) {
        layout.across = layout.down = 1;
    }
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    state.err = throwing(errors);
    jpeg_create_compress(&state);
    const std::unique_ptr<jpeg_compress_struct, decltype(&jpeg_destroy_compress)> jpeg(
        &state, jpeg_destroy_compress);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&state, &memory, &size);
    configure(state, picture, layout);
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        writeRows(state, picture, layout);
    }
    jpeg_finish_compress(&state);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(memory, std::free);
    return {memory, memory + size};
}

DecodedJpeg readJpeg(const Bytes& bytes) {
    jpeg_decompress_struct state{};
    jpeg_error_mgr errors{};
    state.err = throwing(errors);
    jpeg_create_decompress(&state);
    const std::unique_ptr<jpeg_decompress_struct, decltype(&jpeg_destroy_decompress)> jpeg(
        &state, jpeg_destroy_decompress);
    jpeg_mem_src(&state, bytes.data(), bytes.size());
    jpeg_read_header(&state, TRUE);
    state.raw_data_out = TRUE;
    state.out_color_space = state.jpeg_color_space;
    jpeg_start_decompress(&state);
    DecodedJpeg decoded;
    makePlanes(state, decoded);
    while (state.output_scanline < state.output_height) {
        readRows(state, decoded);
    }
    jpeg_finish_decompress(&state);
    return decoded;
}

}  // namespace SdkTest
