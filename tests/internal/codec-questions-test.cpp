// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the codecs' registry answers by making a codec for a moment and asking it. One thread.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "logged-lines.h"
#include "scripted-codecs.h"

namespace Nerio::Lumiq::Internal {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr VideoEncoderMetadata vga{CodecType::H264, 640, 480, 0};
constexpr VideoEncoderMetadata tooSmall{CodecType::H264, 63, 480, 0};
constexpr VideoDecoderMetadata vgaToRead{CodecType::H264, 640, 480};
constexpr VideoDecoderMetadata tooSmallToRead{CodecType::H264, 63, 480};

class AQuestionToTheRegistry : public testing::Test {
protected:
    std::vector<std::string> takeCalls() { return std::exchange(m_calls, {}); }

    LoggedLines log;
    ScriptedCodecManager registry{[this](const std::string& call) { m_calls.push_back(call); }};
    CodecManager& manager = registry;

private:
    std::vector<std::string> m_calls;
};

TEST_F(AQuestionToTheRegistry, TellsWhatAnEncoderSaysOfItselfAndGivesItBack) {
    registry.addCodec(encoder("a", CodecType::H264, 1, true));
    for (int round = 0; round < 2; ++round) {
        const auto extended = manager.getVideoCodecExtendedInfo("a");
        ASSERT_NE(extended, nullptr);
        EXPECT_EQ(extended->info.id, "a");
        EXPECT_EQ(extended->info.type, CodecType::H264);
        EXPECT_TRUE(extended->info.isHardware);
        EXPECT_EQ(extended->sizeRange.min.width, 64);
        EXPECT_EQ(extended->sizeRange.min.height, 64);
        EXPECT_EQ(extended->sizeRange.max.width, 1920);
        EXPECT_EQ(extended->sizeRange.max.height, 1080);
        EXPECT_EQ(extended->alignment.width, 2);
        EXPECT_EQ(extended->alignment.height, 2);
    }
    EXPECT_THAT(log.take(), ElementsAre("main acquireCodecId:N -- acquire a of 1",
                                        "main releaseCodecId:N -- release a of 0",
                                        "main acquireCodecId:N -- acquire a of 1",
                                        "main releaseCodecId:N -- release a of 0"));
}

TEST_F(AQuestionToTheRegistry, TriesTwiceToTellWhatAnEncoderSaysOfItself) {
    registry.addCodec(encoder("a", CodecType::H264, 0));
    EXPECT_EQ(manager.getVideoCodecExtendedInfo("a"), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre("main acquireCodecId:N -- acquire a of 0",
                            "main createVideoEncoderById:N -- codec a is not available",
                            "main acquireCodecId:N -- acquire a of 0",
                            "main createVideoEncoderById:N -- codec a is not available"));
}

// Makes no encoder of a decoder's description, as a back end should.
class Particular : public ScriptedCodecManager {
public:
    int encodersAsked = 0;

protected:
    std::shared_ptr<VideoEncoder> makeVideoEncoder(const VideoCodecDesc& desc) override {
        ++encodersAsked;
        if (!desc.getInfo().isEncoder) {
            releaseCodecId(desc.getInfo().id);
            return {};
        }
        return ScriptedCodecManager::makeVideoEncoder(desc);
    }
    std::shared_ptr<VideoDecoder> makeVideoDecoder(const VideoCodecDesc& /*desc*/) override {
        ADD_FAILURE() << "a decoder was asked for";
        return {};
    }
};

TEST(ADecodersId, GetsNoExtendedInfoThoughTheEncoderFactoryIsAskedTwice) {
    const LoggedLines log;
    Particular manager;
    manager.addCodec(decoder("a", CodecType::H264, 1));
    EXPECT_EQ(manager.getVideoCodecExtendedInfo("a"), nullptr);
    EXPECT_EQ(manager.encodersAsked, 2);
    EXPECT_TRUE(manager.isCodecIdAvailable("a"));
}

TEST_F(AQuestionToTheRegistry, IsAnsweredByTheEncoderThatItNames) {
    registry.addCodec(encoder("a", CodecType::H264, 1));
    registry.addCodec(encoder("b", CodecType::H264, 1));
    EXPECT_TRUE(manager.videoEncoderSupports("b", vga, false));
    EXPECT_THAT(takeCalls(), ElementsAre("encoder b", "ask b"));
    EXPECT_THAT(log.take(), ElementsAre("main acquireCodecId:N -- acquire b of 1",
                                        "main releaseCodecId:N -- release b of 0"));
    // Its no is the answer, whatever others could do.
    EXPECT_FALSE(manager.videoEncoderSupports("b", tooSmall, false));
    EXPECT_THAT(takeCalls(), ElementsAre("encoder b", "ask b"));
}

TEST_F(AQuestionToTheRegistry, IsAnsweredByTheDecoderThatItNames) {
    registry.addCodec(decoder("a", CodecType::H264, 1));
    registry.addCodec(decoder("b", CodecType::H264, 1));
    EXPECT_TRUE(manager.videoDecoderSupports("b", vgaToRead, false));
    EXPECT_FALSE(manager.videoDecoderSupports("b", tooSmallToRead, false));
    EXPECT_THAT(takeCalls(), ElementsAre("decoder b", "ask b", "decoder b", "ask b"));
}

TEST_F(AQuestionToTheRegistry, ForHardwareGetsNoFromASoftwareCodecWithoutAskingIt) {
    registry.addCodec(encoder("soft", CodecType::H264, 1));
    registry.addCodec(encoder("hard", CodecType::H264, 1, true));
    EXPECT_FALSE(manager.videoEncoderSupports("soft", vga, true));
    EXPECT_THAT(takeCalls(), ElementsAre("encoder soft"));
    EXPECT_TRUE(manager.videoEncoderSupports("hard", vga, true));
    EXPECT_TRUE(manager.isCodecIdAvailable("soft"));

    registry.addCodec(decoder("soft reader", CodecType::H264, 1));
    takeCalls();
    EXPECT_FALSE(manager.videoDecoderSupports("soft reader", vgaToRead, true));
    EXPECT_THAT(takeCalls(), ElementsAre("decoder soft reader"));
}

TEST_F(AQuestionToTheRegistry, WithoutAnIdGoesThroughTheEncodersInOrderUpToTheFirstYes) {
    registry.addCodec(decoder("reads", CodecType::H264, 1));
    registry.addCodec(encoder("other", CodecType::VP8, 1));
    registry.addCodec(encoder("gone", CodecType::H264, 0));
    registry.addCodec(encoder("first", CodecType::H264, 1));
    registry.addCodec(encoder("second", CodecType::H264, 1));
    EXPECT_TRUE(manager.videoEncoderSupports("", vga, false));
    EXPECT_THAT(takeCalls(),
                ElementsAre("encoder other", "ask other", "encoder first", "ask first"));
    EXPECT_FALSE(manager.videoEncoderSupports("", tooSmall, false));
    EXPECT_THAT(takeCalls(), SizeIs(6));
}

TEST_F(AQuestionToTheRegistry, WithoutAnIdGoesThroughTheDecodersInOrderUpToTheFirstYes) {
    registry.addCodec(encoder("writes", CodecType::H264, 1));
    registry.addCodec(decoder("other", CodecType::VP8, 1));
    registry.addCodec(decoder("first", CodecType::H264, 1));
    registry.addCodec(decoder("second", CodecType::H264, 1));
    EXPECT_TRUE(manager.videoDecoderSupports("", vgaToRead, false));
    EXPECT_THAT(takeCalls(),
                ElementsAre("decoder other", "ask other", "decoder first", "ask first"));
    EXPECT_FALSE(manager.videoDecoderSupports("", tooSmallToRead, false));
    EXPECT_THAT(takeCalls(), SizeIs(6));
}

TEST_F(AQuestionToTheRegistry, GivesEachCodecBackBeforeItMakesTheNext) {
    // Two descriptions share one instance.
    registry.addCodec(encoder("a", CodecType::VP8, 1));
    registry.addCodec(encoder("a", CodecType::H264, 7));
    EXPECT_FALSE(manager.videoEncoderSupports("", vga, false));
    // Both are made from the first.
    EXPECT_THAT(takeCalls(), ElementsAre("encoder a", "ask a", "encoder a", "ask a"));
    EXPECT_TRUE(manager.isCodecIdAvailable("a"));
}

TEST_F(AQuestionToTheRegistry, GoesToTheOthersWhenTheCodecThatItNamesCannotBeHad) {
    registry.addCodec(encoder("gone", CodecType::H264, 0));
    registry.addCodec(encoder("there", CodecType::H264, 1));
    for (const char* const id : {"gone", "unknown"}) {
        EXPECT_TRUE(manager.videoEncoderSupports(id, vga, false));
        EXPECT_THAT(takeCalls(), ElementsAre("encoder there", "ask there"));
    }
    registry.addCodec(decoder("reads", CodecType::H264, 1));
    EXPECT_TRUE(manager.videoDecoderSupports("gone", vgaToRead, false));
    EXPECT_THAT(takeCalls(), ElementsAre("decoder reads", "ask reads"));
}

TEST_F(AQuestionToTheRegistry, ForHardwareLeavesSoftwareCodecsOut) {
    registry.addCodec(encoder("soft", CodecType::H264, 1));
    registry.addCodec(decoder("soft reader", CodecType::H264, 1));
    EXPECT_FALSE(manager.videoEncoderSupports("", vga, true));
    EXPECT_FALSE(manager.videoDecoderSupports("unknown", vgaToRead, true));
    EXPECT_THAT(takeCalls(), IsEmpty());
    registry.addCodec(encoder("hard", CodecType::H264, 1, true));
    EXPECT_TRUE(manager.videoEncoderSupports("", vga, true));
    EXPECT_THAT(takeCalls(), ElementsAre("encoder hard", "ask hard"));
}

TEST_F(AQuestionToTheRegistry, FindsNothingWhereNothingIsRegistered) {
    EXPECT_FALSE(manager.videoEncoderSupports("", vga, false));
    EXPECT_FALSE(manager.videoDecoderSupports("a", vgaToRead, true));
    EXPECT_FALSE(manager.videoEncoderAvailable(CodecType::H264, false));
    EXPECT_EQ(manager.createVideoDecoder(CodecType::H264, false), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
