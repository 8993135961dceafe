// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The operations of the codecs' interfaces, called by number as slot-order-test.cpp does for the
// others. One thread.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "call-log.h"
#include "recording-codecs.h"
#include "slot-call.h"

namespace Nerio::Lumiq {
namespace {

constexpr auto quality = static_cast<CodecParameter>(77);

class TheSlotsOfACodecManager : public testing::Test {
protected:
    template <typename Signature>
    SlotCall<Signature> slot(std::size_t number) {
        return slotCall<Signature>(static_cast<CodecManager&>(manager), number);
    }

    const std::string id = "a codec";
    CallLog others;
    CallLog log;
    RecordingCodecManager manager{log};

    TheSlotsOfACodecManager() {
        manager.encoder = std::make_shared<RecordingEncoder>(others);
        manager.decoder = std::make_shared<RecordingDecoder>(others);
        manager.extended = std::make_shared<VideoCodecExtendedInfo>();
    }
};

TEST_F(TheSlotsOfACodecManager, BeginWithTheOperationsByType) {
    EXPECT_TRUE(slot<bool()>(2)());
    EXPECT_TRUE(log.isJust("init"));

    EXPECT_TRUE((slot<bool(CodecType, bool)>(3)(CodecType::VP8, true)));
    EXPECT_TRUE(log.isJust("videoEncoderAvailable", CodecType::VP8, true));

    EXPECT_TRUE((slot<bool(CodecType, bool)>(4)(CodecType::AV1, false)));
    EXPECT_TRUE(log.isJust("videoDecoderAvailable", CodecType::AV1, false));

    EXPECT_EQ((slot<std::shared_ptr<VideoEncoder>(CodecType, bool)>(5)(CodecType::H264, true)),
              manager.encoder);
    EXPECT_TRUE(log.isJust("createVideoEncoder", CodecType::H264, true));

    EXPECT_EQ((slot<std::shared_ptr<VideoDecoder>(CodecType, bool)>(6)(CodecType::H265, false)),
              manager.decoder);
    EXPECT_TRUE(log.isJust("createVideoDecoder", CodecType::H265, false));
}

TEST_F(TheSlotsOfACodecManager, GoOnWithTheListAndTheOperationsById) {
    EXPECT_EQ(slot<std::vector<VideoCodecInfo>()>(7)().size(), 3U);
    EXPECT_TRUE(log.isJust("listCodecs"));

    EXPECT_TRUE(slot<bool(const std::string&)>(8)(id));
    EXPECT_TRUE(log.isJust("isCodecIdAvailable", &id));

    EXPECT_EQ(slot<std::shared_ptr<VideoEncoder>(const std::string&)>(9)(id), manager.encoder);
    EXPECT_TRUE(log.isJust("createVideoEncoderById", &id));

    EXPECT_EQ(slot<std::shared_ptr<VideoDecoder>(const std::string&)>(10)(id), manager.decoder);
    EXPECT_TRUE(log.isJust("createVideoDecoderById", &id));
}

TEST_F(TheSlotsOfACodecManager, EndWithTheQuestions) {
    EXPECT_EQ(slot<std::shared_ptr<VideoCodecExtendedInfo>(const std::string&)>(11)(id),
              manager.extended);
    EXPECT_TRUE(log.isJust("getVideoCodecExtendedInfo", &id));

    const VideoDecoderMetadata toDecode;
    EXPECT_TRUE((
        slot<bool(const std::string&, const VideoDecoderMetadata&, bool)>(12)(id, toDecode, true)));
    EXPECT_TRUE(log.isJust("videoDecoderSupports", &id, &toDecode, true));

    const VideoEncoderMetadata toEncode;
    EXPECT_TRUE((
        slot<bool(const std::string&, const VideoEncoderMetadata&, bool)>(13)(id, toEncode, true)));
    EXPECT_TRUE(log.isJust("videoEncoderSupports", &id, &toEncode, true));
}

// Encoder and decoder hold the operations on settings and on themselves in the same slots.
template <typename Interface>
void expectSettingsInSlots5To7(Interface& codec, CallLog& log) {
    EXPECT_EQ(slotCall<std::string(CodecParameter)>(codec, 5)(quality), "1-100");
    EXPECT_TRUE(log.isJust("getParameterRange", quality));

    EXPECT_EQ(slotCall<std::string(CodecParameter)>(codec, 6)(quality), "75");
    EXPECT_TRUE(log.isJust("getParameter", quality));

    const std::string value = "80";
    EXPECT_TRUE((slotCall<bool(CodecParameter, const std::string&)>(codec, 7)(quality, value)));
    EXPECT_TRUE(log.isJust("setParameter", quality, &value));
}

template <typename Interface, typename Metadata>
void expectRecordsInSlots8To10(RecordingCodec<Interface, Metadata>& codec, CallLog& log) {
    auto& asHost = static_cast<Interface&>(codec);
    EXPECT_EQ(slotCall<VideoCodecInfo()>(asHost, 8)().id, "a codec");
    EXPECT_TRUE(log.isJust("getInfo"));

    codec.extended = std::make_shared<VideoCodecExtendedInfo>();
    EXPECT_EQ(slotCall<std::shared_ptr<VideoCodecExtendedInfo>()>(asHost, 9)(), codec.extended);
    EXPECT_TRUE(log.isJust("getExtendedInfo"));

    const Metadata metadata;
    EXPECT_TRUE(slotCall<bool(const Metadata&)>(asHost, 10)(metadata));
    EXPECT_TRUE(log.isJust("supports", &metadata));
}

TEST(TheSlotsOfAnEncoder, AreInTheOrderOfTheContract) {
    CallLog log;
    RecordingEncoder encoder(log);
    auto& asHost = static_cast<VideoEncoder&>(encoder);
    const VideoEncoderMetadata metadata;
    EXPECT_TRUE(slotCall<bool(const VideoEncoderMetadata&)>(asHost, 2)(metadata));
    EXPECT_TRUE(log.isJust("start", &metadata));

    const YCbCrFrame picture;
    EXPECT_TRUE(slotCall<bool(const YCbCrFrame&)>(asHost, 3)(picture));
    EXPECT_TRUE(log.isJust("encode", &picture));

    encoder.encoded = std::make_shared<EncodedPicture>();
    EXPECT_EQ(slotCall<std::shared_ptr<EncodedPicture>()>(asHost, 4)(), encoder.encoded);
    EXPECT_TRUE(log.isJust("takeEncoded"));

    expectSettingsInSlots5To7(asHost, log);
    expectRecordsInSlots8To10(encoder, log);

    EXPECT_TRUE(slotCall<bool()>(asHost, 11)());
    EXPECT_TRUE(log.isJust("requestKeyPicture"));

    slotCall<void()>(asHost, 12)();
    EXPECT_TRUE(log.isJust("eos"));
}

TEST(TheSlotsOfADecoder, AreInTheOrderOfTheContract) {
    CallLog log;
    RecordingDecoder decoder(log);
    auto& asHost = static_cast<VideoDecoder&>(decoder);
    const VideoDecoderMetadata metadata;
    EXPECT_TRUE(slotCall<bool(const VideoDecoderMetadata&)>(asHost, 2)(metadata));
    EXPECT_TRUE(log.isJust("start", &metadata));

    const std::uint8_t bytes[] = {0xFF, 0xD8};
    EXPECT_TRUE((slotCall<bool(const std::uint8_t*, std::size_t, std::int64_t)>(asHost, 3)(
        bytes, sizeof bytes, -5)));
    EXPECT_TRUE(log.isJust("decode", static_cast<const void*>(bytes), sizeof bytes, -5));

    decoder.picture = std::make_shared<YCbCrFrame>();
    EXPECT_EQ(slotCall<std::shared_ptr<YCbCrFrame>()>(asHost, 4)(), decoder.picture);
    EXPECT_TRUE(log.isJust("takeDecoded"));

    expectSettingsInSlots5To7(asHost, log);
    expectRecordsInSlots8To10(decoder, log);
}

}  // namespace
}  // namespace Nerio::Lumiq
