// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A codec's description, and the sizes that it allows. Any thread.

#include "lumiq/internal/video-codec-desc.h"

#include <utility>

namespace Nerio::Lumiq::Internal {
namespace {

// Computed without a sign, since a signed product must not overflow; the result is the same number
// of 32 bits.
std::int32_t area(std::int32_t width, std::int32_t height) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(width) *
                                     static_cast<std::uint32_t>(height));
}

}  // namespace

VideoCodecDesc::VideoCodecDesc(VideoCodecInfo codecInfo, const SizeRange& sizes,
                               const Size& multiple)
    : info(std::move(codecInfo)), sizeRange(sizes), alignment(multiple) {}

SizeRange VideoCodecDesc::getSizeRange() const {
    return sizeRange;
}

Size VideoCodecDesc::getAlignment() const {
    return alignment;
}

VideoCodecDesc::~VideoCodecDesc() = default;

std::shared_ptr<VideoCodecExtendedInfo> extendedInfo(const VideoCodecDesc& desc) {
    auto extended = std::make_shared<VideoCodecExtendedInfo>();
    extended->info = desc.getInfo();
    extended->sizeRange = desc.getSizeRange();
    extended->alignment = desc.getAlignment();
    return extended;
}

bool holds(const SizeRange& range, std::int32_t width, std::int32_t height) {
    const auto& [min, max] = range;
    if (min.width < 0 || min.height < 0 || max.width < 0 || max.height < 0) {
        return false;
    }
    if (width < min.width || height < min.height) {
        return false;
    }
    return area(width, height) <= area(max.width, max.height);
}

}  // namespace Nerio::Lumiq::Internal
