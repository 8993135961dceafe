// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads grey pictures of one size from standard input and prints the frame number in each, or
// "none".

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "frame-number.h"

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "read-frame-numbers WIDTH HEIGHT\n");
        return 2;
    }
    const auto width = static_cast<std::size_t>(std::atoi(arguments[1]));
    const auto height = static_cast<std::size_t>(std::atoi(arguments[2]));
    std::vector<std::uint8_t> picture(width * height);
    while (std::fread(picture.data(), 1, picture.size(), stdin) == picture.size()) {
        const auto number = Simulator::readFrameNumber(picture.data(), width, width, height);
        std::puts(number ? std::to_string(*number).c_str() : "none");
    }
    return 0;
}
