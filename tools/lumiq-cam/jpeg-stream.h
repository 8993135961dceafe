// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Where a JPEG picture ends in the buffer it begins, and what it lacks to be a file of its own.
// Pure functions; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace LumiqCam {

using ByteSpan = std::span<const std::uint8_t>;

// The number of bytes from the start of the picture to the end of its EOI marker; nothing when the
// bytes do not begin a JPEG or no EOI follows. Thumbnails inside the headers do not end it.
std::optional<std::size_t> jpegLength(ByteSpan bytes);

// The picture with Huffman tables: motion-JPEG may leave out the standard ones, files may not.
// Pictures that have tables, or that cannot be understood, are copied as they are.
std::vector<std::uint8_t> withHuffmanTables(ByteSpan jpeg);

}  // namespace LumiqCam
