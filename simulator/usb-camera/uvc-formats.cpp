// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// From a camera description to the formats and frames of a USB camera. Called once, when the camera
// is made.

#include "uvc-formats.h"

#include <algorithm>
#include <limits>
#include <string>

#include "byte-order.h"
#include "frame-choice.h"

namespace UsbCamera {
namespace {

using Simulator::DescriptionError;
using Simulator::fourcc;
using Simulator::fourccText;

struct KnownFormat {
    std::uint32_t fourcc;
    UvcFormatKind kind;
    std::uint8_t bitsPerPixel;
};
/// Those for which the kernel's driver knows the identifier.
constexpr KnownFormat knownFormats[] = {
    {fourcc("YUYV"), UvcFormatKind::Uncompressed, 16},
    {fourcc("UYVY"), UvcFormatKind::Uncompressed, 16},
    {fourcc("NV12"), UvcFormatKind::Uncompressed, 12},
    {fourcc("YU12"), UvcFormatKind::Uncompressed, 12},
    {fourcc("MJPG"), UvcFormatKind::MotionJpeg, 0},
    {fourcc("H264"), UvcFormatKind::FrameBased, 0},
    {fourcc("VP80"), UvcFormatKind::FrameBased, 0},
};
constexpr std::size_t mostFrames = 255;
constexpr std::size_t mostIntervals =
    57;  // what the length of a descriptor, one byte, leaves room for

const KnownFormat& known(std::uint32_t code) {
    const auto* const found = std::find_if(std::begin(knownFormats), std::end(knownFormats),
                                           [code](const auto& f) { return f.fourcc == code; });
    if (found == std::end(knownFormats)) {
        throw DescriptionError("format " + fourccText(code) +
                               " has no identifier in USB video; a USB camera can have YUYV, UYVY, "
                               "NV12, YU12, MJPG, H264, VP80");
    }
    return *found;
}

std::uint32_t units(Simulator::Interval interval) {
    const std::uint64_t value = unitsPerSecond * interval.numerator / interval.denominator;
    return static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>(value, 1, std::numeric_limits<std::uint32_t>::max()));
}

void setIntervals(UvcFrame& frame, const Simulator::Intervals& from) {
    using Kind = Simulator::Intervals::Kind;
    if (from.kind == Kind::Stepwise || from.kind == Kind::Continuous) {
        frame.minInterval = units(from.min);
        frame.maxInterval = units(from.max);
        frame.stepInterval = from.kind == Kind::Continuous ? 1 : units(from.step);
        frame.defaultInterval = frame.minInterval;
        return;
    }
    frame.defaultInterval = units({1, 30});
    if (from.kind == Kind::Discrete) {
        frame.defaultInterval = units(from.discrete.front());
        for (const Simulator::Interval interval : from.discrete) {
            frame.intervals.push_back(units(interval));
        }
        std::sort(frame.intervals.begin(), frame.intervals.end());
    } else {
        frame.intervals = {frame.defaultInterval};
    }
}

UvcFrame uvcFrame(std::uint32_t code, const Simulator::FrameSize& size) {
    UvcFrame frame;
    frame.width = static_cast<std::uint16_t>(size.width);
    frame.height = static_cast<std::uint16_t>(size.height);
    frame.maxBytes = Simulator::imageBytes(code, size.width, size.height);
    setIntervals(frame, size.intervals);
    if (frame.intervals.size() > mostIntervals) {
        throw DescriptionError("format " + fourccText(code) +
                               " has too many intervals for a USB camera");
    }
    return frame;
}

}  // namespace

std::vector<UvcFormat> uvcFormats(const Simulator::CameraDescription& camera) {
    std::vector<UvcFormat> formats;
    for (const Simulator::Format& from : camera.formats) {
        const KnownFormat& format = known(from.fourcc);
        if (from.range || from.sizes.size() > mostFrames) {
            throw DescriptionError("format " + fourccText(from.fourcc) +
                                   ": a USB camera lists its sizes one by one, up to 255 of them; "
                                   "write \"sizes\": [\"640x480\", ...]");
        }
        formats.push_back({format.fourcc, format.kind, format.bitsPerPixel, {}});
        for (const Simulator::FrameSize& size : from.sizes) {
            formats.back().frames.push_back(uvcFrame(from.fourcc, size));
        }
    }
    return formats;
}

std::array<std::uint8_t, 16> formatIdentifier(std::uint32_t code) {
    std::array<std::uint8_t, 16> identifier = {0,    0, 0, 0,    0, 0,    0x10, 0,
                                               0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71};
    // Two go by another code there than in the kernel.
    std::uint32_t written = code;
    written = code == fourcc("YUYV") ? fourcc("YUY2") : written;
    written = code == fourcc("YU12") ? fourcc("I420") : written;
    for (std::size_t i = 0; i < 4; ++i) {
        identifier[i] = static_cast<std::uint8_t>(written >> 8 * i);
    }
    return identifier;
}

std::uint32_t nearestInterval(const UvcFrame& frame, std::uint32_t wish) {
    if (frame.intervals.empty()) {
        const std::uint32_t inside = std::clamp(wish, frame.minInterval, frame.maxInterval);
        const std::uint64_t past = inside - frame.minInterval;
        const std::uint64_t steps = (past + frame.stepInterval / 2) / frame.stepInterval;
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(
            frame.maxInterval, frame.minInterval + steps * frame.stepInterval));
    }
    const auto distance = [wish](std::uint32_t interval) {
        return interval > wish ? interval - wish : wish - interval;
    };
    return *std::min_element(
        frame.intervals.begin(), frame.intervals.end(),
        [distance](std::uint32_t a, std::uint32_t b) { return distance(a) < distance(b); });
}

}  // namespace UsbCamera
