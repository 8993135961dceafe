// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Looks into the files that lumiq-cam writes, with decoders of its own. Test thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ToolTest {

struct Pixel {
    int red = 0, green = 0, blue = 0;
};

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    Pixel at(int x, int y) const;
};

// These throw std::runtime_error on anything that is not a whole file of its kind.
Picture decodePng(const std::string& file);
Picture decodeJpeg(const std::string& file);

struct Y4mFrame {
    std::string luma, cb, cr;
};
struct Y4m {
    std::string header;  // The first line.
    int width = 0;
    int height = 0;
    std::vector<Y4mFrame> frames;
};
Y4m parseY4m(const std::string& file);

}  // namespace ToolTest
