// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The settings of the encoder, by number: what a host has to know of this back end besides the
// contract. Included by the plug-in and by its hosts.
#pragma once

#include <lumiq/codec-parameter.h>

namespace SoftwareCodec {

/// "1" to "100": the more, the better the picture and the longer its bytes. From the next picture
/// on, as with every setting.
inline constexpr Nerio::Lumiq::CodecParameter quality{1};

/// "4:2:0" or "grey".
inline constexpr Nerio::Lumiq::CodecParameter chroma{2};

/// How many bytes the last picture took; read only.
inline constexpr Nerio::Lumiq::CodecParameter lastSize{3};

}  // namespace SoftwareCodec
