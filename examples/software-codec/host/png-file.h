// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Pictures as PNG files. Main thread.
#pragma once

#include <string>

#include "picture.h"

namespace EncodeAndDecode {

/// These throw std::runtime_error, with the file's name, when it cannot be read or written.
[[nodiscard]] RgbPicture readPng(const std::string& file);
void writePng(const std::string& file, const RgbPicture& picture);

}  // namespace EncodeAndDecode
