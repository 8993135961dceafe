// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a camera can capture: operating points, ranges, and what matters most when the wish cannot
// be met exactly. Value types, usable on any thread.

#ifndef LUMIQ_CAMERA_CAPABILITY_H
#define LUMIQ_CAMERA_CAPABILITY_H

#include <cstddef>
#include <cstdint>

#include "lumiq/fraction.h"

namespace Nerio::Lumiq {

/// One discrete operating point.
struct CameraCapability {
    std::uint32_t width = 0;   ///< Pixels.
    std::uint32_t height = 0;  ///< Pixels.
    std::uint32_t fps = 0;     ///< Whole frames per second.
};

/// An operating point with an exact frame rate. A CameraCapability converts to it with its
/// whole-number rate over 1.
struct CameraCapabilityEx {
    constexpr CameraCapabilityEx() noexcept = default;
    constexpr CameraCapabilityEx(std::uint32_t widthInPixels, std::uint32_t heightInPixels,
                                 Fraction<unsigned int> framesPerSecond) noexcept
        : width(widthInPixels), height(heightInPixels), fps(framesPerSecond) {}
    constexpr CameraCapabilityEx(
        const CameraCapability& capability) noexcept  // NOLINT(google-explicit-constructor)
        : width(capability.width), height(capability.height), fps{capability.fps, 1} {}

    std::uint32_t width = 0;     ///< Pixels.
    std::uint32_t height = 0;    ///< Pixels.
    Fraction<unsigned int> fps;  ///< Frames per second; 0/1 is "not set".
};

/// Everything a camera offers for one pixel format, summed up. Zero means "none found". The V4L2
/// back end leaves minFps and fpsStep at 0/1.
struct CameraCapabilityRanges {
    std::uint32_t minWidth = 0;      ///< Smallest width, pixels.
    std::uint32_t maxWidth = 0;      ///< Largest width, pixels.
    std::uint32_t widthStep = 0;     ///< 0: only discrete widths; 1: any width; else the step.
    std::uint32_t minHeight = 0;     ///< Smallest height, pixels.
    std::uint32_t maxHeight = 0;     ///< Largest height, pixels.
    std::uint32_t heightStep = 0;    ///< As widthStep.
    Fraction<unsigned int> minFps;   ///< Lowest frame rate, frames per second.
    Fraction<unsigned int> maxFps;   ///< Highest frame rate, frames per second.
    Fraction<unsigned int> fpsStep;  ///< Frame-rate granularity; 0/1: not told.
};

/// What to keep closest to the wish. Any other value fits nothing in the V4L2 back end.
enum class CameraCapabilityPriority : std::uint32_t {
    SizeWidth = 0,   ///< Frame size first, its width deciding; then the frame rate.
    SizeHeight = 1,  ///< Frame size first, its height deciding; then the frame rate.
    FpsWidth = 2,    ///< Frame rate first; then the frame size, its width deciding.
    FpsHeight = 3,   ///< Frame rate first; then the frame size, its height deciding.
};

static_assert(sizeof(CameraCapability) == 12);
static_assert(offsetof(CameraCapability, width) == 0);
static_assert(offsetof(CameraCapability, height) == 4);
static_assert(offsetof(CameraCapability, fps) == 8);

static_assert(sizeof(CameraCapabilityEx) == 16);
static_assert(offsetof(CameraCapabilityEx, width) == 0);
static_assert(offsetof(CameraCapabilityEx, height) == 4);
static_assert(offsetof(CameraCapabilityEx, fps) == 8);

static_assert(sizeof(CameraCapabilityRanges) == 48);
static_assert(offsetof(CameraCapabilityRanges, minWidth) == 0);
static_assert(offsetof(CameraCapabilityRanges, maxWidth) == 4);
static_assert(offsetof(CameraCapabilityRanges, widthStep) == 8);
static_assert(offsetof(CameraCapabilityRanges, minHeight) == 12);
static_assert(offsetof(CameraCapabilityRanges, maxHeight) == 16);
static_assert(offsetof(CameraCapabilityRanges, heightStep) == 20);
static_assert(offsetof(CameraCapabilityRanges, minFps) == 24);
static_assert(offsetof(CameraCapabilityRanges, maxFps) == 32);
static_assert(offsetof(CameraCapabilityRanges, fpsStep) == 40);
static_assert(sizeof(CameraCapabilityPriority) == 4);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_CAPABILITY_H
