// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the registry is told of the encoder and the decoder. Any thread.
#pragma once

#include <lumiq/internal/video-codec-desc.h>

#include <cstdint>

namespace SoftwareCodec {

[[nodiscard]] Nerio::Lumiq::Internal::VideoCodecDesc describeEncoder();
[[nodiscard]] Nerio::Lumiq::Internal::VideoCodecDesc describeDecoder();

/// The base classes compare areas, in 32 bits, and take an encoder's stride for the width; what is
/// left for this back end to check is that the sides are even and not too small, and that no side
/// or area is beyond what it can address.
[[nodiscard]] bool takesSides(std::int32_t width, std::int32_t height);

}  // namespace SoftwareCodec
