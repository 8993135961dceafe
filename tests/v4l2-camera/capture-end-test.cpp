// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the capture thread ends, or goes on, when something fails.

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>

#include "capturing-camera.h"

namespace {

using Nerio::Lumiq::PixelFormat;
using Simulator::TracedCall;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::fastVga;

constexpr const char* stalled = R"({"frame": "stall"})";

class ACapture : public TestSupport::CapturingFixture {};

TEST_F(ACapture, StopsPromptlyWhileWaitingForAFrame) {
    std::atomic<pid_t> thread{0};
    listener.onFrame = [&](const auto&) { thread = ::gettid(); };
    Simulator::startTrace();
    start(R"({"frame": "stall", "first": 2})");
    // The one frame has been given back, and the thread sleeps: it waits for the next.
    ASSERT_TRUE(waitForRequeues(4 + 1));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return TestSupport::isAsleep(thread); }));
    Simulator::stopTrace();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(opened->stopCapture());
    // Nobody waits for the ten seconds that the camera has to deliver something.
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_EQ(log.count("loop: Wakeup i/o thread"), 1U);
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapture, SaysTimeoutOnceWhenNoFrameComesForTenSeconds) {
    start(stalled);
    const auto before = std::chrono::steady_clock::now();
    ASSERT_TRUE(listener.waitForErrors(1));
    const auto waited = std::chrono::steady_clock::now() - before;
    EXPECT_THAT(listener.errors(), ElementsAre("timeout"));
    EXPECT_GT(waited, std::chrono::seconds(9));
    EXPECT_TRUE(opened->captureStarted()) << "until the host stops it";
    // The stream goes on, but nobody takes its frames any more.
    device().clearFaults();
    const std::uint64_t made = device().framesMade();
    EXPECT_TRUE(TestSupport::waitUntil([&] { return device().framesMade() > made + 2; }));
    EXPECT_EQ(listener.frameCount(), 0U);
    EXPECT_THAT(listener.errors(), SizeIs(1));
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_TRUE(opened->startCapture(fastVga, PixelFormat::YUYV));
    EXPECT_TRUE(listener.waitForFrames(1));
}

TEST_F(ACapture, SaysErrorReventsOnceWhenTheStreamBreaks) {
    start();
    ASSERT_TRUE(listener.waitForFrames(3));
    device().setFault(R"({"frame": "broken"})");
    ASSERT_TRUE(listener.waitForErrors(1));
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 8"));
    EXPECT_EQ(listener.errorThread(), listener.frameThread());
    EXPECT_TRUE(opened->captureStarted());
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_THAT(listener.errors(), SizeIs(1));
}

TEST_F(ACapture, SaysErrorReventsOnceWhenTheCameraIsUnplugged) {
    start(R"({"frame": "unplug", "first": 4})");
    ASSERT_TRUE(listener.waitForErrors(1));
    // POLLERR and POLLHUP.
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 24"));
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_THAT(listener.errors(), SizeIs(1));
    EXPECT_EQ(log.count("freeBuffers: VIDIOC_STREAMOFF failed: No such device(19)"), 1U);
    EXPECT_TRUE(closesEverything());
}

TEST_F(ACapture, WakesAtOnceWhenItIsUnpluggedWhileItWaits) {
    start(stalled);
    const auto before = std::chrono::steady_clock::now();
    device().unplug();
    ASSERT_TRUE(listener.waitForErrors(1));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 24"));
}

TEST_F(ACapture, EndsSilentlyWithoutAListenerWhenItIsUnplugged) {
    startWithout(R"({"frame": "unplug", "first": 2})");
    EXPECT_TRUE(device().waitUntilUnplugged(TestSupport::waitLimit));
    EXPECT_TRUE(opened->stopCapture());
}

TEST_F(ACapture, ReportsAFailedWaitAndGoesOn) {
    Simulator::startTrace();
    start(R"({"call": "poll", "errno": "ENOMEM", "first": 3, "count": 1})");
    ASSERT_TRUE(listener.waitForErrors(1));
    ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 3));
    std::vector<std::string> calls;
    bool failed = false;
    for (const TracedCall& call : Simulator::stopTrace()) {
        failed = failed || (call.name == "poll" && call.error == ENOMEM);
        if (failed && call.thread == listener.frameThread()) {
            calls.push_back(call.name);
        }
    }
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[1], "VIDIOC_DQBUF") << "there may be a frame all the same";
    EXPECT_THAT(listener.errors(), ElementsAre("Cannot allocate memory"));
    EXPECT_EQ(log.count("loop: Camera loop: Cannot allocate memory"), 1U);
}

TEST_F(ACapture, SaysNothingOfSignals) {
    start(R"({"call": "poll", "errno": "EINTR", "every": 2, "count": "always"},
             {"call": "VIDIOC_DQBUF", "errno": "EINTR", "every": 3, "count": "always"})");
    EXPECT_TRUE(listener.waitForFrames(10));
    EXPECT_THAT(listener.errors(), IsEmpty());
    for (const std::string& message : log.messages()) {
        EXPECT_EQ(message.find("Interrupted"), std::string::npos) << message;
    }
}

TEST_F(ACapture, LogsAFailedDequeueAndCarriesOn) {
    Simulator::startTrace();
    start(R"({"call": "VIDIOC_DQBUF", "errno": "EIO", "first": 3, "count": 1})");
    ASSERT_TRUE(listener.waitForFrames(8));
    const auto calls = Simulator::stopTrace();
    const auto failed = std::find_if(calls.begin(), calls.end(), [](const TracedCall& call) {
        return call.name == "VIDIOC_DQBUF" && call.error == EIO;
    });
    const auto next = std::find_if(
        failed, calls.end(), [](const TracedCall& call) { return call.name == "VIDIOC_QBUF"; });
    ASSERT_NE(next, calls.end());
    EXPECT_EQ(next->index, 0U) << "the driver named no buffer";
    EXPECT_EQ(log.count("loop: VIDIOC_DQBUF failed: Input/output error(5)"), 1U);
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapture, DeliversAFrameAlsoAfterAFailedDequeue) {
    const auto dequeueFailed = [] {
        const auto calls = TestSupport::ofThisThread(Simulator::tracedCalls());
        return !calls.empty() && calls.back().name == "VIDIOC_DQBUF" && calls.back().error == EIO;
    };
    std::atomic<std::size_t> deliveries{0};
    listener.onFrame = [&](const auto& buffer) {
        if (dequeueFailed()) {
            // The driver named no buffer: it is the first.
            EXPECT_NE(buffer->mapFrame()->planes[0].data, nullptr);
            ++deliveries;
        }
    };
    Simulator::startTrace();
    start(R"({"call": "VIDIOC_DQBUF", "errno": "EIO", "first": 3, "count": 2})");
    ASSERT_TRUE(listener.waitForFrames(6));
    Simulator::stopTrace();
    EXPECT_EQ(deliveries, 2U);
}

TEST_F(ACapture, EndsWithOneErrorWhenTheCameraIsUnpluggedInsideAFrameCall) {
    listener.onFrame = [&](const auto&) {
        if (listener.frameCount() == 2) {
            device().unplug();
        }
    };
    Simulator::startTrace();
    start();
    ASSERT_TRUE(listener.waitForErrors(1));
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_EQ(listener.frameCount(), 3U);
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 24"));
    EXPECT_EQ(log.count("loop: VIDIOC_QBUF failed: No such device(19)"), 1U);
    std::vector<std::string> afterTheFailure;
    bool failed = false;
    for (const TracedCall& call : Simulator::stopTrace()) {
        if (failed && call.thread == listener.frameThread()) {
            afterTheFailure.push_back(call.name);
        }
        failed = failed || (call.name == "VIDIOC_QBUF" && call.error == ENODEV);
    }
    EXPECT_THAT(afterTheFailure, ElementsAre("sched_yield", "poll"));
}

TEST_F(ACapture, LogsAFailedRequeueAndCarriesOn) {
    start(R"({"call": "VIDIOC_QBUF", "errno": "EIO", "first": 6, "count": 1})");
    ASSERT_TRUE(listener.waitForFrames(8));
    EXPECT_EQ(log.count("loop: VIDIOC_QBUF failed: Input/output error(5)"), 1U);
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapture, DeliversNothingForABufferThatIsNone) {
    std::atomic<bool> sound{true};
    listener.onFrame = [&](const auto& buffer) {
        const auto frame = buffer->mapFrame();
        sound = sound && frame->planes[0].data != nullptr;
    };
    start(R"({"call": "VIDIOC_DQBUF", "index": 4, "first": 3, "count": 2})");
    ASSERT_TRUE(listener.waitForFrames(6));
    EXPECT_TRUE(sound);
    EXPECT_EQ(log.count("loop: VIDIOC_DQBUF gave buffer 4 of 4"), 2U);
}

}  // namespace
