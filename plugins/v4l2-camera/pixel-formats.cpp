// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The format tables. In every list order is preference.

#include "pixel-formats.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Nerio::Lumiq {
namespace {

constexpr std::uint32_t YU12 = fourccOf(PixelFormat::YU12);
constexpr std::uint32_t NV12 = fourccOf(PixelFormat::NV12);
constexpr std::uint32_t YUYV = fourccOf(PixelFormat::YUYV);
constexpr std::uint32_t UYVY = fourccOf(PixelFormat::UYVY);
constexpr std::uint32_t MJPG = fourccOf(PixelFormat::MJPG);
constexpr std::uint32_t JPEG = fourccOf(PixelFormat::JPEG);
constexpr std::uint32_t H264 = fourccOf(PixelFormat::H264);
constexpr std::uint32_t VP80 = fourccOf(PixelFormat::VP80);

constexpr std::array rawRow{YU12, NV12, YUYV, UYVY};
constexpr std::array encodedRow{H264, VP80, MJPG, JPEG};
constexpr std::array planarRow{YU12, YUYV, UYVY, MJPG};
constexpr std::array semiPlanarRow{NV12, YUYV, UYVY, MJPG};
constexpr std::array flexibleRow{MJPG, YU12, NV12, YUYV, UYVY};
constexpr std::array planarSourceRow{YU12, MJPG, YUYV, UYVY};

// A capture in a camera's own format takes nothing else.
constexpr std::array itselfRow{VP80, H264, JPEG, MJPG, YUYV, UYVY};

struct CandidateRow {
    PixelFormat format;
    std::span<const std::uint32_t> codes;
};
constexpr std::array candidateRows{
    CandidateRow{PixelFormat::YUV420Planar, planarRow},
    CandidateRow{PixelFormat::YU12, planarRow},
    CandidateRow{PixelFormat::YUV420SemiPlanar, semiPlanarRow},
    CandidateRow{PixelFormat::NV12, semiPlanarRow},
    CandidateRow{PixelFormat::YCbCrFlexible, flexibleRow},
    CandidateRow{PixelFormat::Raw, rawRow},
    CandidateRow{PixelFormat::Encoded, encodedRow},
};

struct Conversion {
    PixelFormat source;
    PixelFormat target;
};
// Ascending by source.
constexpr std::array conversions{
    Conversion{PixelFormat::MJPG, PixelFormat::YUV420Planar},
    Conversion{PixelFormat::YUYV, PixelFormat::YUV420Planar},
    Conversion{PixelFormat::UYVY, PixelFormat::YUV420Planar},
};

constexpr std::array offeredFormats{
    std::pair{YU12, PixelFormat::YUV420Planar}, std::pair{NV12, PixelFormat::YUV420SemiPlanar},
    std::pair{YUYV, PixelFormat::YUYV},         std::pair{UYVY, PixelFormat::UYVY},
    std::pair{MJPG, PixelFormat::MJPG},         std::pair{H264, PixelFormat::H264},
};

}  // namespace

std::string fourccText(std::uint32_t fourcc) {
    std::string text;
    for (std::uint32_t rest = fourcc; (rest & 0xFFU) != 0; rest >>= 8U) {
        text.push_back(static_cast<char>(rest & 0xFFU));
    }
    return text;
}

std::optional<PixelFormat> offeredFormat(std::uint32_t fourcc) {
    const auto* row = std::find_if(offeredFormats.begin(), offeredFormats.end(),
                                   [fourcc](const auto& each) { return each.first == fourcc; });
    return row == offeredFormats.end() ? std::nullopt : std::optional(row->second);
}

std::span<const std::uint32_t> captureCandidates(PixelFormat format) {
    for (const CandidateRow& row : candidateRows) {
        if (row.format == format) {
            return row.codes;
        }
    }
    const auto* itself = std::find(itselfRow.begin(), itselfRow.end(), fourccOf(format));
    return itself == itselfRow.end() ? std::span<const std::uint32_t>() : std::span(itself, 1);
}

std::span<const std::uint32_t> encodedCandidates() {
    return encodedRow;
}

std::span<const std::uint32_t> rawCandidates() {
    return rawRow;
}

std::span<const std::uint32_t> planarSources() {
    return planarSourceRow;
}

void addConvertedFormats(FormatSet& formats, std::map<PixelFormat, PixelFormat>& sources) {
    for (const auto& [source, target] : conversions) {
        const auto found = formats.find({source, 0});
        if (found == formats.end() ||
            (found->flags & PixelFormatDescription::SupportedWithConverting) != 0) {
            continue;
        }
        if (formats.insert({target, PixelFormatDescription::SupportedWithConverting}).second) {
            sources[target] = source;
        }
    }
}

}  // namespace Nerio::Lumiq
