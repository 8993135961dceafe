// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The capture thread: what it asks of the device for each frame, and what it tells the listener.

#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <thread>

#include "capturing-camera.h"
#include "frame-number.h"

namespace {

using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using Simulator::TracedCall;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::fastCamera;
using TestSupport::fastVga;
using TestSupport::RecordingCameraListener;

class ACapturingCamera : public TestSupport::CapturingFixture {};

TEST_F(ACapturingCamera, DeliversEveryFrameInOrder) {
    std::vector<std::uint32_t> numbers;
    listener.onFrame = [&](const std::shared_ptr<GraphicBuffer>& buffer) {
        const auto frame = buffer->mapFrame();
        const auto& plane = frame->planes[0];
        numbers.push_back(
            Simulator::readFrameNumber(plane.data, plane.stride, plane.width, plane.height, 2)
                .value_or(999999));
    };
    start();
    ASSERT_TRUE(listener.waitForFrames(10));
    opened->stopCapture();
    ASSERT_GE(numbers.size(), 10U);
    EXPECT_NE(numbers[0], 999999U);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_GT(numbers[i], numbers[i - 1]);
    }
}

TEST_F(ACapturingCamera, CallsTheListenerOnAThreadOfItsOwn) {
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    EXPECT_NE(listener.frameThread(), std::this_thread::get_id());
}

TEST_F(ACapturingCamera, StampsFramesWithTheTimeSinceTheStart) {
    const auto before = std::chrono::steady_clock::now();
    start();
    ASSERT_TRUE(listener.waitForFrames(5));
    opened->stopCapture();
    const auto limit = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - before);
    const auto times = listener.timestamps();
    EXPECT_GE(times.front(), 0);
    EXPECT_LE(times.back(), limit.count());
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_GE(times.back() - times.front(), 20'000) << "five frames at a hundred a second";
}

TEST_F(ACapturingCamera, NeedsFourCallsAFrame) {
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    Simulator::startTrace();
    ASSERT_TRUE(listener.waitForFrames(21));
    const auto calls = Simulator::stopTrace();
    // Whole cycles, from one poll to the next.
    std::vector<std::string> cycle;
    std::size_t cycles = 0;
    for (const TracedCall& call : calls) {
        if (call.thread != listener.frameThread()) {
            continue;
        }
        if (call.name == "poll" && !cycle.empty() && cycle.front() == "poll") {
            EXPECT_THAT(cycle, ElementsAre("poll", "VIDIOC_DQBUF", "VIDIOC_QBUF", "sched_yield"));
            ++cycles;
        }
        if (call.name == "poll") {
            cycle.clear();
        }
        cycle.push_back(call.name);
    }
    EXPECT_GE(cycles, 15U);
}

TEST_F(ACapturingCamera, GivesBackTheBufferItTookOnceTheListenerIsDone) {
    // The last call of this thread is the dequeue, when the listener is entered and when it leaves.
    const auto lastOfThisThread = [] {
        std::string last;
        for (const TracedCall& call : Simulator::tracedCalls()) {
            if (call.thread == std::this_thread::get_id()) {
                last = call.name;
            }
        }
        return last;
    };
    listener.onFrame = [&](const auto&) {
        EXPECT_EQ(lastOfThisThread(), "VIDIOC_DQBUF");
        const std::uint64_t made = device().framesMade();
        EXPECT_TRUE(TestSupport::waitUntil([&] { return device().framesMade() > made; }));
        EXPECT_EQ(lastOfThisThread(), "VIDIOC_DQBUF");
    };
    opened = plugAndOpen(fastCamera());
    opened->setListener(&listener);
    Simulator::startTrace();
    ASSERT_TRUE(opened->startCapture(fastVga, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(8));
    opened->stopCapture();
    std::uint32_t taken = 0;
    std::size_t pairs = 0;
    for (const TracedCall& call : Simulator::stopTrace()) {
        if (call.name == "VIDIOC_DQBUF" && call.error == 0) {
            taken = call.index;
        } else if (call.name == "VIDIOC_QBUF" && call.thread == listener.frameThread()) {
            EXPECT_EQ(call.index, taken);
            ++pairs;
        }
    }
    EXPECT_GE(pairs, 8U);
}

TEST_F(ACapturingCamera, GivesTheBufferBackEvenWhenTheHostKeepsTheFrame) {
    std::vector<std::shared_ptr<GraphicBuffer>> kept;
    listener.onFrame = [&](const auto& buffer) { kept.push_back(buffer); };
    start();
    EXPECT_TRUE(listener.waitForFrames(12)) << "there are only four buffers";
    opened->stopCapture();
    EXPECT_THAT(kept, SizeIs(::testing::Ge(12U)));
}

TEST_F(ACapturingCamera, GoesOnTakingFramesWithoutAListener) {
    Simulator::startTrace();
    startWithout();
    EXPECT_TRUE(waitForRequeues(4 + 10));
    Simulator::stopTrace();
}

TEST_F(ACapturingCamera, TakesAListenerInTheMiddle) {
    startWithout();
    opened->setListener(&listener);
    EXPECT_TRUE(listener.waitForFrames(3));
    opened->setListener(nullptr);
    const std::size_t count = listener.frameCount();
    Simulator::startTrace();
    EXPECT_TRUE(waitForRequeues(4));
    Simulator::stopTrace();
    EXPECT_EQ(listener.frameCount(), count);
}

TEST_F(ACapturingCamera, LetsAListenerRemoveItselfFromInsideACall) {
    listener.onFrame = [&](const auto&) { opened->setListener(nullptr); };
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    Simulator::startTrace();
    EXPECT_TRUE(waitForRequeues(4));
    Simulator::stopTrace();
    EXPECT_EQ(listener.frameCount(), 1U);
}

TEST_F(ACapturingCamera, WaitsForARunningCallBeforeItLetsGoOfAListener) {
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> once{false};
    std::atomic<bool> returned{false};
    listener.onFrame = [&](const auto&) {
        if (!once.exchange(true)) {
            entered.set_value();
            release.get_future().wait();
            returned = true;
        }
    };
    start();
    entered.get_future().wait();
    TestSupport::HostThread clearing([&] {
        opened->setListener(nullptr);
        EXPECT_TRUE(returned);
    });
    EXPECT_TRUE(clearing.fallsAsleep());
    EXPECT_FALSE(clearing.isDone());
    release.set_value();
}

TEST_F(ACapturingCamera, DeliversFlaggedAndShortFramesLikeOthers) {
    start(R"({"frame": "error", "every": 2, "count": "always"},
             {"frame": "unflagged", "every": 3, "count": "always"})");
    EXPECT_TRUE(listener.waitForFrames(10));
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapturingCamera, KeepsUpWithTheRestWhenAListenerIsSlow) {
    listener.onFrame = [&](const auto&) {
        const std::uint64_t made = device().framesMade();
        EXPECT_TRUE(TestSupport::waitUntil([&] { return device().framesMade() > made + 6; }));
    };
    start();
    EXPECT_TRUE(listener.waitForFrames(4));
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapturingCamera, CapturesBesideAnother) {
    RecordingCameraListener second;
    start();
    const auto other = plugAndOpen(fastCamera(), "second");
    other->setListener(&second);
    ASSERT_TRUE(other->startCapture(fastVga, PixelFormat::YUYV));
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 10));
    EXPECT_TRUE(second.waitForFrames(10));
    EXPECT_NE(listener.frameThread(), second.frameThread());
    // One leaves, the other goes on.
    device("second").unplug();
    ASSERT_TRUE(second.waitForErrors(1));
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 10));
    EXPECT_THAT(listener.errors(), IsEmpty());
    other->stopCapture();
    other->setListener(nullptr);
}

}  // namespace
