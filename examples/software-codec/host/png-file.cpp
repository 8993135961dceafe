// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads and writes PNG files through libpng's simplified interface; see the header.

#include "png-file.h"

#include <png.h>

#include <stdexcept>

namespace EncodeAndDecode {
namespace {

// The codec's contract counts pixels in 16 bits.
constexpr png_uint_32 longestSide = 65535;

png_image emptyImage() {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    return image;
}

/// Throws what went wrong, having let go of what the library holds.
[[noreturn]] void fail(png_image& image, const std::string& file) {
    const std::string message = image.message;
    png_image_free(&image);
    throw std::runtime_error(file + ": " + message);
}

}  // namespace

RgbPicture readPng(const std::string& file) {
    png_image image = emptyImage();
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0) {
        fail(image, file);
    }
    image.format = PNG_FORMAT_RGB;
    if (image.width < 2 || image.height < 2 || image.width > longestSide ||
        image.height > longestSide) {
        png_image_free(&image);
        throw std::runtime_error(file + ": each side has to have 2 to 65535 pixels");
    }
    RgbPicture picture{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    picture.bytes.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr) == 0) {
        fail(image, file);
    }
    return picture;
}

void writePng(const std::string& file, const RgbPicture& picture) {
    png_image image = emptyImage();
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&image, file.c_str(), 0, picture.bytes.data(), 0, nullptr) == 0) {
        fail(image, file);
    }
}

}  // namespace EncodeAndDecode
