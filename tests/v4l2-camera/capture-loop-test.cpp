// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The capture thread: what it asks of the device for each frame, what it tells the listener, and
// how it ends.

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <future>

#include "camera-fixture.h"
#include "frame-number.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using Simulator::TracedCall;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::CameraFixture;
using TestSupport::RecordingCameraListener;

constexpr CameraCapabilityEx vga{640, 480, {100, 1}};

std::string camera(const std::string& fault = "") {
    return R"({"name": "Loop", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"]}], "faults": [)" +
           fault + "]}";
}

constexpr const char* stalled = R"({"frame": "stall"})";

class ACapturingCamera : public CameraFixture {
protected:
    RecordingCameraListener listener;
    std::shared_ptr<Camera> opened;

    void start(const std::string& fault = "") {
        opened = plugAndOpen(camera(fault));
        opened->setListener(&listener);
        ASSERT_TRUE(opened->startCapture(vga, PixelFormat::YUYV));
    }

    void startWithout(const std::string& fault = "") {
        opened = plugAndOpen(camera(fault));
        ASSERT_TRUE(opened->startCapture(vga, PixelFormat::YUYV));
    }

    ~ACapturingCamera() override {
        if (opened) {
            opened->stopCapture();
            opened->setListener(nullptr);
        }
    }

    /// Waits until the capture thread has handed back this many buffers since the trace began.
    static bool waitForRequeues(std::size_t count) {
        return TestSupport::waitUntil([count] {
            const auto calls = Simulator::tracedCalls();
            return std::count_if(calls.begin(), calls.end(), [](const TracedCall& call) {
                       return call.name == "VIDIOC_QBUF";
                   }) >= static_cast<std::ptrdiff_t>(count);
        });
    }
};

// True while the kernel has this thread of ours asleep (proc(5), /proc/pid/task/tid/stat).
bool isAsleep(pid_t thread) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(stat, text);
    const auto name = text.rfind(") ");
    return name != std::string::npos && text.size() > name + 2 && text[name + 2] == 'S';
}

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
    std::mutex mutex;
    std::size_t requeuesInside = 0;
    listener.onFrame = [&](const auto&) {
        const auto before = Simulator::tracedCalls().size();
        const auto inside = Simulator::tracedCalls();
        const std::lock_guard lock(mutex);
        requeuesInside += static_cast<std::size_t>(
            std::count_if(inside.begin() + static_cast<std::ptrdiff_t>(before), inside.end(),
                          [](const auto& call) { return call.name == "VIDIOC_QBUF"; }));
    };
    opened = plugAndOpen(camera());
    opened->setListener(&listener);
    Simulator::startTrace();
    ASSERT_TRUE(opened->startCapture(vga, PixelFormat::YUYV));
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
    EXPECT_EQ(requeuesInside, 0U);
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
    std::promise<void> cleared;
    std::thread clearing([&] {
        opened->setListener(nullptr);
        EXPECT_TRUE(returned);
        cleared.set_value();
    });
    release.set_value();
    cleared.get_future().wait();
    clearing.join();
}

TEST_F(ACapturingCamera, StopsPromptlyWhileWaitingForAFrame) {
    std::atomic<pid_t> thread{0};
    listener.onFrame = [&](const auto&) { thread = ::gettid(); };
    Simulator::startTrace();
    start(R"({"frame": "stall", "first": 2})");
    // The one frame has been given back, and the thread sleeps: it waits for the next.
    ASSERT_TRUE(waitForRequeues(4 + 1));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return isAsleep(thread); }));
    Simulator::stopTrace();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(opened->stopCapture());
    // Nobody waits for the ten seconds that the camera has to deliver something.
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_EQ(log.count("loop: Wakeup i/o thread"), 1U);
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapturingCamera, SaysTimeoutOnceWhenNoFrameComesForTenSeconds) {
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
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_TRUE(opened->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(listener.waitForFrames(1));
}

TEST_F(ACapturingCamera, SaysErrorReventsOnceWhenTheStreamBreaks) {
    start(R"({"frame": "broken", "first": 4})");
    ASSERT_TRUE(listener.waitForErrors(1));
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 8"));
    EXPECT_EQ(listener.errorThread(), listener.frameThread());
    EXPECT_EQ(listener.frameCount(), 3U);
    EXPECT_TRUE(opened->captureStarted());
    EXPECT_TRUE(opened->stopCapture());
}

TEST_F(ACapturingCamera, SaysErrorReventsOnceWhenTheCameraIsUnplugged) {
    start(R"({"frame": "unplug", "first": 4})");
    ASSERT_TRUE(listener.waitForErrors(1));
    // POLLERR and POLLHUP.
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 24"));
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_THAT(listener.errors(), SizeIs(1));
    EXPECT_EQ(log.count("freeBuffers: VIDIOC_STREAMOFF failed: No such device(19)"), 1U);
    EXPECT_TRUE(closesEverything());
}

TEST_F(ACapturingCamera, WakesAtOnceWhenItIsUnpluggedWhileItWaits) {
    start(stalled);
    const auto before = std::chrono::steady_clock::now();
    device().unplug();
    ASSERT_TRUE(listener.waitForErrors(1));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 24"));
}

TEST_F(ACapturingCamera, EndsSilentlyWithoutAListenerWhenItIsUnplugged) {
    startWithout(R"({"frame": "unplug", "first": 2})");
    EXPECT_TRUE(device().waitUntilUnplugged(TestSupport::waitLimit));
    EXPECT_TRUE(opened->stopCapture());
}

TEST_F(ACapturingCamera, ReportsAFailedWaitAndGoesOn) {
    start(R"({"call": "poll", "errno": "ENOMEM", "first": 3, "count": 1})");
    ASSERT_TRUE(listener.waitForErrors(1));
    ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 3));
    EXPECT_THAT(listener.errors(), ElementsAre("Cannot allocate memory"));
    EXPECT_EQ(log.count("loop: Camera loop: Cannot allocate memory"), 1U);
}

TEST_F(ACapturingCamera, SaysNothingOfSignals) {
    start(R"({"call": "poll", "errno": "EINTR", "every": 2, "count": "always"},
             {"call": "VIDIOC_DQBUF", "errno": "EINTR", "every": 3, "count": "always"})");
    EXPECT_TRUE(listener.waitForFrames(10));
    EXPECT_THAT(listener.errors(), IsEmpty());
    for (const std::string& message : log.messages()) {
        EXPECT_EQ(message.find("Interrupted"), std::string::npos) << message;
    }
}

TEST_F(ACapturingCamera, LogsAFailedDequeueAndCarriesOn) {
    start(R"({"call": "VIDIOC_DQBUF", "errno": "EIO", "first": 3, "count": 1})");
    ASSERT_TRUE(listener.waitForFrames(8));
    EXPECT_EQ(log.count("loop: VIDIOC_DQBUF failed: Input/output error(5)"), 1U);
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapturingCamera, LogsAFailedRequeueAndCarriesOn) {
    start(R"({"call": "VIDIOC_QBUF", "errno": "EIO", "first": 6, "count": 1})");
    ASSERT_TRUE(listener.waitForFrames(8));
    EXPECT_EQ(log.count("loop: VIDIOC_QBUF failed: Input/output error(5)"), 1U);
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACapturingCamera, DeliversNothingForABufferThatIsNone) {
    std::atomic<bool> sound{true};
    listener.onFrame = [&](const auto& buffer) {
        const auto frame = buffer->mapFrame();
        sound = sound && frame->planes[0].data != nullptr;
    };
    start(R"({"call": "VIDIOC_DQBUF", "index": 40, "first": 3, "count": 2})");
    ASSERT_TRUE(listener.waitForFrames(6));
    EXPECT_TRUE(sound);
    EXPECT_EQ(log.count("loop: VIDIOC_DQBUF gave buffer 40 of 4"), 2U);
}

TEST_F(ACapturingCamera, DeliversFlaggedAndShortFramesLikeOthers) {
    start(R"({"frame": "error", "every": 2, "count": "always"},
             {"frame": "short", "every": 3, "count": "always"})");
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
    const auto other = plugAndOpen(camera(), "second");
    other->setListener(&second);
    ASSERT_TRUE(other->startCapture(vga, PixelFormat::YUYV));
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
