// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The kinds of codecs. A value type, usable on any thread.

#ifndef LUMIQ_CODEC_TYPE_H
#define LUMIQ_CODEC_TYPE_H

#include <cstdint>

namespace Nerio::Lumiq {

/// What a codec encodes to or decodes from. Values are only ever compared for equality, and new
/// ones are only ever appended; a value that a host does not know is a kind it has no use for.
enum class CodecType : std::uint32_t {
    Unknown = 0,
    JPEG = 1,   ///< One picture at a time: motion JPEG is a sequence of them.
    H263 = 2,   ///< ITU-T H.263.
    H264 = 3,   ///< ITU-T H.264, MPEG-4 part 10 (AVC).
    H265 = 4,   ///< ITU-T H.265, MPEG-H part 2 (HEVC).
    H266 = 5,   ///< ITU-T H.266, MPEG-I part 3 (VVC).
    MPEG2 = 6,  ///< MPEG-2 part 2, ITU-T H.262.
    MPEG4 = 7,  ///< MPEG-4 part 2.
    VP8 = 8,
    VP9 = 9,
    AV1 = 10,
};

static_assert(sizeof(CodecType) == 4);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CODEC_TYPE_H
