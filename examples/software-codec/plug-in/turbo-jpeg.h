// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// All that the plug-in uses of libjpeg-turbo: one picture to JPEG, one JPEG to a picture. Failures
// come back as a text; the library neither ends the process nor writes to its standard error. One
// thread at a time.
#pragma once

#include <lumiq/frame.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace SoftwareCodec {

enum class Chroma { Planar420, Grey };

/// Why something failed; empty when it did not.
using Complaint = std::string;

class Compressor {
public:
    Compressor();

    /// Makes `jpeg` of a planar 4:2:0 picture with even sides. `quality` is 1 to 100.
    [[nodiscard]] Complaint compress(const Nerio::Lumiq::YCbCrFrame& picture, Chroma chroma,
                                     int quality, std::vector<std::uint8_t>& jpeg);

private:
    std::unique_ptr<void, int (*)(void*)> m_library;
    std::vector<std::uint8_t> m_bytes;  ///< Where the library writes, from picture to picture.
};

class Decompressor {
public:
    Decompressor();

    /// Fills `i420` with the planes of the picture, one behind the other, rows without padding.
    /// Both sides must be even, and the JPEG of exactly that size.
    [[nodiscard]] Complaint decompress(const std::uint8_t* data, std::size_t size,
                                       std::uint16_t width, std::uint16_t height,
                                       std::vector<std::uint8_t>& i420);

private:
    [[nodiscard]] Complaint tryDecompress(const std::uint8_t* data, std::size_t size,
                                          std::uint16_t width, std::uint16_t height,
                                          std::vector<std::uint8_t>& i420);

    std::unique_ptr<void, int (*)(void*)> m_library;
};

}  // namespace SoftwareCodec
