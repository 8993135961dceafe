// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The tables that relate the framework's pixel formats to the four-character codes of V4L2.
// Constant data and pure functions; any thread.

#ifndef LUMIQ_PIXEL_FORMATS_H
#define LUMIQ_PIXEL_FORMATS_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "lumiq/pixel-format.h"

namespace Nerio::Lumiq {

/// The code as a V4L2 number; the two number spaces are one.
constexpr std::uint32_t fourccOf(PixelFormat format) {
    return static_cast<std::uint32_t>(format);
}

/// The four characters of a code, as far as its first zero byte.
[[nodiscard]] std::string fourccText(std::uint32_t fourcc);

/// The format under which a device code is offered to hosts; none for codes that are not offered.
[[nodiscard]] std::optional<PixelFormat> offeredFormat(std::uint32_t fourcc);

/// The codes to try for a capture in `format`, most wanted first; empty when there are none.
[[nodiscard]] std::span<const std::uint32_t> captureCandidates(PixelFormat format);

/// The codes that serve a request for encoded images, most wanted first.
[[nodiscard]] std::span<const std::uint32_t> encodedCandidates();

/// The codes that serve a request for raw images, most wanted first.
[[nodiscard]] std::span<const std::uint32_t> rawCandidates();

/// The codes from which a 4:2:0 image can be had without asking how, most wanted first.
[[nodiscard]] std::span<const std::uint32_t> planarSources();

/// Ordered by format, at most one description of each.
using FormatSet = std::set<PixelFormatDescription, CompareOnlyPixelFormat>;

/// Adds to the directly delivered formats those that conversion gives, each with the flag
/// SupportedWithConverting, and notes in `sources` what each is made from. A format that is there
/// already is never replaced, and of two sources the one with the smaller code wins.
void addConvertedFormats(FormatSet& formats, std::map<PixelFormat, PixelFormat>& sources);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_PIXEL_FORMATS_H
