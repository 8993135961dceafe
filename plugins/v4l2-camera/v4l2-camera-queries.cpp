// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a camera offers: formats, sizes, rates, and the point closest to a wish. Called by
// hosts, on any thread. Nothing here touches a running stream.

#include <algorithm>
#include <iterator>
#include <utility>

#include "lumiq/internal/log.h"
#include "v4l2-camera.h"

namespace Nerio::Lumiq {

using Internal::MutexLock;

namespace {

void queryFrameIntervals(const V4L2Device& device, CameraCapabilityRanges& ranges,
                         std::uint32_t fourcc, std::uint32_t width, std::uint32_t height) {
    for (const v4l2_frmivalenum& interval : device.frameIntervals(fourcc, width, height)) {
        widenByInterval(ranges, interval);
    }
}

FrameRate findClosestFps(const V4L2Device& device, std::uint32_t fourcc,
                         const CameraCapabilityEx& size, const FrameRate& wish) {
    RateChoice choice(wish);
    for (const v4l2_frmivalenum& interval :
         device.frameIntervals(fourcc, size.width, size.height)) {
        choice.consider(interval);
    }
    return choice.rate();
}

}  // namespace

// Puts a question to the opened device; again, from the start, when a stop on another thread has
// closed the device in the middle of it. False when the device cannot be opened; what was heard
// until then is not the whole answer.
template <typename Question>
bool V4L2Camera::ask(const Question& question) {
    while (const Device device = openDevice()) {
        question(*device);
        if (device->isOpen()) {
            return true;
        }
    }
    return false;
}

bool V4L2Camera::listFormats(std::vector<std::uint32_t>& codes) {
    return ask([&codes](const V4L2Device& device) {
        codes.clear();
        for (const v4l2_fmtdesc& listed : device.formats()) {
            codes.push_back(listed.pixelformat);
        }
    });
}

std::vector<PixelFormatDescription> V4L2Camera::getSupportedFormats() {
    std::vector<std::uint32_t> codes;
    if (!listFormats(codes)) {
        return {};
    }
    std::vector<PixelFormatDescription> direct;
    for (const std::uint32_t code : codes) {
        LUMIQ_LOG(Debug) << "Directly supported format: " << fourccText(code);
        if (const auto format = offeredFormat(code)) {
            direct.push_back({*format, 0});
        }
    }
    for (const PixelFormat request :
         {PixelFormat::Raw, PixelFormat::Encoded, PixelFormat::Preferred}) {
        direct.push_back({request, 0});
    }
    return checkFormatsConverting(direct);
}

std::vector<PixelFormatDescription> V4L2Camera::checkFormatsConverting(
    const std::vector<PixelFormatDescription>& direct) {
    FormatSet formats(direct.begin(), direct.end());
    {
        const MutexLock lock(m_openMutex);
        addConvertedFormats(formats, m_convertingSources);
    }
    for (const PixelFormatDescription& each : formats) {
        const bool converting = (each.flags & PixelFormatDescription::SupportedWithConverting) != 0;
        LUMIQ_LOG(Debug) << (converting ? "Format supported with converting: "
                                        : "Format supported directly: ")
                         << toString(each.format);
    }
    if (formats.count({PixelFormat::YUV420Planar, 0}) != 0 ||
        formats.count({PixelFormat::YUV420SemiPlanar, 0}) != 0) {
        formats.insert({PixelFormat::YCbCrFlexible, 0});
    }
    return {formats.begin(), formats.end()};
}

std::set<std::uint32_t> V4L2Camera::v4l2Formats() {
    {
        const MutexLock lock(m_openMutex);
        if (!m_v4l2Formats.empty()) {
            return m_v4l2Formats;
        }
    }
    std::vector<std::uint32_t> listed;
    const bool complete = listFormats(listed);
    const MutexLock lock(m_openMutex);
    // Another thread may have filled it meanwhile; what is known is never forgotten.
    if (complete) {
        m_v4l2Formats.insert(listed.begin(), listed.end());
    }
    return m_v4l2Formats;
}

// Under the device mutex, so that the answer does not fall into the middle of a start.
std::uint32_t V4L2Camera::bestOffered(std::span<const std::uint32_t> candidates) {
    const MutexLock lock(m_deviceMutex);
    std::uint32_t best = 0;
    (void)ask([&](const V4L2Device& device) { best = device.bestListed(candidates); });
    return best;
}

std::uint32_t V4L2Camera::v4l2Format(PixelFormat format) {
    const std::set<std::uint32_t> offered = v4l2Formats();
    const auto isOffered = [&offered](std::uint32_t code) { return offered.count(code) != 0; };
    switch (format) {
        case PixelFormat::Invalid:
            return 0;
        case PixelFormat::YUV420Planar:
        case PixelFormat::YCbCrFlexible: {
            const auto sources = planarSources();
            const auto found = std::find_if(sources.begin(), sources.end(), isOffered);
            return found == sources.end() ? 0 : *found;
        }
        case PixelFormat::YUV420SemiPlanar:
            return isOffered(fourccOf(PixelFormat::NV12)) ? fourccOf(PixelFormat::NV12) : 0;
        case PixelFormat::Raw:
            return bestOffered(rawCandidates());
        case PixelFormat::Encoded:
        // A capture decides by size what Preferred means; a question without a size gets the
        // encoded format, in which a camera offers its largest sizes.
        case PixelFormat::Preferred:
            return bestOffered(encodedCandidates());
        default:
            return fourccOf(format);
    }
}

bool V4L2Camera::queryCapabilities(std::vector<CameraCapability>& capabilities) {
    std::vector<CameraCapability> found;
    const bool asked = ask([&found](const V4L2Device& device) {
        found.clear();
        for (const v4l2_frmsizeenum& size : device.frameSizes(V4L2_PIX_FMT_MJPEG)) {
            appendCapabilities(size, found);
        }
    });
    if (!asked) {
        return false;
    }
    capabilities = std::move(found);
    return !capabilities.empty();
}

bool V4L2Camera::queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) {
    const std::uint32_t fourcc = openDevice() ? v4l2Format(format) : 0;
    if (fourcc == 0) {
        return false;
    }
    CameraCapabilityRanges found;
    const bool asked = ask([&found, fourcc](const V4L2Device& device) {
        found = {};
        for (const v4l2_frmsizeenum& size : device.frameSizes(fourcc)) {
            widenBySize(found, size);
            for (const auto& [width, height] : boundsOf(size)) {
                queryFrameIntervals(device, found, fourcc, width, height);
            }
        }
    });
    if (!asked || isEmpty(found)) {
        return false;
    }
    ranges = found;
    return true;
}

bool V4L2Camera::findClosestCapability(PixelFormat format, const CameraCapabilityEx& desired,
                                       CameraCapabilityEx& result,
                                       CameraCapabilityPriority priority) {
    if (!openDevice() || v4l2Format(format) == 0) {
        return false;
    }
    switch (priority) {
        case CameraCapabilityPriority::SizeWidth:
            return findClosestCapabilitySizeFps(format, desired, result, true);
        case CameraCapabilityPriority::SizeHeight:
            return findClosestCapabilitySizeFps(format, desired, result, false);
        case CameraCapabilityPriority::FpsWidth:
            return findClosestCapabilityFpsSize(format, desired, result, true);
        case CameraCapabilityPriority::FpsHeight:
            return findClosestCapabilityFpsSize(format, desired, result, false);
    }
    return false;
}

bool V4L2Camera::findClosestCapabilitySizeFps(PixelFormat format, const CameraCapabilityEx& desired,
                                              CameraCapabilityEx& result, bool widthFirst) {
    const std::uint32_t fourcc = v4l2Format(format);
    if (fourcc == 0) {
        return false;
    }
    CameraCapabilityEx candidate;
    const bool asked = ask([&](const V4L2Device& device) {
        SizeChoice sizes(desired, widthFirst);
        for (const v4l2_frmsizeenum& size : device.frameSizes(fourcc)) {
            sizes.consider(size);
        }
        candidate = sizes.size();
        candidate.fps = findClosestFps(device, fourcc, candidate, desired.fps);
    });
    if (!asked || !isUsable(candidate)) {
        return false;
    }
    result = candidate;
    return true;
}

bool V4L2Camera::findClosestCapabilityFpsSize(PixelFormat format, const CameraCapabilityEx& desired,
                                              CameraCapabilityEx& result, bool widthFirst) {
    CameraCapabilityRanges ranges;
    if (desired.fps.numerator == 0 || !queryCapabilityRanges(format, ranges)) {
        return false;
    }
    TrialSizes trials(desired, ranges, widthFirst);
    PointChoice choice(desired, widthFirst);
    do {
        CameraCapabilityEx point;
        if (findClosestCapabilitySizeFps(format, trials.current(), point, widthFirst)) {
            choice.consider(point);
        }
    } while (trials.shrink());
    if (!isUsable(choice.point())) {
        return false;
    }
    result = choice.point();
    return true;
}

}  // namespace Nerio::Lumiq
