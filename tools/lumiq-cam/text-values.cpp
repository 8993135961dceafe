// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reading and writing values; see the header.
#include "text-values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <optional>

#include "exit-code.h"

namespace LumiqCam {
namespace {

using Nerio::Lumiq::reduced;

constexpr unsigned kLongestSide = 65535;

std::optional<unsigned> parseWhole(std::string_view text, int base = 10) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

[[noreturn]] void refuse(std::string_view option, std::string_view text, const char* advice) {
    throw Failure(ExitCode::Usage,
                  std::string(option) + " does not understand \"" + printable(text) + "\"", advice);
}

// 29.97 and 23.976 stand for the rates of television, any other decimal for thousandths.
FrameRate fromDecimal(double value) {
    const double television = std::round(value) * 1000.0 / 1001.0;
    if (std::abs(value - television) < 0.005 && value != std::round(value)) {
        return {static_cast<unsigned>(std::round(value)) * 1000U, 1001U};
    }
    return reduced({static_cast<unsigned>(std::lround(value * 1000.0)), 1000U});
}

std::optional<double> parseDecimal(std::string_view text) {
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc{} || end != text.data() + text.size() || !(value >= 0.001) ||
        value > 100000.0) {
        return std::nullopt;
    }
    return value;
}

struct NamedPriority {
    const char* name;
    CameraCapabilityPriority value;
};
constexpr std::array<NamedPriority, 4> kPriorities{{
    {"size-width", CameraCapabilityPriority::SizeWidth},
    {"size-height", CameraCapabilityPriority::SizeHeight},
    {"fps-width", CameraCapabilityPriority::FpsWidth},
    {"fps-height", CameraCapabilityPriority::FpsHeight},
}};

struct NamedFormat {
    std::string_view name;
    PixelFormat value;
};
// What people call the two layouts that the framework gives names of its own.
constexpr std::array<NamedFormat, 3> kCommonNames{{
    {"i420", PixelFormat::YUV420Planar},
    {"yu12", PixelFormat::YUV420Planar},
    {"nv12", PixelFormat::YUV420SemiPlanar},
}};
constexpr std::array<PixelFormat, 8> kAbstractFormats{
    PixelFormat::YUV420Planar, PixelFormat::YUV420SemiPlanar, PixelFormat::YCbCrFlexible,
    PixelFormat::Mappable,     PixelFormat::NotMappable,      PixelFormat::Raw,
    PixelFormat::Encoded,      PixelFormat::Preferred};

PixelFormat fromCode(std::string_view text) {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const char upper = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        code |= static_cast<std::uint32_t>(static_cast<unsigned char>(upper)) << (8U * i);
    }
    return static_cast<PixelFormat>(code);
}

}  // namespace

FrameSize parseSize(std::string_view text) {
    const std::size_t cross = text.find_first_of("xX");
    if (cross != std::string_view::npos) {
        const auto width = parseWhole(text.substr(0, cross));
        const auto height = parseWhole(text.substr(cross + 1));
        if (width && height && *width > 0 && *height > 0 && *width <= kLongestSide &&
            *height <= kLongestSide) {
            return {*width, *height};
        }
    }
    refuse("--size", text, "Write width and height in pixels, for example 1280x720.");
}

FrameRate parseFrameRate(std::string_view text) {
    const std::size_t slash = text.find('/');
    if (slash != std::string_view::npos) {
        const auto numerator = parseWhole(text.substr(0, slash));
        const auto denominator = parseWhole(text.substr(slash + 1));
        if (numerator && denominator && *numerator > 0 && *denominator > 0) {
            return {*numerator, *denominator};
        }
    } else if (const auto whole = parseWhole(text); whole && *whole > 0) {
        return {*whole, 1};
    } else if (const auto decimal = parseDecimal(text)) {
        return fromDecimal(*decimal);
    }
    refuse("--fps", text, "Write frames per second, for example 30, 29.97 or 30000/1001.");
}

PixelFormat parseFormat(std::string_view text) {
    const std::string lower = lowerCase(text);
    for (const PixelFormat format : kAbstractFormats) {
        if (lowerCase(toString(format)) == lower) {
            return format;
        }
    }
    for (const NamedFormat& common : kCommonNames) {
        if (common.name == lower) {
            return common.value;
        }
    }
    if (lower.starts_with("0x")) {
        if (const auto code = parseWhole(std::string_view(lower).substr(2), 16);
            code && *code > 0) {
            return static_cast<PixelFormat>(*code);
        }
    } else if (text.size() == 4) {
        return fromCode(text);
    }
    refuse("--format", text,
           "Name one of the formats that \"lumiq-cam show CAMERA\" lists, for example Preferred, "
           "Raw, YUV420Planar, YUYV or MJPG.");
}

CameraCapabilityPriority parsePriority(std::string_view text) {
    for (const NamedPriority& priority : kPriorities) {
        if (priority.name == lowerCase(text)) {
            return priority.value;
        }
    }
    refuse("--priority", text, "Choose size-width, size-height, fps-width or fps-height.");
}

std::string toText(FrameSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string toText(FrameRate rate) {
    if (rate.numerator == 0 || rate.denominator == 0) {
        return "none";
    }
    const FrameRate lowest = reduced(rate);
    if (lowest.denominator == 1) {
        return std::to_string(lowest.numerator);
    }
    return withDecimals(toNumber(lowest), 2) + " (" + std::to_string(lowest.numerator) + "/" +
           std::to_string(lowest.denominator) + ")";
}

const char* toText(CameraCapabilityPriority priority) {
    return kPriorities.at(static_cast<std::size_t>(priority)).name;
}

double toNumber(FrameRate rate) {
    return rate.denominator == 0 ? 0.0 : static_cast<double>(rate.numerator) / rate.denominator;
}

std::string withDecimals(double value, int decimals) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

bool isAbstract(PixelFormat format) {
    return static_cast<std::uint32_t>(format) <= 0xFFFFU;
}

std::string printable(std::string_view text) {
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
    return result;
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return result;
}

}  // namespace LumiqCam
