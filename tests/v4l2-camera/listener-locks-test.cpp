// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which locks are held while a host is told something: its listener's, so that it is not destroyed
// in the middle of a call, and no other. The bus thread calls, the test's thread and others meet
// it.

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <future>

#include "camera-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraInfo;
using ::testing::ElementsAre;
using TestSupport::CameraFixture;
using TestSupport::RecordingCameraListener;

constexpr const char* webcam = R"({"name": "Webcam", "formats": [
    {"fourcc": "YUYV", "sizes": ["640x480"]}]})";

class ACall : public CameraFixture {
protected:
    RecordingCameraListener cameraListener;
    std::shared_ptr<Camera> camera;
    std::future<void> elsewhere;

    // Has another thread do something that has to wait for the call that runs now: it gets the time
    // in which it would be done if nothing held it up.
    void expectToHoldUp(const std::function<void()>& action) {
        elsewhere = std::async(std::launch::async, action);
        EXPECT_EQ(elsewhere.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    }

    // Has another thread do something that must not have to wait.
    void expectToLetThrough(const std::function<void()>& action) {
        elsewhere = std::async(std::launch::async, action);
        EXPECT_EQ(elsewhere.wait_for(TestSupport::waitLimit), std::future_status::ready);
    }

    void plugIn() {
        camera = plugAndOpen(webcam);
        camera->setListener(&cameraListener);
    }
};

TEST_F(ACall, OfCameraAddedHoldsUpSetListener) {
    managerListener.onAdded = [&](const CameraInfo&) {
        expectToHoldUp([&] { manager.setListener(nullptr); });
    };
    connect();
    plug(onlyCamera, webcam);
    ASSERT_TRUE(managerListener.waitFor("added " + path(onlyCamera)));
    elsewhere.wait();
}

TEST_F(ACall, OfCameraRemovedHoldsUpSetListener) {
    managerListener.onRemoved = [&](const std::string&) {
        expectToHoldUp([&] { manager.setListener(nullptr); });
    };
    plugIn();
    pull();
    elsewhere.wait();
}

TEST_F(ACall, OfCameraRemovedLetsTheCamerasListenerBeTakenAway) {
    managerListener.onRemoved = [&](const std::string&) {
        expectToLetThrough([&] { camera->setListener(nullptr); });
    };
    plugIn();
    pull();
}

TEST_F(ACall, ThatTellsTheCameraOfItsRemovalHoldsUpItsSetListener) {
    cameraListener.onError = [&](const std::string&) {
        expectToHoldUp([&] { camera->setListener(nullptr); });
    };
    plugIn();
    pull();
    elsewhere.wait();
    EXPECT_THAT(cameraListener.errors(), ElementsAre("Camera removed"));
}

TEST_F(ACall, ThatTellsTheCameraOfItsRemovalLetsTheManagersListenerBeTakenAway) {
    cameraListener.onError = [&](const std::string&) {
        expectToLetThrough([&] { manager.setListener(&managerListener); });
    };
    plugIn();
    pull();
}

TEST_F(ACall, MayOpenAndLetGoOfCameras) {
    int opened = 0;
    const auto openOne = [&](const std::string& id) {
        opened += manager.openCamera(id) == nullptr ? 0 : 1;
    };
    managerListener.onAdded = [&](const CameraInfo& info) { openOne(info.id); };
    managerListener.onRemoved = openOne;
    cameraListener.onError = [&](const std::string&) { openOne(path(onlyCamera)); };
    connect();
    plug(onlyCamera, webcam);
    ASSERT_TRUE(managerListener.waitFor("added " + path(onlyCamera)));
    camera = manager.openCamera(path(onlyCamera));
    camera->setListener(&cameraListener);
    pull();
    EXPECT_EQ(opened, 3);
}

}  // namespace
