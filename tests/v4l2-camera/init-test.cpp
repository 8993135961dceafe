// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the manager comes by its service, and what keeps it from that.

#include <gmock/gmock.h>

#include <stdexcept>

#include "bus-fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::StartsWith;
using TestSupport::BusFixture;
using TestSupport::ScriptedService;
using TestSupport::ServiceObject;

class AnInit : public BusFixture {};

TEST_F(AnInit, ComesOnceAndThenSaysYesWithoutTheBus) {
    connect();
    service.reset();
    processBus.bus().stop();
    EXPECT_TRUE(manager.init());
}

TEST_F(AnInit, FailsWithoutTheServiceAndSucceedsOnceItIsThere) {
    service.reset();
    EXPECT_FALSE(manager.init());
    EXPECT_THAT(log.messages(),
                ElementsAre(MatchesRegex("init: Can't init gatehold: "
                                         "org\\.freedesktop\\.DBus\\.Error\\.[A-Za-z]+ / .+")));
    service = std::make_unique<ScriptedService>();
    service->add(path("a"));
    EXPECT_TRUE(manager.init());
    EXPECT_EQ(manager.getNumberOfCameras(), 1);
}

TEST_F(AnInit, ThrowsWhenTheBusIsNotThereAndMayTryAgain) {
    service.reset();
    processBus.bus().stop();
    EXPECT_THROW(manager.init(), std::exception);
    processBus.bus().start();
    service = std::make_unique<ScriptedService>();
    EXPECT_TRUE(manager.init());
}

TEST_F(AnInit, EndsWithAnExceptionWhenAnExistingObjectIsNoCamera) {
    ServiceObject other;
    other.interface = "io.nerio.Test.Other";
    service->add(path("other"), other);
    EXPECT_THROW(manager.init(), std::out_of_range);
}

TEST_F(AnInit, EndsWithAnExceptionWhenAnExistingCameraLacksAProperty) {
    for (bool ServiceObject::*const property :
         {&ServiceObject::hasName, &ServiceObject::hasCapabilities,
          &ServiceObject::hasDeviceCaps}) {
        ServiceObject lacking;
        lacking.*property = false;
        service->add(path("lacking"), lacking);
        EXPECT_THROW(manager.init(), std::out_of_range);
        service->remove(path("lacking"));
    }
    EXPECT_TRUE(manager.init());
}

TEST_F(AnInit, ThatFailedKeepsWhatItHasListedAndReportsItOnce) {
    service->add(path("a"));
    ServiceObject nameless;
    nameless.hasName = false;
    service->add(path("b"), nameless);
    manager.setListener(&managerListener);
    EXPECT_THROW(manager.init(), std::out_of_range);
    EXPECT_EQ(manager.getNumberOfCameras(), 1);
    service->remove(path("b"));
    EXPECT_TRUE(manager.init());
    EXPECT_EQ(manager.getNumberOfCameras(), 1);
    EXPECT_THAT(managerListener.events(), ElementsAre("added " + path("a")));
}

TEST_F(AnInit, FailsWhenAnExistingPropertyHasAnotherType) {
    ServiceObject liar;
    liar.capabilitiesAreText = true;
    service->add(path("liar"), liar);
    EXPECT_FALSE(manager.init());
    EXPECT_THAT(log.messages(), ElementsAre(StartsWith("init: Can't init gatehold: ")));
    service->remove(path("liar"));
    EXPECT_TRUE(manager.init());
}

}  // namespace
