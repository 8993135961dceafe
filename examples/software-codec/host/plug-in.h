// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A back end's library, loaded by its path. Main thread.
#pragma once

#include <lumiq/codec-manager.h>

#include <memory>
#include <string>

namespace EncodeAndDecode {

/// The codecs of the library, ready for use. It stays loaded until the process ends. Throws
/// std::runtime_error when it cannot be loaded or has no codecs.
[[nodiscard]] std::shared_ptr<Nerio::Lumiq::CodecManager> loadCodecs(const std::string& path);

}  // namespace EncodeAndDecode
