// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starts, stops, removals and initialisations that meet: each time one is held in the middle while
// another comes.

#include <gmock/gmock.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

#include "capture-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraInfo;
using Nerio::Lumiq::PixelFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::CaptureFixture;
using TestSupport::HostThread;
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

std::string yuyvCamera(const std::string& fault = "") {
    return R"({"name": "Meeting", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"]}], "faults": [)" +
           fault + "]}";
}

// A capture whose listener is held inside its first call, and a stop that has begun meanwhile.
class AStopInFlight : public CaptureFixture {
protected:
    RecordingCameraListener listener;
    std::shared_ptr<Camera> camera;
    std::promise<void> release;
    std::unique_ptr<HostThread> stopping;

    /// The stop waits for the cycle that delivers a frame.
    void beginInAFrame() { begin(""); }

    /// No cycle is under way: the stop has the thread in hand and waits for its end.
    void beginInAReport() { begin(R"({"call": "poll", "errno": "ENOMEM"})"); }

    ~AStopInFlight() override {
        stopping.reset();
        camera->stopCapture();
        camera->setListener(nullptr);
    }

private:
    void begin(const std::string& fault) {
        std::promise<void> entered;
        const auto hold = [this, &entered, released = release.get_future().share()] {
            if (!m_once.exchange(true)) {
                entered.set_value();
                released.wait();
            }
        };
        listener.onFrame = [hold](const auto&) { hold(); };
        listener.onError = [hold](const auto&) { hold(); };
        camera = plugAndOpen(yuyvCamera(fault));
        camera->setListener(&listener);
        ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
        entered.get_future().wait();
        stopping = std::make_unique<HostThread>([this] { EXPECT_TRUE(camera->stopCapture()); });
        ASSERT_TRUE(TestSupport::waitUntil([this] { return !camera->captureStarted(); }));
        EXPECT_TRUE(stopping->fallsAsleep());
    }

    std::atomic<bool> m_once{false};
};

TEST_F(AStopInFlight, IsWaitedForByAStart) {
    beginInAReport();
    HostThread starting([this] { EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV)); });
    EXPECT_TRUE(starting.fallsAsleep());
    EXPECT_FALSE(camera->captureStarted());
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1);
    release.set_value();
    starting.join();
    stopping->join();
    EXPECT_TRUE(camera->captureStarted());
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 2) << "the stop had closed the device";
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 2));
    EXPECT_FALSE(log.has("startCapture: VIDIOC_S_FMT error: 16"));
}

TEST_F(AStopInFlight, IsWaitedForByAStartAlsoWhileAFrameIsDelivered) {
    beginInAFrame();
    HostThread starting([this] { EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV)); });
    EXPECT_TRUE(starting.fallsAsleep());
    release.set_value();
    starting.join();
    stopping->join();
    EXPECT_TRUE(camera->captureStarted());
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 2) << "the stop had closed the device";
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 2));
}

TEST_F(AStopInFlight, LetsAnotherStopReturn) {
    beginInAFrame();
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_FALSE(stopping->isDone()) << "which is still held";
    release.set_value();
    stopping->join();
    EXPECT_EQ(Simulator::liveCount().mappings, 0U) << "the first one has torn down";
}

TEST_F(AStopInFlight, DoesNotKeepARemovalFromBeingReported) {
    beginInAFrame();
    service->remove(path(onlyCamera));
    release.set_value();
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_THAT(listener.errors(), ElementsAre("Camera removed"));
}

class AnInitialisation : public CaptureFixture {};

TEST_F(AnInitialisation, HappensOnceWhenSeveralThreadsAskForIt) {
    for (const char* leaf : {"a", "b", "c"}) {
        plug(leaf, yuyvCamera());
    }
    manager.setListener(&managerListener);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] { EXPECT_TRUE(manager.init()); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(managerListener.events(),
                ElementsAre("added " + path("a"), "added " + path("b"), "added " + path("c")));
}

TEST_F(AnInitialisation, RefusesToHappenInsideItself) {
    plug("a", yuyvCamera());
    bool inside = true;
    managerListener.onAdded = [&](const CameraInfo&) { inside = manager.init(); };
    connect();
    EXPECT_FALSE(inside);
    EXPECT_TRUE(manager.init());
}

TEST_F(AnInitialisation, LetsAListenerUseTheCamerasItIsToldOf) {
    plug("a", yuyvCamera());
    bool found = false;
    managerListener.onAdded = [&](const CameraInfo& info) {
        found = manager.openCamera(info.id)->isFormatSupported(PixelFormat::YUYV);
    };
    connect();
    EXPECT_TRUE(found);
}

TEST_F(AnInitialisation, LetsAListenerUseTheCamerasThatArriveOnTheBusThread) {
    std::atomic<bool> found{false};
    managerListener.onAdded = [&](const CameraInfo& info) {
        found = manager.openCamera(info.id)->isFormatSupported(PixelFormat::YUYV);
    };
    connect();
    plug("late", yuyvCamera());
    ASSERT_TRUE(managerListener.waitFor("added " + path("late")));
    EXPECT_TRUE(found);
}

class AServiceThatNeverAnswers : public CaptureFixture {
protected:
    ~AServiceThatNeverAnswers() override { ::unsetenv("SYSTEMD_BUS_TIMEOUT"); }
};

TEST_F(AServiceThatNeverAnswers, IsGivenUpAfterTheBusLibrarysTimeOut) {
    // The bus library reads it when a connection is made (sd_bus_set_method_call_timeout(3)).
    ::setenv("SYSTEMD_BUS_TIMEOUT", "1s", 1);
    TestSupport::ServiceObject silent;
    silent.openNeverAnswers = true;
    service->add(path("silent"), silent);
    connect();
    EXPECT_THAT(manager.getSupportedFormats(path("silent")), IsEmpty());
    EXPECT_TRUE(log.waitForPrefix("openDevice: Can't open a camera: "));
}

// The next processor time goes to the calling thread: both share a processor from now on, and the
// other one runs there only when nothing else does.
void goBeforeThread(pid_t other) {
    cpu_set_t here;
    CPU_ZERO(&here);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &here);
    ASSERT_EQ(sched_setaffinity(0, sizeof here, &here), 0);
    ASSERT_EQ(sched_setaffinity(other, sizeof here, &here), 0);
    const sched_param none{};
    ASSERT_EQ(sched_setscheduler(other, SCHED_IDLE, &none), 0);
}

TEST_F(AnInitialisation, HearsOfARemovalThatComesInTheMiddleOfAFailingOpen) {
    TestSupport::ServiceObject leaving;
    leaving.open = [this]() -> int {
        // On the bus before the refusal: the caller reads both while it waits for the answer.
        service->announceRemoved(path("a"), {TestSupport::serviceInterface});
        throw std::runtime_error("just unplugged");
    };
    service->add(path("a"), leaving);
    std::promise<pid_t> busThread;
    managerListener.onAdded = [&](const CameraInfo& info) {
        if (info.id == path("b")) {
            busThread.set_value(gettid());
        }
    };
    connect();
    service->add(path("b"), {});
    goBeforeThread(busThread.get_future().get());

    EXPECT_THAT(manager.getSupportedFormats(path("a")), IsEmpty());
    EXPECT_TRUE(managerListener.waitFor("removed " + path("a")));
}

}  // namespace
