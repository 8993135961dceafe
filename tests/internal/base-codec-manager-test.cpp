// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The codecs' registry: what it lists, how it counts instances, and what it chooses. One thread.

#include "lumiq/internal/base-codec-manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "logged-lines.h"
#include "lumiq/log.h"
#include "own-process.h"
#include "recorded-syslog.h"
#include "scripted-codecs.h"

namespace Nerio::Lumiq::Internal {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ACodecManager : public testing::Test {
protected:
    std::vector<std::string> takeCalls() { return std::exchange(m_calls, {}); }

    // How many instances can be taken; gives them back.
    int freeInstances(const std::string& id) {
        int taken = 0;
        while (registry.acquireCodecId(id)) {
            ++taken;
        }
        for (int each = 0; each < taken; ++each) {
            registry.releaseCodecId(id);
        }
        log.take();
        return taken;
    }

    LoggedLines log;
    ScriptedCodecManager registry{[this](const std::string& call) { m_calls.push_back(call); }};
    CodecManager& manager = registry;

private:
    std::vector<std::string> m_calls;
};

TEST_F(ACodecManager, ListsEveryRegistrationInOrder) {
    EXPECT_THAT(manager.listCodecs(), IsEmpty());
    VideoCodecDesc first = encoder("b", CodecType::H264, 3, true);
    first.info.reserved = 77;
    registry.addCodec(first);
    registry.addCodec(decoder("a", CodecType::VP8, 1));
    registry.addCodec(decoder("b", CodecType::AV1, 9));
    const std::vector<VideoCodecInfo> list = manager.listCodecs();
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].id, "b");
    EXPECT_EQ(list[0].type, CodecType::H264);
    EXPECT_TRUE(list[0].isEncoder);
    EXPECT_TRUE(list[0].isHardware);
    EXPECT_EQ(list[0].maxInstances, 3);
    EXPECT_EQ(list[0].reserved, 77U);
    EXPECT_EQ(list[1].id, "a");
    EXPECT_FALSE(list[1].isEncoder);
    EXPECT_FALSE(list[1].isHardware);
    EXPECT_EQ(list[2].id, "b");
    EXPECT_EQ(list[2].type, CodecType::AV1);
    EXPECT_EQ(list[2].maxInstances, 9);
}

TEST_F(ACodecManager, KeepsACopyOfADescription) {
    VideoCodecDesc desc = encoder("a", CodecType::H264, 1);
    registry.addCodec(desc);
    desc.info.id = "changed";
    EXPECT_EQ(manager.listCodecs().at(0).id, "a");
}

TEST_F(ACodecManager, KnowsWhichCodecsHaveAnInstanceLeft) {
    registry.addCodec(encoder("one", CodecType::H264, 1));
    registry.addCodec(encoder("none", CodecType::H264, 0));
    registry.addCodec(encoder("fewer", CodecType::H264, -5));
    EXPECT_TRUE(manager.isCodecIdAvailable("one"));
    EXPECT_FALSE(manager.isCodecIdAvailable("none"));
    EXPECT_FALSE(manager.isCodecIdAvailable("fewer"));
    EXPECT_FALSE(manager.isCodecIdAvailable("on"));
    EXPECT_FALSE(manager.isCodecIdAvailable(""));
    EXPECT_TRUE(registry.acquireCodecId("one"));
    EXPECT_FALSE(manager.isCodecIdAvailable("one"));
    registry.releaseCodecId("one");
    EXPECT_TRUE(manager.isCodecIdAvailable("one"));
}

TEST_F(ACodecManager, TakesTheEmptyIdForOneLikeAnyOther) {
    registry.addCodec(encoder("", CodecType::H264, 1));
    EXPECT_TRUE(manager.isCodecIdAvailable(""));
    EXPECT_NE(manager.createVideoEncoderById(""), nullptr);
}

TEST_F(ACodecManager, LogsTheCountBeforeItChangesIt) {
    registry.addCodec(encoder("a", CodecType::H264, 2));
    EXPECT_TRUE(registry.acquireCodecId("a"));
    EXPECT_TRUE(registry.acquireCodecId("a"));
    EXPECT_FALSE(registry.acquireCodecId("a"));
    registry.releaseCodecId("a");
    EXPECT_THAT(log.take(), ElementsAre("main acquireCodecId:N -- acquire a of 2",
                                        "main acquireCodecId:N -- acquire a of 1",
                                        "main acquireCodecId:N -- acquire a of 0",
                                        "main releaseCodecId:N -- release a of 0"));
}

TEST_F(ACodecManager, SaysNothingOfAnUnknownId) {
    EXPECT_FALSE(registry.acquireCodecId("a"));
    registry.releaseCodecId("a");
    EXPECT_EQ(manager.createVideoEncoderById("a"), nullptr);
    EXPECT_EQ(manager.createVideoDecoderById(""), nullptr);
    EXPECT_EQ(manager.getVideoCodecExtendedInfo("a"), nullptr);
    EXPECT_FALSE(manager.isCodecIdAvailable("a")) << "a release made it known";
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ACodecManager, CountsWithoutAnUpperBound) {
    registry.addCodec(encoder("a", CodecType::H264, 1));
    registry.releaseCodecId("a");
    registry.releaseCodecId("a");
    EXPECT_EQ(freeInstances("a"), 3);
    registry.addCodec(encoder("below", CodecType::H264, -2));
    registry.releaseCodecId("below");
    registry.releaseCodecId("below");
    EXPECT_EQ(freeInstances("below"), 0);
    registry.releaseCodecId("below");
    EXPECT_EQ(freeInstances("below"), 1);
}

TEST_F(ACodecManager, SurvivesTheLastOfAllNumbers) {
    registry.addCodec(encoder("a", CodecType::H264, std::numeric_limits<int>::max()));
    registry.releaseCodecId("a");
    EXPECT_FALSE(manager.isCodecIdAvailable("a"));
    registry.addCodec(encoder("b", CodecType::H264, std::numeric_limits<int>::min()));
    EXPECT_FALSE(registry.acquireCodecId("b"));
}

TEST_F(ACodecManager, KeepsTheFirstLimitOfAnIdAndItsFirstDescription) {
    registry.addCodec(encoder("a", CodecType::H264, 1));
    registry.addCodec(encoder("a", CodecType::VP8, 5, true));
    EXPECT_EQ(freeInstances("a"), 1);
    EXPECT_EQ(manager.createVideoEncoderById("a")->getInfo().type, CodecType::H264);
    // Found by the second description, made from the first.
    EXPECT_TRUE(manager.videoEncoderAvailable(CodecType::VP8, true));
    EXPECT_EQ(manager.createVideoEncoder(CodecType::VP8, true)->getInfo().type, CodecType::H264);
    EXPECT_EQ(freeInstances("a"), 1);
}

TEST_F(ACodecManager, LimitsTheEncodersThatLiveAtOnce) {
    registry.addCodec(encoder("a", CodecType::H264, 1));
    std::shared_ptr<VideoEncoder> first = manager.createVideoEncoderById("a");
    ASSERT_NE(first, nullptr);
    EXPECT_THAT(log.take(), ElementsAre("main acquireCodecId:N -- acquire a of 1"));
    EXPECT_EQ(manager.createVideoEncoderById("a"), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre("main acquireCodecId:N -- acquire a of 0",
                            "main createVideoEncoderById:N -- codec a is not available"));
    first.reset();
    EXPECT_THAT(log.take(), ElementsAre("main releaseCodecId:N -- release a of 0"));
    EXPECT_NE(manager.createVideoEncoderById("a"), nullptr);
}

TEST_F(ACodecManager, LimitsTheDecodersThatLiveAtOnce) {
    registry.addCodec(decoder("a", CodecType::H264, 1));
    std::shared_ptr<VideoDecoder> first = manager.createVideoDecoderById("a");
    ASSERT_NE(first, nullptr);
    log.take();
    EXPECT_EQ(manager.createVideoDecoderById("a"), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre("main acquireCodecId:N -- acquire a of 0",
                            "main createVideoDecoderById:N -- codec a is not available"));
    first.reset();
    EXPECT_THAT(log.take(), ElementsAre("main releaseCodecId:N -- release a of 0"));
    EXPECT_NE(manager.createVideoDecoderById("a"), nullptr);
}

TEST(TheLinesOfACodecManager, HaveTheirLevelsInSyslog) {
    TestSupport::inAProcessOfItsOwn([] {
        unsetenv("LUMIQ_NO_SYSLOG");
        setenv("LUMIQ_DEBUG", "", 1);
        LogInit();
        ScriptedCodecManager manager;
        manager.addCodec(encoder("a", CodecType::H264, 1));
        const auto taken = manager.createVideoEncoderById("a");
        EXPECT_EQ(manager.createVideoEncoderById("a"), nullptr);
        manager.releaseCodecId("a");
        std::vector<int> priorities;
        for (const SyslogRecord& record : syslogRecords()) {
            priorities.push_back(record.priority);
            EXPECT_EQ(record.text.back(), '\n');
        }
        EXPECT_THAT(priorities, ElementsAre(7, 7, 3, 7));
    });
}

TEST_F(ACodecManager, MakesByIdWhatIsAskedForWhateverTheDescriptionSays) {
    registry.addCodec(decoder("a", CodecType::H264, 1));
    registry.addCodec(encoder("b", CodecType::H264, 1));
    EXPECT_NE(manager.createVideoEncoderById("a"), nullptr);
    EXPECT_NE(manager.createVideoDecoderById("b"), nullptr);
    EXPECT_THAT(takeCalls(), ElementsAre("encoder a", "decoder b"));
}

TEST_F(ACodecManager, SaysWhetherAnEncoderOrDecoderOfAKindCanBeHad) {
    registry.addCodec(encoder("soft", CodecType::H264, 1));
    registry.addCodec(encoder("hard", CodecType::VP8, 1, true));
    registry.addCodec(encoder("gone", CodecType::VP9, 0, true));
    registry.addCodec(decoder("read", CodecType::AV1, 1, true));
    EXPECT_TRUE(manager.videoEncoderAvailable(CodecType::H264, false));
    EXPECT_FALSE(manager.videoEncoderAvailable(CodecType::H264, true));
    EXPECT_TRUE(manager.videoEncoderAvailable(CodecType::VP8, false));
    EXPECT_TRUE(manager.videoEncoderAvailable(CodecType::VP8, true));
    EXPECT_FALSE(manager.videoEncoderAvailable(CodecType::VP9, false));
    EXPECT_FALSE(manager.videoEncoderAvailable(CodecType::AV1, false));
    EXPECT_FALSE(manager.videoEncoderAvailable(CodecType::MPEG2, false));
    EXPECT_TRUE(manager.videoDecoderAvailable(CodecType::AV1, false));
    EXPECT_TRUE(manager.videoDecoderAvailable(CodecType::AV1, true));
    EXPECT_FALSE(manager.videoDecoderAvailable(CodecType::H264, false));
    EXPECT_THAT(takeCalls(), IsEmpty()) << "asking makes nothing";
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ACodecManager, MakesTheFirstEncoderOfAKindThatHasAnInstanceLeft) {
    registry.addCodec(decoder("reads", CodecType::H264, 9, true));
    registry.addCodec(encoder("other", CodecType::VP8, 9, true));
    registry.addCodec(encoder("soft", CodecType::H264, 1));
    registry.addCodec(encoder("hard", CodecType::H264, 1, true));
    const auto first = manager.createVideoEncoder(CodecType::H264, false);
    EXPECT_EQ(first->getInfo().id, "soft");
    const auto second = manager.createVideoEncoder(CodecType::H264, false);
    EXPECT_EQ(second->getInfo().id, "hard");
    log.take();
    EXPECT_EQ(manager.createVideoEncoder(CodecType::H264, false), nullptr);
    EXPECT_EQ(manager.createVideoEncoder(CodecType::H264, true), nullptr);
    EXPECT_EQ(manager.createVideoEncoder(CodecType::AV1, false), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ACodecManager, MakesTheFirstDecoderOfAKindThatHasAnInstanceLeft) {
    registry.addCodec(encoder("writes", CodecType::H264, 9, true));
    registry.addCodec(decoder("soft", CodecType::H264, 1));
    registry.addCodec(decoder("hard", CodecType::H264, 1, true));
    const auto first = manager.createVideoDecoder(CodecType::H264, true);
    EXPECT_EQ(first->getInfo().id, "hard");
    const auto second = manager.createVideoDecoder(CodecType::H264, false);
    EXPECT_EQ(second->getInfo().id, "soft");
    EXPECT_EQ(manager.createVideoDecoder(CodecType::H264, false), nullptr);
}

// Its factories give up, before or after they have made an object.
class Failing : public ScriptedCodecManager {
public:
    enum class Way { WithAnObject, GivingBack, Forgetting, Throwing } way = Way::WithAnObject;

protected:
    std::shared_ptr<VideoEncoder> makeVideoEncoder(const VideoCodecDesc& desc) override {
        if (way == Way::WithAnObject) {
            ScriptedEncoder(this, desc);
        } else if (way == Way::GivingBack) {
            releaseCodecId(desc.getInfo().id);
        } else if (way == Way::Throwing) {
            const ScriptedEncoder halfMade(this, desc);
            throw std::runtime_error("no such hardware");
        }
        return {};
    }
};

TEST(AFactoryThatGivesUp, LosesNoInstanceThatItOrItsObjectGivesBack) {
    const LoggedLines log;
    Failing manager;
    manager.addCodec(encoder("a", CodecType::H264, 1));
    for (const auto way : {Failing::Way::WithAnObject, Failing::Way::GivingBack}) {
        manager.way = way;
        EXPECT_EQ(manager.createVideoEncoderById("a"), nullptr);
        EXPECT_TRUE(manager.isCodecIdAvailable("a"));
    }
    manager.way = Failing::Way::Throwing;
    EXPECT_THROW((void)manager.createVideoEncoderById("a"), std::runtime_error);
    EXPECT_TRUE(manager.isCodecIdAvailable("a"));
    manager.way = Failing::Way::Forgetting;
    EXPECT_EQ(manager.createVideoEncoderById("a"), nullptr);
    EXPECT_FALSE(manager.isCodecIdAvailable("a"));
}

// A back end that has its own idea of what is free and how codecs are made.
class SelfWilled : public ScriptedCodecManager {
public:
    bool isCodecIdAvailable(const std::string& id) const override { return id == "b"; }
    std::shared_ptr<VideoEncoder> createVideoEncoderById(const std::string& id) override {
        asked.push_back(id);
        return {};
    }
    std::shared_ptr<VideoDecoder> createVideoDecoderById(const std::string& id) override {
        asked.push_back(id);
        return {};
    }

    std::vector<std::string> asked;
};

TEST(ABackEndsOwnOperations, AreWhatTheRegistryCalls) {
    SelfWilled manager;
    for (const char* const id : {"a", "b"}) {
        manager.addCodec(encoder(id, CodecType::H264, 1));
        manager.addCodec(decoder(id, CodecType::VP8, 1));
    }
    EXPECT_EQ(manager.createVideoEncoder(CodecType::H264, false), nullptr);
    EXPECT_EQ(manager.createVideoDecoder(CodecType::VP8, false), nullptr);
    EXPECT_EQ(manager.getVideoCodecExtendedInfo("c"), nullptr);
    EXPECT_FALSE(manager.videoEncoderSupports("d", {}, false));
    EXPECT_FALSE(manager.videoDecoderSupports("", {}, false));
    EXPECT_THAT(manager.asked, ElementsAre("b", "b", "c", "c", "d", "a", "b", "a", "b"));
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
