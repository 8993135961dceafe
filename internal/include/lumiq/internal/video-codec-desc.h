// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One codec as a back end registers it. A value type, usable on any thread.

#ifndef LUMIQ_INTERNAL_VIDEO_CODEC_DESC_H
#define LUMIQ_INTERNAL_VIDEO_CODEC_DESC_H

#include <cstdint>
#include <memory>

#include "lumiq/size.h"
#include "lumiq/video-codec-info.h"

namespace Nerio::Lumiq::Internal {

/// What the registry and the codec objects know of a codec. They keep copies of this very class:
/// what a class derived from it adds or overrides is not among them.
///
/// The order of the virtual operations is kept; new ones are only ever appended.
class VideoCodecDesc {
public:
    VideoCodecDesc() = default;
    VideoCodecDesc(VideoCodecInfo codecInfo, const SizeRange& sizes, const Size& multiple);
    VideoCodecDesc(const VideoCodecDesc&) = default;
    VideoCodecDesc(VideoCodecDesc&&) = default;
    VideoCodecDesc& operator=(const VideoCodecDesc&) = default;
    VideoCodecDesc& operator=(VideoCodecDesc&&) = default;

    [[nodiscard]] virtual SizeRange getSizeRange() const;
    [[nodiscard]] virtual Size getAlignment() const;
    virtual ~VideoCodecDesc();

    [[nodiscard]] const VideoCodecInfo& getInfo() const { return info; }

    VideoCodecInfo info;
    SizeRange sizeRange;  ///< See VideoCodecExtendedInfo::sizeRange.
    Size alignment;       ///< See VideoCodecExtendedInfo::alignment.
};

/// What a codec object of this description says of itself; the caller's own.
[[nodiscard]] std::shared_ptr<VideoCodecExtendedInfo> extendedInfo(const VideoCodecDesc& desc);

/// True when a picture of this size, in pixels, is within the range. Neither side may be below the
/// smallest size. The largest counts as an area, of which the sides may be shared out otherwise;
/// areas are signed 32-bit numbers and wrap around. A range with a negative number holds no size.
[[nodiscard]] bool holds(const SizeRange& range, std::int32_t width, std::int32_t height);

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_VIDEO_CODEC_DESC_H
