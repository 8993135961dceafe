// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How cameras come to the list and leave it, and what a service can do to that.

#include <gmock/gmock.h>

#include <cstdlib>
#include <exception>
#include <future>

#include "bus-fixture.h"

namespace {

using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraInfo;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using TestSupport::BusFixture;
using TestSupport::RecordingManagerListener;
using TestSupport::ScriptedService;
using TestSupport::ServiceObject;

class TheManager : public BusFixture {};

ServiceObject camera(const std::string& name) {
    ServiceObject object;
    object.name = name;
    return object;
}

ServiceObject withWords(std::uint32_t capabilities, std::uint32_t deviceCaps) {
    ServiceObject object;
    object.capabilities = capabilities;
    object.deviceCaps = deviceCaps;
    return object;
}

TEST_F(TheManager, ListsNothingBeforeInit) {
    service->add(path("a"));
    EXPECT_EQ(manager.getNumberOfCameras(), 0);
}

TEST_F(TheManager, ListsNothingWhenTheServiceHasNothing) {
    connect();
    EXPECT_EQ(manager.getNumberOfCameras(), 0);
    EXPECT_THAT(managerListener.events(), IsEmpty());
}

TEST_F(TheManager, ReportsTheCamerasThatAreThereInPathOrderOnTheThreadThatInitialises) {
    service->add(path("b"), camera("Second"));
    service->add(path("a"), camera("First"));
    connect();
    EXPECT_THAT(managerListener.events(), ElementsAre("added " + path("a"), "added " + path("b")));
    EXPECT_EQ(managerListener.threadOf("added " + path("a")), std::this_thread::get_id());
    EXPECT_EQ(managerListener.threadOf("added " + path("b")), std::this_thread::get_id());

    ASSERT_EQ(manager.getNumberOfCameras(), 2);
    CameraInfo info;
    ASSERT_TRUE(manager.getCameraInfo(0U, info));
    EXPECT_EQ(info.id, path("a"));
    EXPECT_EQ(info.name, "First");
    EXPECT_EQ(info.provider, "v4l2");
    EXPECT_EQ(info.reserved1, 0U);
    EXPECT_EQ(info.reserved2, 0U);
    EXPECT_EQ(info.reservedText, "");
    ASSERT_TRUE(manager.getCameraInfo(1U, info));
    EXPECT_EQ(info.name, "Second");
}

TEST_F(TheManager, ReportsArrivalsAndDeparturesOnTheBusThread) {
    connect();
    service->add(path("late"), camera("Late"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("late")));
    EXPECT_EQ(manager.getNumberOfCameras(), 1);
    EXPECT_NE(managerListener.threadOf("added " + path("late")), std::this_thread::get_id());

    service->remove(path("late"));
    ASSERT_TRUE(managerListener.waitFor("removed " + path("late")));
    EXPECT_EQ(manager.getNumberOfCameras(), 0);
    EXPECT_EQ(managerListener.threadOf("removed " + path("late")),
              managerListener.threadOf("added " + path("late")));
}

TEST_F(TheManager, HasTheRecordListedWhenItReportsAnArrivalAndGoneWhenItReportsADeparture) {
    std::vector<int> counts;
    managerListener.onAdded = [&](const CameraInfo&) {
        counts.push_back(manager.getNumberOfCameras());
    };
    managerListener.onRemoved = [&](const std::string&) {
        counts.push_back(manager.getNumberOfCameras());
    };
    connect();
    service->add(path("a"));
    service->remove(path("a"));
    ASSERT_TRUE(managerListener.waitFor("removed " + path("a")));
    EXPECT_THAT(counts, ElementsAre(1, 0));
}

TEST_F(TheManager, MovesLaterCamerasDownWhenOneLeaves) {
    service->add(path("a"));
    service->add(path("b"));
    service->add(path("c"));
    connect();
    service->remove(path("b"));
    ASSERT_TRUE(managerListener.waitFor("removed " + path("b")));
    CameraInfo info;
    ASSERT_TRUE(manager.getCameraInfo(0U, info));
    EXPECT_EQ(info.id, path("a"));
    ASSERT_TRUE(manager.getCameraInfo(1U, info));
    EXPECT_EQ(info.id, path("c"));
}

TEST_F(TheManager, AppendsArrivalsBehindWhatIsListed) {
    service->add(path("m"));
    connect();
    service->add(path("a"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("a")));
    CameraInfo info;
    ASSERT_TRUE(manager.getCameraInfo(1U, info));
    EXPECT_EQ(info.id, path("a"));
}

TEST_F(TheManager, KeepsTheFirstRecordOfACameraThatIsAnnouncedAgain) {
    service->add(path("a"), camera("Once"));
    connect();
    service->announceAdded(path("a"));
    service->add(path("end"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("end")));
    EXPECT_EQ(manager.getNumberOfCameras(), 2);
    EXPECT_THAT(managerListener.events(),
                ElementsAre("added " + path("a"), "added " + path("end")));
}

TEST_F(TheManager, IgnoresTheDepartureOfACameraItNeverListed) {
    connect();
    service->announceRemoved(path("ghost"), {TestSupport::serviceInterface});
    service->add(path("end"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("end")));
    EXPECT_THAT(managerListener.events(), ElementsAre("added " + path("end")));
}

TEST_F(TheManager, RemovesACameraThatLosesAnyInterface) {
    service->add(path("a"));
    connect();
    service->announceRemoved(path("a"), {"org.freedesktop.DBus.Properties"});
    ASSERT_TRUE(managerListener.waitFor("removed " + path("a")));
    EXPECT_EQ(manager.getNumberOfCameras(), 0);
}

TEST_F(TheManager, AdmitsOnlyCamerasThatCaptureAndStream) {
    service->add(path("mplane"), withWords(0x84000000, 0x00001000));
    service->add(path("single"), withWords(0x84000000, 0x00000001));
    service->add(path("both"), withWords(0x84000000, 0x00001001));
    service->add(path("nodevicecaps"), withWords(0x04000000, 0x00000001));
    service->add(path("nostreaming"), withWords(0x80000000, 0x00000001));
    service->add(path("nocapture"), withWords(0x84000001, 0x00800000));
    connect();
    EXPECT_THAT(
        managerListener.events(),
        ElementsAre("added " + path("both"), "added " + path("mplane"), "added " + path("single")));
    EXPECT_EQ(log.count("onInterfacesAdded: queryCameraInfo failed"), 3U);
}

TEST_F(TheManager, RefusesAnUnfitArrivalWithOneErrorLine) {
    connect();
    service->add(path("unfit"), withWords(0x04000001, 0x00000001));
    ASSERT_TRUE(log.waitFor("onInterfacesAdded: queryCameraInfo failed"));
    service->add(path("fit"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("fit")));
    EXPECT_EQ(manager.getNumberOfCameras(), 1);
    EXPECT_EQ(log.count("onInterfacesAdded: queryCameraInfo failed"), 1U);
}

TEST_F(TheManager, AnswersAnIndexBeyondTheListWithFalse) {
    service->add(path("a"));
    connect();
    CameraInfo info;
    info.name = "untouched";
    EXPECT_FALSE(manager.getCameraInfo(2U, info));
    EXPECT_FALSE(manager.getCameraInfo(static_cast<unsigned int>(-1), info));
    EXPECT_FALSE(manager.getCameraInfo(0x80000000U, info));
    EXPECT_EQ(info.name, "untouched");
}

TEST(TheManagerDeathTest, AbortsOnTheIndexThatEqualsTheNumberOfCameras) {
    const TestSupport::PluginLibrary library;
    CameraInfo info;
    EXPECT_DEATH(library.manager().getCameraInfo(0U, info), "Assertion '__n < this->size\\(\\)'");
}

TEST_F(TheManager, AbortsOnTheIndexThatEqualsTheNumberOfCamerasAlsoWhenThereAreSome) {
    // The bus thread is running: the death happens in a process of its own.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    service->add(path("a"));
    connect();
    CameraInfo info;
    EXPECT_TRUE(manager.getCameraInfo(0U, info));
    EXPECT_DEATH(manager.getCameraInfo(1U, info), "Assertion '__n < this->size\\(\\)'");
}

TEST(TheManagerDeathTest, AbortsWhenADeviceIsNeededBeforeInit) {
    const TestSupport::PluginLibrary library;
    const auto camera = library.manager().openCamera("/io/nerio/Gatehold1/Uvc/a");
    ASSERT_TRUE(camera);
    EXPECT_DEATH((void)camera->getSupportedFormats(), "Assertion failed: busConnection != nullptr");
}

TEST_F(TheManager, GoesOnListeningAfterAnnouncementsThatMakeNoSense) {
    connect();
    ServiceObject other;
    other.interface = "io.nerio.Test.Other";
    service->add(path("other"), other);
    ServiceObject nameless;
    nameless.hasName = false;
    service->add(path("nameless"), nameless);
    ServiceObject liar;
    liar.capabilitiesAreText = true;
    service->add(path("liar"), liar);
    service->add(path("honest"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("honest")));
    EXPECT_THAT(managerListener.events(), ElementsAre("added " + path("honest")));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(TheManager, FollowsAServiceThatRestarts) {
    service->add(path("a"), camera("First"));
    service->add(path("m"));
    connect();
    service.reset();
    service = std::make_unique<ScriptedService>();
    service->add(path("a"), camera("Renamed"));
    service->add(path("b"));
    ASSERT_TRUE(managerListener.waitFor("added " + path("b")));
    EXPECT_THAT(managerListener.events(),
                ElementsAre("added " + path("a"), "added " + path("m"), "added " + path("b")));
    // What was listed before keeps its place and its record.
    CameraInfo info;
    ASSERT_TRUE(manager.getCameraInfo(0U, info));
    EXPECT_EQ(info.id, path("a"));
    EXPECT_EQ(info.name, "First");
    ASSERT_TRUE(manager.getCameraInfo(1U, info));
    EXPECT_EQ(info.id, path("m"));
}

TEST_F(TheManager, LetsAListenerEndTheProcessFromInsideACall) {
    // On the bus thread, in a process of its own.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    std::promise<void> waiting;
    managerListener.onAdded = [&](const CameraInfo&) {
        waiting.get_future().wait();
        std::exit(7);
    };
    connect();
    EXPECT_EXIT(
        {
            service->add(path("a"));
            waiting.set_value();
            (void)managerListener.waitFor("never");
        },
        ::testing::ExitedWithCode(7), "");
}

TEST_F(TheManager, SurvivesTheLossOfTheBusWithOneErrorLine) {
    service->add(path("a"));
    connect();
    log.clear();
    service.reset();
    processBus.bus().stop();
    ASSERT_TRUE(log.waitForPrefix("runEventLoop: Lost the system bus"));
    EXPECT_EQ(manager.getNumberOfCameras(), 1);
    EXPECT_THAT(log.messages(), Each(StartsWith("runEventLoop: Lost the system bus")));
    EXPECT_EQ(log.messages().size(), 1U);
}

TEST_F(TheManager, LetsAListenerRemoveItselfFromInsideACall) {
    managerListener.onAdded = [&](const CameraInfo&) { manager.setListener(nullptr); };
    service->add(path("a"));
    service->add(path("b"));
    connect();
    EXPECT_THAT(managerListener.events(), ElementsAre("added " + path("a")));
    EXPECT_EQ(manager.getNumberOfCameras(), 2);
}

TEST_F(TheManager, OpensACameraForAnyIdWithoutAskingTheService) {
    service->add(path("a"));
    connect();
    const auto known = manager.openCamera(path("a"));
    const auto again = manager.openCamera(path("a"));
    const auto unknown = manager.openCamera("no such thing");
    ASSERT_TRUE(known && again && unknown);
    EXPECT_NE(known, again);
    EXPECT_EQ(service->openCalls(path("a")), 0);
    CameraInfo info;
    EXPECT_TRUE(known->getInfo(info));
    EXPECT_EQ(info.id, path("a"));
    EXPECT_FALSE(unknown->getInfo(info));
}

TEST_F(TheManager, ReportsAFailedOpenOnceAndFails) {
    ServiceObject refusing;
    refusing.open = []() -> int { throw std::runtime_error("not today"); };
    service->add(path("a"), refusing);
    connect();
    const auto opened = manager.openCamera(path("a"));
    EXPECT_THAT(opened->getSupportedFormats(), IsEmpty());
    EXPECT_THAT(log.messages(),
                ElementsAre("openDevice: Can't open a camera: io.nerio.Test.Refused / not today"));
    std::vector<CameraCapability> capabilities{{1, 2, 3}};
    EXPECT_FALSE(opened->queryCapabilities(capabilities));
    EXPECT_EQ(capabilities.size(), 1U);
    EXPECT_EQ(service->openCalls(path("a")), 2);
}

TEST_F(TheManager, FailsToOpenWhenTheReplyCarriesNoDescriptor) {
    ServiceObject lying;
    lying.openGivesText = true;
    service->add(path("a"), lying);
    connect();
    EXPECT_THAT(manager.getSupportedFormats(path("a")), IsEmpty());
    EXPECT_THAT(log.messages(), ElementsAre(StartsWith("openDevice: Can't open a camera: ")));
}

TEST_F(TheManager, FailsToOpenACameraThatTheServiceDoesNotHave) {
    connect();
    EXPECT_THAT(manager.getSupportedFormats(path("gone")), IsEmpty());
    EXPECT_THAT(
        log.messages(),
        ElementsAre(StartsWith("openDevice: Can't open a camera: org.freedesktop.DBus.Error.")));
}

TEST_F(TheManager, LeavesAnIdThatIsNoObjectPathToTheCaller) {
    connect();
    const auto opened = manager.openCamera("no object path");
    EXPECT_THROW((void)opened->getSupportedFormats(), std::exception);
}

}  // namespace
