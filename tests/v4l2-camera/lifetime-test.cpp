// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Who keeps a camera alive, where it may die, and what happens when its device leaves.

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <utility>

#include "camera-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraInfo;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::CameraFixture;
using TestSupport::RecordingCameraListener;

constexpr CameraCapabilityEx vga{640, 480, {100, 1}};

std::string description(const std::string& fault = "") {
    return R"({"name": "Life", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"]}], "faults": [)" +
           fault + "]}";
}

class ACamera : public CameraFixture {
protected:
    RecordingCameraListener listener;
    std::shared_ptr<Camera> camera;

    void start(const std::string& fault = "", const std::string& leaf = onlyCamera) {
        camera = plugAndOpen(description(fault), leaf);
        camera->setListener(&listener);
        ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    }

    /// Nothing of the camera is left in this process.
    void expectAllGone(const std::string& leaf = onlyCamera) {
        EXPECT_TRUE(closesEverything(leaf));
        EXPECT_TRUE(TestSupport::waitUntil([] { return Simulator::liveCount().mappings == 0; }));
    }
};

TEST_F(ACamera, EndsItsCaptureWhenTheLastPointerGoes) {
    start();
    ASSERT_TRUE(listener.waitForFrames(2));
    camera.reset();
    const std::size_t count = listener.frameCount();
    expectAllGone();
    EXPECT_EQ(listener.frameCount(), count);
}

TEST_F(ACamera, EndsWhereverTheLastPointerGoesWhileItCaptures) {
    for (int round = 0; round < 30; ++round) {
        const std::string leaf = "c" + std::to_string(round);
        start("", leaf);
        if (round % 3 != 0) {
            ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 1));
        }
        camera.reset();
        expectAllGone(leaf);
        pull(leaf);
    }
}

TEST_F(ACamera, MayDieInsideAFrameCall) {
    std::promise<void> started;
    std::promise<void> dropped;
    listener.onFrame = [&, once = false](const auto&) mutable {
        if (!std::exchange(once, true)) {
            started.get_future().wait();
            camera.reset();
            dropped.set_value();
        }
    };
    start();
    started.set_value();
    dropped.get_future().wait();
    expectAllGone();
    EXPECT_THAT(listener.errors(), IsEmpty());
}

// The listener lets go of the camera when it is told of this failure.
class ACameraThatFails : public ACamera {
protected:
    void expectMayDieInsideTheReportOf(const std::string& fault) {
        std::promise<void> started;
        std::promise<void> dropped;
        listener.onError = [&](const std::string&) {
            started.get_future().wait();
            camera.reset();
            dropped.set_value();
        };
        start(fault);
        started.set_value();
        dropped.get_future().wait();
        expectAllGone();
    }
};

TEST_F(ACameraThatFails, MayDieInsideTheReportThatItIsUnplugged) {
    expectMayDieInsideTheReportOf(R"({"frame": "unplug", "first": 3})");
}

TEST_F(ACameraThatFails, MayDieInsideTheReportOfAFailedWait) {
    expectMayDieInsideTheReportOf(R"({"call": "poll", "errno": "ENOMEM", "first": 2, "count": 1})");
}

TEST_F(ACameraThatFails, MayDieInsideTheReportThatNoFrameCameForTenSeconds) {
    expectMayDieInsideTheReportOf(R"({"frame": "stall"})");
}

TEST_F(ACamera, LivesAsLongAsTheHostHoldsAFrame) {
    std::promise<std::shared_ptr<GraphicBuffer>> first;
    std::atomic<bool> once{false};
    listener.onFrame = [&](const auto& buffer) {
        if (!once.exchange(true)) {
            first.set_value(buffer);
        }
    };
    start();
    std::shared_ptr<GraphicBuffer> kept = first.get_future().get();
    const std::weak_ptr<Camera> watched = camera;
    camera.reset();
    EXPECT_FALSE(watched.expired());
    ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 2)) << "it goes on capturing";
    kept.reset();
    // The capture thread may hold it for the rest of a cycle.
    EXPECT_TRUE(TestSupport::waitUntil([&] { return watched.expired(); }));
    expectAllGone();
}

TEST_F(ACamera, LivesAsLongAsTheHostHoldsAView) {
    std::promise<std::shared_ptr<Nerio::Lumiq::YCbCrFrame>> first;
    std::atomic<bool> once{false};
    listener.onFrame = [&](const auto& buffer) {
        if (!once.exchange(true)) {
            first.set_value(buffer->mapYCbCr());
        }
    };
    start();
    auto kept = first.get_future().get();
    const std::weak_ptr<Camera> watched = camera;
    camera.reset();
    EXPECT_FALSE(watched.expired());
    kept.reset();
    EXPECT_TRUE(TestSupport::waitUntil([&] { return watched.expired(); }));
    expectAllGone();
}

TEST_F(ACamera, IsStoppedThenToldThenReportedWhenItsDeviceLeaves) {
    std::vector<std::string> order;
    bool startedWhenTold = true;
    listener.onError = [&](const std::string& message) {
        order.push_back(message);
        startedWhenTold = camera->captureStarted();
    };
    managerListener.onRemoved = [&](const std::string& id) { order.push_back("removed " + id); };
    start();
    ASSERT_TRUE(listener.waitForFrames(2));
    service->remove(path(onlyCamera));
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_THAT(order, ElementsAre("Camera removed", "removed " + path(onlyCamera)));
    EXPECT_FALSE(startedWhenTold);
    EXPECT_EQ(listener.errorThread(), managerListener.threadOf("removed " + path(onlyCamera)));
    CameraInfo info;
    EXPECT_FALSE(camera->getInfo(info));
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
    camera->setListener(nullptr);
}

TEST_F(ACamera, IsToldThatItLeftAlsoWhenItDoesNotCapture) {
    camera = plugAndOpen(description());
    camera->setListener(&listener);
    service->remove(path(onlyCamera));
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_THAT(listener.errors(), ElementsAre("Camera removed"));
    camera->setListener(nullptr);
}

TEST_F(ACamera, SaysFirstThatTheStreamBrokeAndThenThatItWasRemoved) {
    start();
    ASSERT_TRUE(listener.waitForFrames(2));
    device().unplug();
    ASSERT_TRUE(listener.waitForErrors(1));
    service->remove(path(onlyCamera));
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_THAT(listener.errors(), ElementsAre("error revents: 24", "Camera removed"));
    expectAllGone();
    camera->setListener(nullptr);
}

TEST_F(ACamera, IsStoppedWhenItLeavesWhileNoFrameComes) {
    start(R"({"frame": "stall"})");
    const auto before = std::chrono::steady_clock::now();
    service->remove(path(onlyCamera));
    ASSERT_TRUE(listener.waitForErrors(1));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_THAT(listener.errors(), ElementsAre("Camera removed"));
    camera->setListener(nullptr);
}

TEST_F(ACamera, MayDieInsideTheReportOfItsRemoval) {
    listener.onError = [&](const std::string&) { camera.reset(); };
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    service->remove(path(onlyCamera));
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    expectAllGone();
}

TEST_F(ACamera, LeavesWithoutDisturbingAnother) {
    RecordingCameraListener second;
    start();
    const auto other = plugAndOpen(description(), "second");
    other->setListener(&second);
    ASSERT_TRUE(other->startCapture(vga, PixelFormat::YUYV));
    ASSERT_TRUE(second.waitForFrames(2));
    pull("second");
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 10));
    EXPECT_THAT(listener.errors(), IsEmpty());
    EXPECT_TRUE(camera->captureStarted());
    EXPECT_FALSE(other->captureStarted());
    other->setListener(nullptr);
    camera->stopCapture();
    camera->setListener(nullptr);
}

TEST_F(ACamera, StreamsAgainWhenItsDeviceComesBack) {
    start();
    ASSERT_TRUE(listener.waitForFrames(2));
    pull();
    camera.reset();
    plug(onlyCamera, description());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return manager.getNumberOfCameras() == 1; }));
    camera = manager.openCamera(path(onlyCamera));
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 3));
    camera->stopCapture();
    camera->setListener(nullptr);
}

TEST_F(ACamera, StartsAgainByItselfWhenTheServiceIsStillWilling) {
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    service->announceRemoved(path(onlyCamera), {TestSupport::serviceInterface});
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_FALSE(camera->captureStarted());
    EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 2));
    camera->stopCapture();
    camera->setListener(nullptr);
}

TEST_F(ACamera, MeetsARemovalInTheMiddleOfStartsAndStops) {
    for (int round = 0; round < 20; ++round) {
        camera = plugAndOpen(description(), "c" + std::to_string(round));
        camera->setListener(&listener);
        std::thread host([&] {
            for (int i = 0; i < 3; ++i) {
                (void)camera->startCapture(vga, PixelFormat::YUYV);
                (void)camera->getSupportedFormats();
                camera->stopCapture();
            }
        });
        pull("c" + std::to_string(round));
        host.join();
        camera->stopCapture();
        camera->setListener(nullptr);
        camera.reset();
        EXPECT_TRUE(closesEverything("c" + std::to_string(round)));
    }
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
}

TEST_F(ACamera, KeepsCapturingWhenTheServiceDies) {
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    service.reset();
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 5));
    camera->stopCapture();
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    camera->setListener(nullptr);
}

TEST_F(ACamera, KeepsCapturingWhenTheBusDies) {
    start();
    ASSERT_TRUE(listener.waitForFrames(1));
    service.reset();
    processBus.bus().stop();
    ASSERT_TRUE(log.waitForPrefix("runEventLoop: Lost the system bus"));
    EXPECT_TRUE(listener.waitForFrames(listener.frameCount() + 5));
    camera->stopCapture();
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    camera->setListener(nullptr);
}

}  // namespace
