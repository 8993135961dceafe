// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The video that a codec is to work on, described before there is any. Value types, usable on any
// thread.

#ifndef LUMIQ_VIDEO_METADATA_H
#define LUMIQ_VIDEO_METADATA_H

#include <cstddef>
#include <cstdint>

#include "lumiq/codec-type.h"

namespace Nerio::Lumiq {

/// What an encoder is to make, and from which pictures.
struct VideoEncoderMetadata {
    CodecType type = CodecType::Unknown;  ///< What to encode to.
    std::int32_t width = 0;               ///< Pixels of a picture.
    std::int32_t height = 0;              ///< Rows of a picture.
    /// Bytes from one luma row of a picture to the next; 0: as many as width. What supports() takes
    /// for the width when it is not 0.
    std::int32_t stride = 0;
};

/// What a decoder is to read, and the pictures that come out.
struct VideoDecoderMetadata {
    CodecType type = CodecType::Unknown;  ///< What to decode.
    std::int32_t width = 0;               ///< Pixels of a picture.
    std::int32_t height = 0;              ///< Rows of a picture.
};

static_assert(sizeof(VideoEncoderMetadata) == 16);
static_assert(offsetof(VideoEncoderMetadata, type) == 0);
static_assert(offsetof(VideoEncoderMetadata, width) == 4);
static_assert(offsetof(VideoEncoderMetadata, height) == 8);
static_assert(offsetof(VideoEncoderMetadata, stride) == 12);

static_assert(sizeof(VideoDecoderMetadata) == 12);
static_assert(offsetof(VideoDecoderMetadata, type) == 0);
static_assert(offsetof(VideoDecoderMetadata, width) == 4);
static_assert(offsetof(VideoDecoderMetadata, height) == 8);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_VIDEO_METADATA_H
