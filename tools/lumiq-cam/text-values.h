// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Values as people write and read them: sizes, frame rates, pixel formats, priorities. Pure
// functions; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "lumiq/camera-capability.h"
#include "lumiq/fraction.h"
#include "lumiq/pixel-format.h"

namespace LumiqCam {

using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::PixelFormat;
using FrameRate = Nerio::Lumiq::Fraction<unsigned int>;

struct FrameSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// Each throws Failure (usage) that says what the option wants instead.
FrameSize parseSize(std::string_view text);       // "1280x720"
FrameRate parseFrameRate(std::string_view text);  // "30", "29.97", "30000/1001"
PixelFormat parseFormat(std::string_view text);   // "MJPG", "raw", "i420", "0x47504A4D"
CameraCapabilityPriority parsePriority(std::string_view text);  // "size-width", ...

std::string toText(FrameSize size);  // "1280x720"
std::string toText(FrameRate rate);  // "30", "29.97 (30000/1001)", "none"
const char* toText(CameraCapabilityPriority priority);
double toNumber(FrameRate rate);  // Frames per second; 0 when the rate is not set.

// Number with so many digits after the point.
std::string withDecimals(double value, int decimals);

// A format that says what is wanted, not how the bytes lie.
bool isAbstract(PixelFormat format);

// The text with what could steer a terminal replaced by '?'.
std::string printable(std::string_view text);

// For comparing names without regard to case; only ASCII letters have case here.
std::string lowerCase(std::string_view text);

}  // namespace LumiqCam
