// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The choices of a simulated camera. Called by the device's owner for what it starts with and by
// the simulated driver, on any thread.

#include "frame-choice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Simulator {
namespace {

/// How a format lies in memory; codes that are not here are compressed or unknown, and opaque.
struct Layout {
    std::uint32_t fourcc;
    std::uint32_t lineBytesPerPixel;
    bool chromaPlanes;  ///< two more planes, or one with both, of a quarter of the pixels each
};
constexpr Layout layouts[] = {
    {fourcc("YUYV"), 2, false},
    {fourcc("UYVY"), 2, false},
    {fourcc("YU12"), 1, true},
    {fourcc("NV12"), 1, true},
};
constexpr std::uint32_t smallestCompressed = 4096;

const Layout* layoutOf(std::uint32_t code) {
    const auto* const found = std::find_if(std::begin(layouts), std::end(layouts),
                                           [code](const Layout& l) { return l.fourcc == code; });
    return found == std::end(layouts) ? nullptr : found;
}

std::uint32_t nearestStep(std::uint32_t wish, std::uint32_t min, std::uint32_t max,
                          std::uint32_t step) {
    const std::uint64_t past = std::clamp(wish, min, max) - min;
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(max, min + (past + step / 2) / step * step));
}

/// The pixels that two sizes, laid corner on corner, do not share.
std::uint64_t difference(const FrameSize& size, std::uint64_t width, std::uint64_t height) {
    const std::uint64_t shared =
        std::min<std::uint64_t>(size.width, width) * std::min<std::uint64_t>(size.height, height);
    return std::uint64_t{size.width} * size.height + width * height - 2 * shared;
}

Interval firstInterval(const Intervals& intervals) {
    switch (intervals.kind) {
        case Intervals::Kind::Discrete:
            return intervals.discrete.front();
        case Intervals::Kind::Stepwise:
        case Intervals::Kind::Continuous:
            return intervals.min;
        case Intervals::Kind::None:
            break;
    }
    return {1, 30};
}

/// UVC counts intervals in units of 100 ns.
double units(Interval interval) {
    return 1e7 * interval.numerator / interval.denominator;
}

/// A wish without a denominator asks for the longest interval there is.
double wishedUnits(Interval wish) {
    return wish.denominator == 0 ? std::numeric_limits<std::uint32_t>::max() : units(wish);
}

Interval nearestDiscrete(const std::vector<Interval>& intervals, Interval wish) {
    const double wished = wishedUnits(wish);
    return *std::min_element(intervals.begin(), intervals.end(), [wished](Interval a, Interval b) {
        return std::abs(units(a) - wished) < std::abs(units(b) - wished);
    });
}

/// min + n * step as a fraction; `otherwise` where that does not fit.
Interval stepsPast(const Intervals& range, std::uint64_t n, Interval otherwise) {
    const std::uint64_t denominator = std::uint64_t{range.min.denominator} * range.step.denominator;
    const std::uint64_t numerator = std::uint64_t{range.min.numerator} * range.step.denominator +
                                    n * range.step.numerator * std::uint64_t{range.min.denominator};
    const std::uint64_t divisor = std::gcd(numerator, denominator);
    constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
    if (numerator / divisor > largest || denominator / divisor > largest) {
        return otherwise;
    }
    return {static_cast<std::uint32_t>(numerator / divisor),
            static_cast<std::uint32_t>(denominator / divisor)};
}

Interval nearestInRange(const Intervals& range, Interval wish) {
    const double wished = wishedUnits(wish);
    if (wished <= units(range.min)) {
        return range.min;
    }
    if (wished >= units(range.max)) {
        return range.max;
    }
    if (range.kind == Intervals::Kind::Continuous) {
        return wish;
    }
    const double steps = std::round((wished - units(range.min)) / units(range.step));
    const Interval chosen = stepsPast(range, static_cast<std::uint64_t>(steps), range.max);
    return units(chosen) > units(range.max) ? range.max : chosen;
}

}  // namespace

FrameChoice defaultChoice(const CameraDescription& camera) {
    const Format& first = camera.formats.front();
    if (first.range) {
        return chooseFrame(camera, first.fourcc, 640, 480);
    }
    return {0, first.sizes.front().width, first.sizes.front().height,
            firstInterval(first.sizes.front().intervals)};
}

FrameChoice chooseFrame(const CameraDescription& camera, std::uint32_t code, std::uint32_t width,
                        std::uint32_t height) {
    const Format* const known = findFormat(camera, code);
    const Format& format = known != nullptr ? *known : camera.formats.front();
    FrameChoice choice;
    choice.format = static_cast<std::size_t>(&format - camera.formats.data());
    if (format.range) {
        const FrameSizeRange& range = *format.range;
        choice.width = nearestStep(width, range.minWidth, range.maxWidth, range.stepWidth);
        choice.height = nearestStep(height, range.minHeight, range.maxHeight, range.stepHeight);
        choice.interval = firstInterval(range.intervals);
        return choice;
    }
    const FrameSize& nearest = *std::min_element(
        format.sizes.begin(), format.sizes.end(), [=](const FrameSize& a, const FrameSize& b) {
            return difference(a, width, height) < difference(b, width, height);
        });
    choice.width = nearest.width;
    choice.height = nearest.height;
    choice.interval = firstInterval(nearest.intervals);
    return choice;
}

Interval chooseInterval(const CameraDescription& camera, const FrameChoice& choice, Interval wish) {
    const Intervals* const intervals =
        findIntervals(camera.formats.at(choice.format), choice.width, choice.height);
    if (intervals == nullptr || intervals->kind == Intervals::Kind::None) {
        return {1, 30};
    }
    return intervals->kind == Intervals::Kind::Discrete ? nearestDiscrete(intervals->discrete, wish)
                                                        : nearestInRange(*intervals, wish);
}

const Format* findFormat(const CameraDescription& camera, std::uint32_t code) {
    const auto found = std::find_if(camera.formats.begin(), camera.formats.end(),
                                    [code](const Format& f) { return f.fourcc == code; });
    return found == camera.formats.end() ? nullptr : &*found;
}

const Intervals* findIntervals(const Format& format, std::uint32_t width, std::uint32_t height) {
    if (format.range) {
        const FrameSizeRange& range = *format.range;
        const bool inside = width >= range.minWidth && width <= range.maxWidth &&
                            height >= range.minHeight && height <= range.maxHeight &&
                            (width - range.minWidth) % range.stepWidth == 0 &&
                            (height - range.minHeight) % range.stepHeight == 0;
        return inside ? &range.intervals : nullptr;
    }
    const auto found = std::find_if(
        format.sizes.begin(), format.sizes.end(),
        [=](const FrameSize& size) { return size.width == width && size.height == height; });
    return found == format.sizes.end() ? nullptr : &found->intervals;
}

bool isCompressed(std::uint32_t code) {
    return layoutOf(code) == nullptr;
}

std::uint32_t bytesPerLine(std::uint32_t code, std::uint32_t width) {
    const Layout* const layout = layoutOf(code);
    return layout == nullptr ? 0 : layout->lineBytesPerPixel * width;
}

std::uint32_t imageBytes(std::uint32_t code, std::uint32_t width, std::uint32_t height) {
    const Layout* const layout = layoutOf(code);
    if (layout == nullptr) {
        return std::max(2 * width * height, smallestCompressed);
    }
    const std::uint32_t chroma =
        layout->chromaPlanes ? 2 * ((width + 1) / 2) * ((height + 1) / 2) : 0;
    return layout->lineBytesPerPixel * width * height + chroma;
}

std::uint64_t packFormat(const FrameChoice& choice) {
    return std::uint64_t{choice.format} << 32 | choice.width << 16 | choice.height;
}

std::uint64_t packInterval(Interval interval) {
    return std::uint64_t{interval.numerator} << 32 | interval.denominator;
}

FrameChoice unpack(std::uint64_t format, std::uint64_t interval) {
    return {static_cast<std::size_t>(format >> 32),
            static_cast<std::uint32_t>(format >> 16 & 0xffff),
            static_cast<std::uint32_t>(format & 0xffff),
            {static_cast<std::uint32_t>(interval >> 32),
             static_cast<std::uint32_t>(interval & 0xffffffff)}};
}

}  // namespace Simulator
