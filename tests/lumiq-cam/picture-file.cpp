// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Decoding files; see the header.
#include "picture-file.h"

#include <png.h>

#include <cstddef>
#include <cstdio>
#include <sstream>
#include <stdexcept>

// jpeglib.h needs the headers above.
#include <jpeglib.h>

namespace ToolTest {
namespace {

[[noreturn]] void jpegError(j_common_ptr state) {
    char text[JMSG_LENGTH_MAX];
    state->err->format_message(state, text);
    jpeg_destroy(state);
    throw std::runtime_error(text);
}

}  // namespace

Pixel Picture::at(int x, int y) const {
    const std::size_t at = 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                static_cast<std::size_t>(x));
    return {rgb.at(at), rgb.at(at + 1), rgb.at(at + 2)};
}

Picture decodePng(const std::string& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) {
        throw std::runtime_error(image.message);
    }
    image.format = PNG_FORMAT_RGB;
    Picture picture{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) == 0) {
        throw std::runtime_error(image.message);
    }
    return picture;
}

Picture decodeJpeg(const std::string& file) {
    jpeg_decompress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    errors.error_exit = jpegError;
    errors.emit_message = [](j_common_ptr info, int level) {
        if (level < 0) {  // Damage that the decoder could paper over.
            jpegError(info);
        }
    };
    jpeg_create_decompress(&state);
    jpeg_mem_src(&state, reinterpret_cast<const unsigned char*>(file.data()), file.size());
    jpeg_read_header(&state, TRUE);
    state.out_color_space = JCS_RGB;
    jpeg_start_decompress(&state);
    Picture picture{
        static_cast<int>(state.output_width), static_cast<int>(state.output_height), {}};
    const std::size_t stride = std::size_t{3} * state.output_width;
    picture.rgb.resize(stride * state.output_height);
    while (state.output_scanline < state.output_height) {
        JSAMPROW row = picture.rgb.data() + stride * state.output_scanline;
        jpeg_read_scanlines(&state, &row, 1);
    }
    jpeg_finish_decompress(&state);
    const std::size_t left = state.src->bytes_in_buffer;
    jpeg_destroy_decompress(&state);
    if (left != 0) {
        throw std::runtime_error(std::to_string(left) + " bytes behind the picture");
    }
    return picture;
}

Y4m parseY4m(const std::string& file) {
    Y4m video;
    std::istringstream stream(file);
    std::getline(stream, video.header);
    std::istringstream words(video.header);
    for (std::string word; words >> word;) {
        if (word[0] == 'W') {
            video.width = std::stoi(word.substr(1));
        } else if (word[0] == 'H') {
            video.height = std::stoi(word.substr(1));
        }
    }
    const auto luma = static_cast<std::size_t>(video.width * video.height);
    const auto chroma = static_cast<std::size_t>((video.width + 1) / 2 * ((video.height + 1) / 2));
    std::size_t at = video.header.size() + 1;
    while (at < file.size()) {
        const std::size_t data = at + 6;
        if (file.compare(at, 6, "FRAME\n") != 0 || data + luma + 2 * chroma > file.size()) {
            throw std::runtime_error("a broken frame at byte " + std::to_string(at));
        }
        video.frames.push_back({file.substr(data, luma), file.substr(data + luma, chroma),
                                file.substr(data + luma + chroma, chroma)});
        at = data + luma + 2 * chroma;
    }
    return video;
}

}  // namespace ToolTest
