// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Eight threads that take and give back instances of the same codecs, through every operation that
// does so. Made to be run under ThreadSanitizer, too.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "lumiq/log.h"
#include "own-process.h"
#include "scripted-codecs.h"

namespace Nerio::Lumiq::Internal {
namespace {

constexpr int threads = 8;
constexpr int rounds = 300;
constexpr int limit = 3;

// The Debug lines are formed, which reads the counts, and go nowhere.
class Nowhere : private std::streambuf {
public:
    Nowhere() : m_before(std::clog.rdbuf(this)) {}
    ~Nowhere() override { std::clog.rdbuf(m_before); }

private:
    int overflow(int character) override { return traits_type::not_eof(character); }
    std::streamsize xsputn(const char* /*text*/, std::streamsize count) override { return count; }

    std::streambuf* m_before;
};

class EightThreads : public testing::Test {
protected:
    void SetUp() override {
        manager.addCodec(encoder("encoder", CodecType::H264, limit));
        manager.addCodec(decoder("decoder", CodecType::H264, limit));
    }

    // All begin at once.
    template <typename Body>
    void run(int times, Body body) {
        std::barrier start(threads);
        std::vector<std::thread> running;
        for (int number = 0; number < threads; ++number) {
            running.emplace_back([&, number] {
                start.arrive_and_wait();
                for (int round = 0; round < times; ++round) {
                    body(number);
                }
            });
        }
        for (std::thread& thread : running) {
            thread.join();
        }
    }

    // Exactly as many as at first.
    void expectAllBack(const std::string& id) {
        for (int each = 0; each < limit; ++each) {
            EXPECT_TRUE(manager.acquireCodecId(id));
        }
        EXPECT_FALSE(manager.acquireCodecId(id));
    }

    Nowhere log;
    ScriptedCodecManager manager;
};

// Counts those that hold an instance; more than the limit at any moment is a failure.
class Holders {
public:
    void enter() {
        if (++m_now > limit) {
            m_tooMany = true;
        }
        ++m_entered;
    }
    void leave() { --m_now; }
    bool tooMany() const { return m_tooMany; }
    int entered() const { return m_entered; }

private:
    std::atomic<int> m_now{0};
    std::atomic<int> m_entered{0};
    std::atomic<bool> m_tooMany{false};
};

TEST_F(EightThreads, NeverHoldMoreInstancesThanThereAreAndLoseNone) {
    Holders holders;
    run(rounds, [&](int) {
        if (manager.acquireCodecId("encoder")) {
            holders.enter();
            std::this_thread::yield();
            holders.leave();
            manager.releaseCodecId("encoder");
        }
    });
    EXPECT_FALSE(holders.tooMany());
    EXPECT_GE(holders.entered(), limit);
    expectAllBack("encoder");
}

// Where no line is formed, nothing but the registry keeps the threads apart.
TEST_F(EightThreads, ContendForInstancesWithoutTheLogsLockBetweenThem) {
    TestSupport::inAProcessOfItsOwn([this] {
        unsetenv("LUMIQ_NO_SYSLOG");
        unsetenv("LUMIQ_DEBUG");
        LogInit();
        Holders holders;
        run(300 * rounds, [&](int) {
            if (manager.acquireCodecId("encoder")) {
                holders.enter();
                holders.leave();
                manager.releaseCodecId("encoder");
            }
        });
        EXPECT_FALSE(holders.tooMany());
        EXPECT_GE(holders.entered(), limit);
        expectAllBack("encoder");
    });
}

TEST_F(EightThreads, MakeAndDestroyCodecsUpToTheLimit) {
    std::array<Holders, 2> holders;
    run(rounds, [&](int number) {
        const std::size_t kind = static_cast<std::size_t>(number % 2);
        std::shared_ptr<void> codec;
        if (kind == 0) {
            codec = manager.createVideoEncoderById("encoder");
        } else {
            codec = manager.createVideoDecoderById("decoder");
        }
        if (codec) {
            holders.at(kind).enter();
            std::this_thread::yield();
            holders.at(kind).leave();
        }
    });
    EXPECT_FALSE(holders[0].tooMany());
    EXPECT_FALSE(holders[1].tooMany());
    expectAllBack("encoder");
    expectAllBack("decoder");
}

TEST_F(EightThreads, AskWhileOthersTakeAndGiveBack) {
    std::atomic<int> answers{0};
    run(rounds, [&](int number) {
        switch (number) {
            case 0:
                answers += manager.isCodecIdAvailable("encoder") ? 1 : 0;
                break;
            case 1:
                answers += manager.videoDecoderAvailable(CodecType::H264, false) ? 1 : 0;
                break;
            case 2:
                answers += static_cast<int>(manager.listCodecs().size());
                break;
            case 3:
                answers += manager.getVideoCodecExtendedInfo("encoder") ? 1 : 0;
                break;
            case 4:
                answers += manager.videoEncoderSupports("encoder", {}, false) ? 1 : 0;
                break;
            case 5:
                answers += manager.videoDecoderSupports("", {}, false) ? 1 : 0;
                break;
            case 6:
                answers += manager.createVideoDecoder(CodecType::H264, false) ? 1 : 0;
                break;
            default:
                answers += manager.createVideoEncoder(CodecType::H264, false) ? 1 : 0;
        }
    });
    EXPECT_GE(answers, 2 * rounds);
    expectAllBack("encoder");
    expectAllBack("decoder");
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
