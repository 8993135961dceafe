// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Making JPEG files of frames that are not JPEG themselves; see picture.h.
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

// jpeglib.h needs the headers above.
#include <jpeglib.h>

#include <array>

#include "exit-code.h"
#include "picture.h"

namespace LumiqCam {
namespace {

constexpr int kQuality = 92;

// libjpeg leaves through longjmp, so nothing with a destructor lives where it may pass.
struct Compressor {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    std::jmp_buf escape{};
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    std::array<char, JMSG_LENGTH_MAX> message{};
};

[[noreturn]] void onError(j_common_ptr state) {
    auto* const compressor = static_cast<Compressor*>(state->client_data);
    state->err->format_message(state, compressor->message.data());
    std::longjmp(compressor->escape, 1);
}

void compress(Compressor& compressor, const CapturedFrame& frame, const std::uint8_t* rgb) {
    jpeg_compress_struct& state = compressor.state;
    jpeg_create_compress(&state);
    jpeg_mem_dest(&state, &compressor.bytes, &compressor.size);
    state.image_width = frame.width;
    state.image_height = frame.height;
    state.input_components = 3;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, kQuality, TRUE);
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        const std::size_t offset = std::size_t{state.next_scanline} * frame.width * 3;
        // The library does not write to the row, although its type says it might.
        JSAMPROW row = const_cast<JSAMPROW>(rgb + offset);
        jpeg_write_scanlines(&state, &row, 1);
    }
    jpeg_finish_compress(&state);
}

bool tryCompress(Compressor& compressor, const CapturedFrame& frame, const std::uint8_t* rgb) {
    compressor.state.err = jpeg_std_error(&compressor.errors);
    compressor.errors.error_exit = onError;
    compressor.state.client_data = &compressor;
    if (setjmp(compressor.escape) != 0) {
        return false;
    }
    compress(compressor, frame, rgb);
    return true;
}

}  // namespace

std::vector<std::uint8_t> encodeJpeg(const CapturedFrame& frame) {
    const std::vector<std::uint8_t> rgb = toRgb(frame);
    const auto compressor = std::make_unique<Compressor>();
    const bool done = tryCompress(*compressor, frame, rgb.data());
    jpeg_destroy_compress(&compressor->state);
    const std::unique_ptr<unsigned char, decltype(&std::free)> bytes(compressor->bytes, std::free);
    if (!done) {
        throw Failure(ExitCode::Internal, std::string("libjpeg: ") + compressor->message.data());
    }
    return {bytes.get(), bytes.get() + compressor->size};
}

}  // namespace LumiqCam
