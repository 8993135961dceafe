// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the codecs' records hold at first and where each field lies, as records-test.cpp does for
// the others. One thread.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "lumiq/codec-parameter.h"
#include "lumiq/codec-type.h"
#include "lumiq/encoded-picture.h"
#include "lumiq/video-codec-info.h"
#include "lumiq/video-metadata.h"
#include "record-checks.h"

namespace Nerio::Lumiq {
namespace {

static_assert(isPlainValue<VideoCodecInfo>);
static_assert(isPlainValue<VideoCodecExtendedInfo>);
static_assert(isPlainValue<VideoEncoderMetadata>);
static_assert(isPlainValue<VideoDecoderMetadata>);
static_assert(isPlainValue<EncodedPicture>);

static_assert(has32Bits<CodecType>);
static_assert(has32Bits<CodecParameter>);

TEST(TheLayoutOf, VideoCodecInfo) {
    EXPECT_EQ(sizeof(VideoCodecInfo), 56U);
    EXPECT_FIELD(VideoCodecInfo, type, 0, CodecType);
    EXPECT_FIELD(VideoCodecInfo, isEncoder, 4, bool);
    EXPECT_FIELD(VideoCodecInfo, id, 8, std::string);
    EXPECT_FIELD(VideoCodecInfo, reserved, 40, std::uint32_t);
    EXPECT_FIELD(VideoCodecInfo, maxInstances, 44, std::int32_t);
    EXPECT_FIELD(VideoCodecInfo, isHardware, 48, bool);
}

TEST(TheLayoutOf, VideoCodecExtendedInfo) {
    EXPECT_EQ(sizeof(VideoCodecExtendedInfo), 80U);
    EXPECT_FIELD(VideoCodecExtendedInfo, info, 0, VideoCodecInfo);
    EXPECT_FIELD(VideoCodecExtendedInfo, sizeRange, 56, SizeRange);
    EXPECT_FIELD(VideoCodecExtendedInfo, alignment, 72, Size);
}

TEST(TheLayoutOf, TheVideoMetadata) {
    EXPECT_EQ(sizeof(VideoEncoderMetadata), 16U);
    EXPECT_FIELD(VideoEncoderMetadata, type, 0, CodecType);
    EXPECT_FIELD(VideoEncoderMetadata, width, 4, std::int32_t);
    EXPECT_FIELD(VideoEncoderMetadata, height, 8, std::int32_t);
    EXPECT_FIELD(VideoEncoderMetadata, stride, 12, std::int32_t);

    EXPECT_EQ(sizeof(VideoDecoderMetadata), 12U);
    EXPECT_FIELD(VideoDecoderMetadata, type, 0, CodecType);
    EXPECT_FIELD(VideoDecoderMetadata, width, 4, std::int32_t);
    EXPECT_FIELD(VideoDecoderMetadata, height, 8, std::int32_t);
}

TEST(TheLayoutOf, EncodedPicture) {
    EXPECT_EQ(sizeof(EncodedPicture), 40U);
    EXPECT_FIELD(EncodedPicture, data, 0, std::vector<std::uint8_t>);
    EXPECT_FIELD(EncodedPicture, timestamp, 24, std::int64_t);
    EXPECT_FIELD(EncodedPicture, isKeyPicture, 32, bool);
}

TEST(ACodecsRecord, NamesNoCodecAtFirst) {
    const VideoCodecExtendedInfo extended;
    EXPECT_EQ(extended.info.type, CodecType::Unknown);
    EXPECT_FALSE(extended.info.isEncoder);
    EXPECT_EQ(extended.info.id, "");
    EXPECT_EQ(extended.info.reserved, 0U);
    EXPECT_EQ(extended.info.maxInstances, 0);
    EXPECT_FALSE(extended.info.isHardware);
    for (const Size& size : {extended.sizeRange.min, extended.sizeRange.max, extended.alignment}) {
        EXPECT_EQ(size.width, 0);
        EXPECT_EQ(size.height, 0);
    }
}

TEST(TheVideoMetadata, AreEmptyAtFirst) {
    const VideoEncoderMetadata toEncode;
    EXPECT_EQ(toEncode.type, CodecType::Unknown);
    EXPECT_EQ(toEncode.width, 0);
    EXPECT_EQ(toEncode.height, 0);
    EXPECT_EQ(toEncode.stride, 0);
    const VideoDecoderMetadata toDecode;
    EXPECT_EQ(toDecode.type, CodecType::Unknown);
    EXPECT_EQ(toDecode.width, 0);
    EXPECT_EQ(toDecode.height, 0);
}

TEST(AnEncodedPicture, HasNoBytesAndNoTimeAtFirst) {
    const EncodedPicture picture;
    EXPECT_TRUE(picture.data.empty());
    EXPECT_EQ(picture.timestamp, -1);
    EXPECT_FALSE(picture.isKeyPicture);
}

TEST(TheCodecTypes, HaveTheNumbersThatHostsWereBuiltWith) {
    const std::vector<CodecType> inOrder = {CodecType::Unknown, CodecType::JPEG,  CodecType::H263,
                                            CodecType::H264,    CodecType::H265,  CodecType::H266,
                                            CodecType::MPEG2,   CodecType::MPEG4, CodecType::VP8,
                                            CodecType::VP9,     CodecType::AV1};
    for (std::uint32_t number = 0; number < inOrder.size(); ++number) {
        EXPECT_EQ(static_cast<std::uint32_t>(inOrder[number]), number);
    }
}

}  // namespace
}  // namespace Nerio::Lumiq
