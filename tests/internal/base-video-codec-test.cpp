// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What encoders and decoders have in common: the sizes they support, their settings, and how they
// give their instance back. One thread.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

#include "logged-lines.h"
#include "lumiq/internal/number-parameters.h"
#include "lumiq/internal/read-only-parameter.h"
#include "scripted-codecs.h"

namespace Nerio::Lumiq::Internal {
namespace {

static_assert(std::is_nothrow_destructible_v<BaseVideoEncoder>);
static_assert(std::is_nothrow_destructible_v<BaseVideoDecoder>);
static_assert(std::is_abstract_v<BaseVideoEncoder>);
static_assert(std::is_abstract_v<BaseVideoDecoder>);

constexpr SizeRange hd{{64, 64}, {1920, 1080}};

struct Question {
    SizeRange range;
    std::int32_t width;
    std::int32_t height;
    bool answer;
};

class ASupportedSize : public testing::TestWithParam<Question> {
protected:
    VideoCodecDesc desc() const {
        return {{CodecType::H264, true, "a", 0, 1, false}, GetParam().range, {1, 1}};
    }
};

TEST_P(ASupportedSize, IsTheSameForEncodersAndDecoders) {
    const auto& [range, width, height, answer] = GetParam();
    const ScriptedEncoder encoder(nullptr, desc());
    const ScriptedDecoder decoder(nullptr, desc());
    EXPECT_EQ(encoder.supports({CodecType::H264, width, height, 0}), answer);
    EXPECT_EQ(decoder.supports({CodecType::H264, width, height}), answer);
    // An encoder's pictures are as wide as their rows are apart, where that is said.
    if (width != 0) {
        EXPECT_EQ(encoder.supports({CodecType::H264, 1, height, width}), answer);
    }
    EXPECT_FALSE(encoder.supports({CodecType::VP8, width, height, 0}));
    EXPECT_FALSE(decoder.supports({CodecType::VP8, width, height}));
}

INSTANTIATE_TEST_SUITE_P(
    Usual, ASupportedSize,
    testing::Values(Question{hd, 1920, 1080, true}, Question{hd, 1921, 1080, false},
                    Question{hd, 1920, 1081, false}, Question{hd, 3840, 540, true},
                    Question{hd, 540, 3840, true}, Question{hd, 3841, 540, false},
                    Question{hd, 32400, 64, true}, Question{hd, 32401, 64, false},
                    Question{hd, 64, 64, true}, Question{hd, 63, 64, false},
                    Question{hd, 64, 63, false}, Question{hd, 0, 0, false},
                    Question{hd, -64, -64, false}, Question{hd, 640, -480, false}));

INSTANTIATE_TEST_SUITE_P(RangesThatSayNone, ASupportedSize,
                         testing::Values(Question{{{-1, 64}, {1920, 1080}}, 640, 480, false},
                                         Question{{{64, -1}, {1920, 1080}}, 640, 480, false},
                                         Question{{{64, 64}, {-1, 1080}}, 640, 480, false},
                                         Question{{{64, 64}, {1920, -1}}, 640, 480, false},
                                         // Two negative numbers make a positive area.
                                         Question{{{64, 64}, {-1920, -1080}}, 640, 480, false},
                                         Question{{{64, 64}, {-1, -1}}, 64, 64, false},
                                         // Where the area says nothing.
                                         Question{{{0, 0}, {-1, 0}}, 0, 0, false},
                                         Question{{{0, 0}, {0, -1}}, 0, 0, false}));

// Nothing has no area, however wide it is.
INSTANTIATE_TEST_SUITE_P(RangesOfNothing, ASupportedSize,
                         testing::Values(Question{{}, 0, 0, true}, Question{{}, 1000, 0, true},
                                         Question{{}, 1, 1, false}, Question{{}, -1, 0, false}));

constexpr std::int32_t highest = 2147483647;

// Areas are numbers of 32 bits with a sign.
INSTANTIATE_TEST_SUITE_P(AreasThatWrapAround, ASupportedSize,
                         testing::Values(Question{{{1, 1}, {65536, 65536}}, 1, 1, false},
                                         Question{{{1, 1}, {65536, 65536}}, 65536, 65536, true},
                                         Question{{{1, 1}, {46341, 46341}}, 1, 1, false},
                                         Question{{{1, 1}, {46340, 46340}}, 46340, 46340, true},
                                         Question{{{1, 1}, {46340, 46340}}, 46341, 46341, true},
                                         Question{{{1, 1}, {1, 1}}, 65536, 65536, true},
                                         Question{{{1, 1}, {highest, highest}}, 1, 1, true},
                                         Question{{{1, 1}, {highest, 1}}, highest, 1, true},
                                         Question{{{1, 1}, {highest, 1}}, highest, highest, true}));

class ACodec : public testing::Test {
protected:
    static constexpr auto quality = static_cast<CodecParameter>(4000000000U);
    static constexpr auto version = static_cast<CodecParameter>(2);
    static constexpr auto unknown = static_cast<CodecParameter>(3);

    static void fill(ParameterSet& parameters) {
        EXPECT_EQ(parameters.find(2), nullptr) << "the settings are not empty at first";
        parameters.registerParameter(4000000000U, new IntParameter(1, 100, 75));
        parameters.registerParameter(2, new ReadOnlyParameter("1.0"));
    }

    template <typename Codec>
    static void expectSettings(Codec& codec) {
        EXPECT_EQ(codec.getParameterRange(quality), "1-100");
        EXPECT_EQ(codec.getParameter(quality), "75");
        EXPECT_TRUE(codec.setParameter(quality, "80"));
        EXPECT_FALSE(codec.setParameter(quality, "101"));
        EXPECT_EQ(codec.getParameter(quality), "80");
        EXPECT_FALSE(codec.setParameter(version, "2.0"));
        EXPECT_EQ(codec.getParameter(version), "1.0");
        EXPECT_EQ(codec.getParameterRange(unknown), "");
        EXPECT_EQ(codec.getParameter(unknown), "");
        EXPECT_FALSE(codec.setParameter(unknown, ""));
    }

    template <typename Codec>
    static void expectToSayWhatItIs(const Codec& codec) {
        EXPECT_EQ(codec.getInfo().id, "a");
        const auto extended = codec.getExtendedInfo();
        ASSERT_NE(extended, nullptr);
        EXPECT_EQ(extended->info.id, "a");
        EXPECT_EQ(extended->sizeRange.max.height, 1080);
        EXPECT_EQ(extended->alignment.width, 2);
        EXPECT_NE(codec.getExtendedInfo(), extended) << "two callers share a record";
    }

    LoggedLines log;
    ScriptedCodecManager manager;
};

TEST_F(ACodec, KeepsItsSettings) {
    ScriptedEncoder encoder(nullptr, Internal::encoder("a", CodecType::H264, 1));
    fill(encoder.parameters());
    expectSettings<VideoEncoder>(encoder);
    ScriptedDecoder decoder(nullptr, Internal::decoder("a", CodecType::H264, 1));
    fill(decoder.parameters());
    expectSettings<VideoDecoder>(decoder);
}

TEST_F(ACodec, SaysWhatItIsEvenWhenTheDescriptionItCameFromIsGone) {
    auto desc = std::make_unique<VideoCodecDesc>(Internal::encoder("a", CodecType::H264, 1));
    const ScriptedEncoder encoder(nullptr, *desc);
    const ScriptedDecoder decoder(nullptr, *desc);
    desc.reset();
    expectToSayWhatItIs<VideoEncoder>(encoder);
    expectToSayWhatItIs<VideoDecoder>(decoder);
}

TEST_F(ACodec, GivesItsInstanceBackToItsManager) {
    manager.addCodec(Internal::encoder("a", CodecType::H264, 0));
    { const ScriptedEncoder encoder(&manager, Internal::encoder("a", CodecType::H264, 0)); }
    { const ScriptedDecoder decoder(&manager, Internal::encoder("a", CodecType::H264, 0)); }
    EXPECT_EQ(log.take(), (std::vector<std::string>{"main releaseCodecId:N -- release a of 0",
                                                    "main releaseCodecId:N -- release a of 1"}));
}

TEST_F(ACodec, NeedsNoManager) {
    { const ScriptedEncoder encoder(nullptr, Internal::encoder("a", CodecType::H264, 1)); }
    { const ScriptedDecoder decoder(nullptr, Internal::decoder("a", CodecType::H264, 1)); }
    EXPECT_TRUE(log.take().empty());
}

// Looks, as it is deleted, whether the instance has been given back.
class LastLook : public Parameter {
public:
    LastLook(const CodecManager& manager, bool& givenBack)
        : m_manager(manager), m_givenBack(givenBack) {}
    ~LastLook() override { m_givenBack = m_manager.isCodecIdAvailable("a"); }

private:
    const CodecManager& m_manager;
    bool& m_givenBack;
};

TEST_F(ACodec, GivesItsInstanceBackBeforeItsSettingsGo) {
    manager.addCodec(Internal::encoder("a", CodecType::H264, 0));
    bool givenBack = false;
    {
        ScriptedEncoder encoder(&manager, Internal::encoder("a", CodecType::H264, 0));
        encoder.parameters().registerParameter(1, new LastLook(manager, givenBack));
    }
    EXPECT_TRUE(givenBack);
    ASSERT_TRUE(manager.acquireCodecId("a"));
    givenBack = false;
    {
        ScriptedDecoder decoder(&manager, Internal::decoder("a", CodecType::H264, 0));
        decoder.parameters().registerParameter(1, new LastLook(manager, givenBack));
    }
    EXPECT_TRUE(givenBack);
}

TEST_F(ACodec, DoesNothingAtTheEndOfTheStreamUnlessItHasPicturesToGive) {
    ScriptedEncoder encoder(nullptr, Internal::encoder("a", CodecType::H264, 1));
    VideoEncoder& asHost = encoder;
    asHost.eos();
    asHost.eos();
    EXPECT_EQ(asHost.takeEncoded(), nullptr);
    EXPECT_TRUE(log.take().empty());
}

// Wider than it registered.
class Widened : public VideoCodecDesc {
public:
    using VideoCodecDesc::VideoCodecDesc;
    SizeRange getSizeRange() const override { return {{1, 1}, {100, 100}}; }
    Size getAlignment() const override { return {16, 16}; }
};

TEST(ADescription, AnswersWithItsFields) {
    VideoCodecDesc desc({CodecType::AV1, true, "a", 5, 2, true}, hd, {4, 8});
    EXPECT_EQ(&desc.getInfo(), &desc.info);
    EXPECT_EQ(desc.getInfo().reserved, 5U);
    EXPECT_EQ(desc.getSizeRange().max.width, 1920);
    EXPECT_EQ(desc.getAlignment().width, 4);
    EXPECT_EQ(desc.getAlignment().height, 8);
    desc.sizeRange.max.width = 7;
    EXPECT_EQ(desc.getSizeRange().max.width, 7);
}

TEST(ADescription, IsCopiedWithoutWhatADerivedClassAdds) {
    const Widened desc({CodecType::H264, true, "a", 0, 1, false}, {{8, 8}, {8, 8}}, {2, 2});
    ASSERT_EQ(desc.getSizeRange().max.width, 100);
    const ScriptedEncoder encoder(nullptr, desc);
    EXPECT_FALSE(encoder.supports({CodecType::H264, 100, 100, 0}));
    EXPECT_TRUE(encoder.supports({CodecType::H264, 8, 8, 0}));
    EXPECT_EQ(encoder.getExtendedInfo()->alignment.width, 2);
}

TEST(ADescription, IsEmptyAtFirst) {
    const VideoCodecDesc desc;
    EXPECT_EQ(desc.getInfo().id, "");
    EXPECT_EQ(desc.getSizeRange().max.width, 0);
    EXPECT_EQ(desc.getAlignment().height, 0);
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
