// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The two registered codecs; see the header.

#include "descriptions.h"

#include <cstdint>

namespace SoftwareCodec {
namespace {

using Nerio::Lumiq::CodecType;
using Nerio::Lumiq::Size;
using Nerio::Lumiq::SizeRange;
using Nerio::Lumiq::VideoCodecInfo;
using Nerio::Lumiq::Internal::VideoCodecDesc;

constexpr std::int32_t instances = 2;
constexpr SizeRange sizes{{2, 2}, {4096, 4096}};
// Half as many chroma samples as pixels, in either direction.
constexpr Size alignment{2, 2};
// JPEG can say 65535; libjpeg-turbo stops before.
constexpr std::int32_t longestSide = 65500;

VideoCodecDesc describe(const char* id, bool isEncoder) {
    VideoCodecInfo info;
    info.type = CodecType::JPEG;
    info.isEncoder = isEncoder;
    info.id = id;
    info.maxInstances = instances;
    info.isHardware = false;
    return {info, sizes, alignment};
}

}  // namespace

VideoCodecDesc describeEncoder() {
    return describe("software-jpeg-encoder", true);
}

VideoCodecDesc describeDecoder() {
    return describe("software-jpeg-decoder", false);
}

bool takesSides(std::int32_t width, std::int32_t height) {
    constexpr std::int64_t largestArea = std::int64_t{sizes.max.width} * sizes.max.height;
    return width >= sizes.min.width && height >= sizes.min.height && width % alignment.width == 0 &&
           height % alignment.height == 0 && width <= longestSide && height <= longestSide &&
           std::int64_t{width} * height <= largestArea;
}

}  // namespace SoftwareCodec
