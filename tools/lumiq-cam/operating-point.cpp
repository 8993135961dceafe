// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Choosing what to ask the camera for; see the header.
#include "operating-point.h"

#include <algorithm>

#include "exit-code.h"

namespace LumiqCam {
namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormatDescription;

// Preferred means an uncompressed format up to this many pixels, a compressed one above.
constexpr std::uint64_t kPreferredRawPixels = 640ULL * 480ULL;

bool offersDirectly(const FormatDescriptions& formats, bool raw) {
    return std::any_of(formats.begin(), formats.end(), [raw](const PixelFormatDescription& item) {
        if ((item.flags & PixelFormatDescription::SupportedWithConverting) != 0) {
            return false;
        }
        switch (item.format) {
            case PixelFormat::YUV420Planar:
            case PixelFormat::YUV420SemiPlanar:
            case PixelFormat::YUYV:
            case PixelFormat::UYVY:
                return raw;
            case PixelFormat::MJPG:
            case PixelFormat::H264:
                return !raw;
            default:
                return false;
        }
    });
}

bool prefersRaw(FrameSize size) {
    return std::uint64_t{size.width} * size.height <= kPreferredRawPixels;
}

std::uint32_t fitSide(std::uint32_t wish, std::uint32_t least, std::uint32_t most,
                      std::uint32_t step) {
    if (most == 0 || most < least) {
        return wish;
    }
    const std::uint32_t inside = std::clamp(wish, least, most);
    if (step <= 1) {
        return inside;
    }
    const std::uint32_t below = inside - (inside - least) % step;
    const bool upIsNearer = inside - below > step / 2 && most - below >= step;
    return upIsNearer ? below + step : below;
}

void refuseUnknownFormat(const FormatDescriptions& formats, PixelFormat format) {
    const auto same = [format](const PixelFormatDescription& item) {
        return item.format == format;
    };
    if (std::none_of(formats.begin(), formats.end(), same)) {
        throw Failure(ExitCode::CaptureFailed,
                      "the camera does not offer " + printable(toString(format)),
                      "It offers " + namesOf(formats) + ".");
    }
}

// What startCapture will make of Preferred, said with a format that the queries take the same way.
PixelFormat formatForQueries(PixelFormat format, FrameSize size) {
    if (format != PixelFormat::Preferred) {
        return format;
    }
    return prefersRaw(size) ? PixelFormat::Raw : PixelFormat::Encoded;
}

// The rate stays the wish: the ranges' highest rate can be that of the longest interval where a
// camera has a range of intervals, and a rate that the camera refuses does not stop a start.
void takeFromRanges(Camera& camera, PixelFormat query, const Wish& wish, OperatingPoint& point) {
    CameraCapabilityRanges ranges;
    const bool known = camera.queryCapabilityRanges(query, ranges);
    point.size = known ? fitSize(wish.size, ranges) : wish.size;
    point.fps = wish.fps;
    point.notes.push_back("the back end finds nothing near " + toText(wish.size) + " at " +
                          toText(wish.fps) + " fps; taking " + toText(point.size) +
                          (known ? ", which fits the camera's ranges" : " as wished"));
}

void takeClosest(Camera& camera, PixelFormat query, const Wish& wish, OperatingPoint& point) {
    const CameraCapabilityEx desired(wish.size.width, wish.size.height, wish.fps);
    CameraCapabilityEx closest;
    point.foundByBackEnd = camera.findClosestCapability(query, desired, closest, wish.priority);
    if (!point.foundByBackEnd) {
        takeFromRanges(camera, query, wish, point);
        return;
    }
    point.size = {closest.width, closest.height};
    point.fps = closest.fps;
}

}  // namespace

FrameSize fitSize(FrameSize wish, const CameraCapabilityRanges& ranges) {
    return {fitSide(wish.width, ranges.minWidth, ranges.maxWidth, ranges.widthStep),
            fitSide(wish.height, ranges.minHeight, ranges.maxHeight, ranges.heightStep)};
}

PixelFormat settlePreferred(const FormatDescriptions& formats, FrameSize size) {
    const bool raw = offersDirectly(formats, true);
    const bool encoded = offersDirectly(formats, false);
    if (prefersRaw(size)) {
        return !raw && encoded ? PixelFormat::Encoded : PixelFormat::Preferred;
    }
    return raw && !encoded ? PixelFormat::Raw : PixelFormat::Preferred;
}

std::string namesOf(const FormatDescriptions& formats) {
    std::string text;
    for (const PixelFormatDescription& item : formats) {
        text += (text.empty() ? "" : ", ") + printable(toString(item.format));
    }
    return text.empty() ? "nothing" : text;
}

OperatingPoint chooseOperatingPoint(Camera& camera, const FormatDescriptions& formats,
                                    const Wish& wish) {
    refuseUnknownFormat(formats, wish.format);
    OperatingPoint point;
    point.format =
        wish.format == PixelFormat::Preferred ? settlePreferred(formats, wish.size) : wish.format;
    if (wish.exact) {
        point.size = wish.size;
        point.fps = wish.fps;
        return point;
    }
    const PixelFormat query = formatForQueries(point.format, wish.size);
    takeClosest(camera, query, wish, point);
    if (wish.format == PixelFormat::Preferred &&
        formatForQueries(PixelFormat::Preferred, point.size) != query) {
        // The size found lies on the other side of what Preferred distinguishes: say outright what
        // was searched for.
        point.format = query;
    }
    return point;
}

}  // namespace LumiqCam
