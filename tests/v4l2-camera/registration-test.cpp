// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which of the cameras opened for an id is told that it was removed: the first one, and not any
// more once another camera of the same id has gone, be it the one that a query makes for itself.

#include <gmock/gmock.h>

#include <functional>

#include "camera-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::CameraInfo;
using Nerio::Lumiq::CameraManager;
using Nerio::Lumiq::PixelFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::CameraFixture;
using TestSupport::RecordingCameraListener;

constexpr const char* webcam = R"({"name": "Webcam", "formats": [
    {"fourcc": "MJPG", "sizes": ["640x480"]}]})";

class ARegistration : public CameraFixture {
protected:
    // Declared first: they outlive the cameras that tell them.
    RecordingCameraListener first;
    RecordingCameraListener second;

    std::shared_ptr<Camera> open(RecordingCameraListener& listener) {
        auto camera = manager.openCamera(path(onlyCamera));
        camera->setListener(&listener);
        return camera;
    }

    void plugIn() {
        plug(onlyCamera, webcam);
        connect();
    }
};

TEST_F(ARegistration, MayBeMadeAfterAnInitThatFailed) {
    plug(onlyCamera, webcam);
    TestSupport::ServiceObject liar;
    liar.capabilitiesAreText = true;
    service->add(path("liar"), liar);
    manager.setListener(&managerListener);
    ASSERT_FALSE(manager.init());
    const auto camera = open(first);
    EXPECT_FALSE(camera->getSupportedFormats().empty());

    service->remove(path("liar"));
    ASSERT_TRUE(manager.init());
    EXPECT_FALSE(camera->getSupportedFormats().empty());
    pull();
    EXPECT_THAT(first.errors(), ElementsAre("Camera removed"));
}

TEST_F(ARegistration, HasTheCameraToldOnceOnItsRemovalBeforeTheManagersListener) {
    std::vector<std::string> order;
    first.onError = [&](const std::string& message) { order.push_back(message); };
    managerListener.onRemoved = [&](const std::string&) { order.emplace_back("cameraRemoved"); };
    plugIn();
    const auto camera = open(first);
    pull();
    EXPECT_THAT(order, ElementsAre("Camera removed", "cameraRemoved"));
    CameraInfo info;
    EXPECT_FALSE(camera->getInfo(info));
}

TEST_F(ARegistration, IsThatOfTheFirstOfTwoCamerasOfOneId) {
    plugIn();
    const auto camera = open(first);
    const auto duplicate = open(second);
    EXPECT_NE(camera, duplicate);
    pull();
    EXPECT_THAT(first.errors(), ElementsAre("Camera removed"));
    EXPECT_THAT(second.errors(), IsEmpty());
}

TEST_F(ARegistration, EndsWithADuplicateThatGoes) {
    plugIn();
    const auto camera = open(first);
    open(second).reset();
    pull();
    EXPECT_THAT(first.errors(), IsEmpty());
}

TEST_F(ARegistration, PassesToTheNextCameraOnceTheFirstHasGone) {
    plugIn();
    open(first).reset();
    const auto camera = open(second);
    pull();
    EXPECT_THAT(second.errors(), ElementsAre("Camera removed"));
}

TEST_F(ARegistration, PassesToTheNextCameraAfterAQueryEndedIt) {
    plugIn();
    const auto camera = open(first);
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(manager.queryCapabilities(path(onlyCamera), capabilities));
    const auto next = open(second);
    pull();
    EXPECT_THAT(first.errors(), IsEmpty());
    EXPECT_THAT(second.errors(), ElementsAre("Camera removed"));
}

TEST_F(ARegistration, IsLeftEmptyByARemovalSoThatACameraOfTheReturnedDeviceIsNotTold) {
    plugIn();
    pull();
    plug(onlyCamera, webcam);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return manager.getNumberOfCameras() == 1; }));
    auto camera = open(first);
    service->remove(path(onlyCamera));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return manager.getNumberOfCameras() == 0; }));
    service->add(path("end"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("end")));
    EXPECT_THAT(first.errors(), IsEmpty());
}

TEST_F(ARegistration, IsFreeAgainAfterARemovalOnceACameraOfTheIdHasGone) {
    plugIn();
    pull();
    plug(onlyCamera, webcam);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return manager.getNumberOfCameras() == 1; }));
    open(first).reset();
    const auto camera = open(second);
    service->remove(path(onlyCamera));
    ASSERT_TRUE(second.waitForErrors(1));
    EXPECT_THAT(second.errors(), ElementsAre("Camera removed"));
}

TEST_F(ARegistration, IsNotTouchedByTheDepartureOfAnIdThatIsNotListed) {
    connect();
    service->announceRemoved(path(onlyCamera), {TestSupport::serviceInterface});
    plug(onlyCamera, webcam);
    ASSERT_TRUE(managerListener.waitFor("added " + path(onlyCamera)));
    const auto camera = open(first);
    pull();
    EXPECT_THAT(first.errors(), ElementsAre("Camera removed"));
}

TEST_F(ARegistration, SurvivesTheQuestionsThatTheCameraItselfIsAsked) {
    plugIn();
    const auto camera = open(first);
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_TRUE(camera->isFormatSupported(PixelFormat::MJPG));
    pull();
    EXPECT_THAT(first.errors(), ElementsAre("Camera removed"));
}

TEST_F(ARegistration, IsOfItsOwnIdOnly) {
    plug("other", webcam);
    plugIn();
    const auto camera = open(first);
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(manager.queryCapabilities(path("other"), capabilities));
    pull();
    EXPECT_THAT(first.errors(), ElementsAre("Camera removed"));
}

struct Query {
    const char* name;
    std::function<bool(CameraManager&, const std::string&)> ask;
};

void PrintTo(const Query& query, std::ostream* stream) {
    *stream << query.name;
}

const Query everyQuery[] = {
    {"Capabilities",
     [](CameraManager& manager, const std::string& id) {
         std::vector<CameraCapability> capabilities;
         return manager.queryCapabilities(id, capabilities);
     }},
    {"Ranges",
     [](CameraManager& manager, const std::string& id) {
         CameraCapabilityRanges ranges;
         return manager.queryCapabilityRanges(id, PixelFormat::MJPG, ranges);
     }},
    {"ClosestCapability",
     [](CameraManager& manager, const std::string& id) {
         CameraCapabilityEx closest;
         return manager.findClosestCapability(id, PixelFormat::MJPG, {640, 480, {30, 1}}, closest,
                                              CameraCapabilityPriority::SizeWidth);
     }},
    {"Formats", [](CameraManager& manager,
                   const std::string& id) { return !manager.getSupportedFormats(id).empty(); }},
};

class AQueryOfTheManagerFor : public ARegistration, public ::testing::WithParamInterface<Query> {};

TEST_P(AQueryOfTheManagerFor, OpensTheDeviceAfreshAndClosesItAgain) {
    plugIn();
    {
        const auto camera = open(first);
        std::vector<CameraCapability> capabilities;
        EXPECT_TRUE(camera->queryCapabilities(capabilities));
        EXPECT_TRUE(GetParam().ask(manager, path(onlyCamera)));
        EXPECT_TRUE(GetParam().ask(manager, path(onlyCamera)));
        EXPECT_EQ(service->openCalls(path(onlyCamera)), 3);
        EXPECT_TRUE(TestSupport::waitUntil([&] { return device().openHandles() == 1; }));
    }
    EXPECT_TRUE(closesEverything());
}

TEST_P(AQueryOfTheManagerFor, EndsTheRegistrationOfAnOpenCamera) {
    plugIn();
    const auto camera = open(first);
    EXPECT_TRUE(GetParam().ask(manager, path(onlyCamera)));
    pull();
    EXPECT_THAT(first.errors(), IsEmpty());
    EXPECT_THAT(managerListener.events(),
                ElementsAre("added " + path(onlyCamera), "removed " + path(onlyCamera)));
}

TEST_P(AQueryOfTheManagerFor, LeavesACaptureToItselfWhenTheServiceTakesTheCameraAway) {
    plugIn();
    const auto camera = open(first);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{640, 480, {30, 1}}, PixelFormat::MJPG));
    EXPECT_TRUE(GetParam().ask(manager, path(onlyCamera)));
    service->remove(path(onlyCamera));
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_TRUE(camera->captureStarted());
    EXPECT_TRUE(first.waitForFrames(first.frameCount() + 3));
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_THAT(first.errors(), IsEmpty());
}

TEST_P(AQueryOfTheManagerFor, EndsTheRegistrationOfAnOpenCameraAlsoWhenItFails) {
    plugIn();
    const auto camera = open(first);
    device().unplug();
    EXPECT_FALSE(GetParam().ask(manager, path(onlyCamera)));
    pull();
    EXPECT_THAT(first.errors(), IsEmpty());
}

TEST_P(AQueryOfTheManagerFor, NeedsNoListedCamera) {
    plugIn();
    service->announceRemoved(path(onlyCamera), {TestSupport::serviceInterface});
    ASSERT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    EXPECT_TRUE(GetParam().ask(manager, path(onlyCamera)));
}

INSTANTIATE_TEST_SUITE_P(Its, AQueryOfTheManagerFor, ::testing::ValuesIn(everyQuery),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
