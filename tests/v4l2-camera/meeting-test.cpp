// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starts, stops, removals and initialisations that meet: each time one is held in the middle while
// another comes.

#include <gmock/gmock.h>

#include <atomic>
#include <future>
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
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

constexpr const char* yuyvCamera = R"({"name": "Meeting", "intervals": ["1/100"], "formats": [
    {"fourcc": "YUYV", "sizes": ["640x480"]}]})";

// A capture whose listener is held inside its first frame, and a stop that has begun meanwhile.
class AStopInFlight : public CaptureFixture {
protected:
    RecordingCameraListener listener;
    std::shared_ptr<Camera> camera;
    std::promise<void> release;
    std::thread stopping;

    void begin() {
        std::promise<void> entered;
        auto released = release.get_future().share();
        camera = plugAndOpen(yuyvCamera);
        listener.onFrame = [this, &entered, released](const auto&) {
            if (!m_once.exchange(true)) {
                entered.set_value();
                released.wait();
            }
        };
        camera->setListener(&listener);
        ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
        entered.get_future().wait();
        stopping = std::thread([this] { EXPECT_TRUE(camera->stopCapture()); });
        ASSERT_TRUE(TestSupport::waitUntil([this] { return !camera->captureStarted(); }));
    }

    ~AStopInFlight() override {
        if (stopping.joinable()) {
            stopping.join();
        }
        camera->stopCapture();
        camera->setListener(nullptr);
    }

private:
    std::atomic<bool> m_once{false};
};

TEST_F(AStopInFlight, IsWaitedForByAStart) {
    begin();
    std::atomic<bool> started{false};
    std::thread starting([&] {
        EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
        started = true;
    });
    EXPECT_FALSE(started);
    release.set_value();
    starting.join();
    stopping.join();
    EXPECT_TRUE(camera->captureStarted());
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 2) << "the stop had closed the device";
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 2));
    EXPECT_FALSE(log.has("startCapture: VIDIOC_S_FMT error: 16"));
}

TEST_F(AStopInFlight, LetsAnotherStopReturn) {
    begin();
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_TRUE(stopping.joinable());
    release.set_value();
}

TEST_F(AStopInFlight, DoesNotKeepARemovalFromBeingReported) {
    begin();
    service->remove(path(onlyCamera));
    release.set_value();
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_THAT(listener.errors(), ElementsAre("Camera removed"));
}

class AnInitialisation : public CaptureFixture {};

TEST_F(AnInitialisation, HappensOnceWhenSeveralThreadsAskForIt) {
    for (const char* leaf : {"a", "b", "c"}) {
        plug(leaf, yuyvCamera);
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
    plug("a", yuyvCamera);
    bool inside = true;
    managerListener.onAdded = [&](const CameraInfo&) { inside = manager.init(); };
    connect();
    EXPECT_FALSE(inside);
    EXPECT_TRUE(manager.init());
}

TEST_F(AnInitialisation, LetsAListenerUseTheCamerasItIsToldOf) {
    plug("a", yuyvCamera);
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
    plug("late", yuyvCamera);
    ASSERT_TRUE(managerListener.waitFor("added " + path("late")));
    EXPECT_TRUE(found);
}

class AServiceThatNeverAnswers : public CaptureFixture {
protected:
    ~AServiceThatNeverAnswers() override { ::unsetenv("SYSTEMD_BUS_TIMEOUT"); }
};

TEST_F(AServiceThatNeverAnswers, IsGivenUpAfterTheBusLibrarysTimeOut) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP()
        << "LeakSanitizer's tracer crashes when this process ends, after the test has passed";
#endif
    // The bus library reads it when a connection is made (sd_bus_set_method_call_timeout(3)).
    ::setenv("SYSTEMD_BUS_TIMEOUT", "1s", 1);
    TestSupport::ServiceObject silent;
    silent.openNeverAnswers = true;
    service->add(path("silent"), silent);
    connect();
    EXPECT_THAT(manager.getSupportedFormats(path("silent")), IsEmpty());
    EXPECT_TRUE(log.waitForPrefix("openDevice: Can't open a camera: "));
}

TEST_F(AnInitialisation, HearsOfARemovalThatComesInTheMiddleOfAFailingOpen) {
    TestSupport::ServiceObject leaving;
    leaving.open = [this]() -> int {
        // On the bus before the refusal: the caller reads both while it waits for the answer.
        service->announceRemoved(path("a"), {TestSupport::serviceInterface});
        throw std::runtime_error("just unplugged");
    };
    service->add(path("a"), leaving);
    connect();
    EXPECT_THAT(manager.getSupportedFormats(path("a")), IsEmpty());
    EXPECT_TRUE(managerListener.waitFor("removed " + path("a")));
}

}  // namespace
