// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The generic queries of a camera. Called by hosts through the Camera interface, on their threads.

#include "lumiq/internal/base-camera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Nerio::Lumiq::Internal {
namespace {

using Field = std::uint32_t CameraCapability::*;

std::uint32_t wholeFramesPerSecond(const Fraction<unsigned int>& fps) {
    if (fps.numerator == 0) {
        return 0;
    }
    if (fps.denominator == 0) {
        return std::numeric_limits<std::uint32_t>::max();
    }
    const Fraction<unsigned int> rate = reduced(fps);
    return static_cast<std::uint32_t>(
        std::round(static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator)));
}

CameraCapability plain(const CameraCapabilityEx& capability) {
    return {capability.width, capability.height, wholeFramesPerSecond(capability.fps)};
}

// The order in which the dimensions narrow the choice.
std::vector<Field> fieldsByPriority(CameraCapabilityPriority priority) {
    constexpr Field width = &CameraCapability::width;
    constexpr Field height = &CameraCapability::height;
    constexpr Field fps = &CameraCapability::fps;
    switch (priority) {
        case CameraCapabilityPriority::SizeWidth:
            return {width, height, fps};
        case CameraCapabilityPriority::SizeHeight:
            return {height, width, fps};
        case CameraCapabilityPriority::FpsWidth:
            return {fps, width, height};
        case CameraCapabilityPriority::FpsHeight:
            return {fps, height, width};
    }
    return {};
}

// The difference as a signed 32-bit number, made positive; unsigned, so that the lowest number has
// a positive counterpart.
std::uint32_t distance(std::uint32_t a, std::uint32_t b) {
    const std::uint32_t difference = a - b;
    return (difference & 0x80000000U) != 0 ? 0U - difference : difference;
}

void keepNearest(std::vector<CameraCapability>& candidates, const CameraCapability& target,
                 Field field) {
    const auto distanceOf = [&](const CameraCapability& candidate) {
        return distance(candidate.*field, target.*field);
    };
    std::uint32_t smallest = distanceOf(candidates.front());
    for (const CameraCapability& candidate : candidates) {
        smallest = std::min(smallest, distanceOf(candidate));
    }
    std::erase_if(candidates, [&](const auto& each) { return distanceOf(each) != smallest; });
}

// Zero means "nothing seen yet" for both bounds.
void widen(std::uint32_t& minimum, std::uint32_t& maximum, std::uint32_t value) {
    if (minimum == 0 || value < minimum) {
        minimum = value;
    }
    if (maximum == 0 || value > maximum) {
        maximum = value;
    }
}

}  // namespace

std::vector<PixelFormat> BaseCamera::getSupportedPixelFormats() {
    std::vector<PixelFormat> formats;
    for (const PixelFormatDescription& description : getSupportedFormats()) {
        formats.push_back(description.format);
    }
    return formats;
}

bool BaseCamera::isFormatSupported(const PixelFormatDescription& description) {
    const auto formats = getSupportedFormats();
    return std::find(formats.begin(), formats.end(), description) != formats.end();
}

bool BaseCamera::isFormatSupported(PixelFormat format) {
    const auto formats = getSupportedFormats();
    return std::any_of(formats.begin(), formats.end(),
                       [format](const auto& each) { return each.format == format; });
}

bool BaseCamera::queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) {
    // The base class's own check, whatever a back end made of the virtual one.
    if (!BaseCamera::isFormatSupported(format)) {
        return false;
    }
    std::vector<CameraCapability> capabilities;
    if (!queryCapabilities(capabilities) || capabilities.empty()) {
        return false;
    }
    CameraCapabilityRanges found;
    for (const CameraCapability& capability : capabilities) {
        widen(found.minWidth, found.maxWidth, capability.width);
        widen(found.minHeight, found.maxHeight, capability.height);
        widen(found.minFps.numerator, found.maxFps.numerator, capability.fps);
    }
    ranges = found;
    return true;
}

bool BaseCamera::findClosestCapability(PixelFormat /*format*/, const CameraCapabilityEx& desired,
                                       CameraCapabilityEx& result,
                                       CameraCapabilityPriority priority) {
    std::vector<CameraCapability> candidates;
    if (!queryCapabilities(candidates) || candidates.empty()) {
        return false;
    }
    const CameraCapability target = plain(desired);
    for (const Field field : fieldsByPriority(priority)) {
        keepNearest(candidates, target, field);
    }
    result = candidates.front();
    return true;
}

bool BaseCamera::startCapture(const CameraCapabilityEx& capability, PixelFormat format) {
    return startCapture(plain(capability), format);
}

}  // namespace Nerio::Lumiq::Internal
