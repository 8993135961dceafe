// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How a codec manager lists one codec, and what a codec object says of itself. Value types, usable
// on any thread.

#ifndef LUMIQ_VIDEO_CODEC_INFO_H
#define LUMIQ_VIDEO_CODEC_INFO_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "lumiq/codec-type.h"
#include "lumiq/size.h"

namespace Nerio::Lumiq {

/// One listed codec: an encoder or a decoder of one kind.
struct VideoCodecInfo {
    CodecType type = CodecType::Unknown;
    bool isEncoder = false;         ///< True: an encoder; false: a decoder.
    std::string id;                 ///< Unique within its manager and compared byte by byte.
    std::uint32_t reserved = 0;     ///< Carried through copies; this system leaves it 0.
    std::int32_t maxInstances = 0;  ///< How many objects of this codec may exist at once.
    bool isHardware = false;        ///< True: works on hardware of its own.
};

/// What a codec object says of itself.
struct VideoCodecExtendedInfo {
    VideoCodecInfo info;
    /// Smallest and largest picture, in pixels. The largest counts as an area: a picture may be
    /// wider or taller than it when it has no more pixels.
    SizeRange sizeRange;
    /// Width and height in pixels of which the sides of a picture have to be multiples, or are
    /// rounded up to one inside the codec: supports() tells which. 1 and 1 when it takes any, 0 and
    /// 0 when the back end does not say.
    Size alignment;
};

// Host and plug-in must be built with the same standard library, since strings cross the boundary;
// these hold for libstdc++ on every 64-bit Linux.
static_assert(sizeof(VideoCodecInfo) == 56);
static_assert(offsetof(VideoCodecInfo, type) == 0);
static_assert(offsetof(VideoCodecInfo, isEncoder) == 4);
static_assert(offsetof(VideoCodecInfo, id) == 8);
static_assert(offsetof(VideoCodecInfo, reserved) == 40);
static_assert(offsetof(VideoCodecInfo, maxInstances) == 44);
static_assert(offsetof(VideoCodecInfo, isHardware) == 48);

static_assert(sizeof(VideoCodecExtendedInfo) == 80);
static_assert(offsetof(VideoCodecExtendedInfo, info) == 0);
static_assert(offsetof(VideoCodecExtendedInfo, sizeRange) == 56);
static_assert(offsetof(VideoCodecExtendedInfo, alignment) == 72);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_VIDEO_CODEC_INFO_H
