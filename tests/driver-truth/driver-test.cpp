// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The kernel's drivers, asked what is written of them in every scenario, with the answers of the
// kernel that runs. Needs root and the drivers; runs in a virtual machine. With LUMIQ_EXCHANGE set
// it leaves there what was answered, one transcript a scenario, to write scenarios from.

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "transcript.h"
#include "usb-world.h"
#include "vivid-world.h"

namespace DriverTruth {
namespace {

KernelVersion runningKernel() {
    utsname names{};
    uname(&names);
    return readVersion(names.release);
}

void expectAsWritten(const std::string& name, const Scenario& scenario, World& world) {
    const Transcript transcript = run(name, scenario, world, Whose::Driver, runningKernel());
    EXPECT_EQ(transcript.differences, "");
}

std::string nameOf(const testing::TestParamInfo<std::string>& scenario) {
    return testName(scenario.param);
}

class TheUvcDriver : public testing::TestWithParam<std::string> {};

TEST_P(TheUvcDriver, AnswersAsWritten) {
    const Scenario scenario = scenarioNamed(GetParam());
    UsbWorld world(scenario);
    expectAsWritten(GetParam(), scenario, world);
}

INSTANTIATE_TEST_SUITE_P(In, TheUvcDriver, testing::ValuesIn(scenariosOf("uvcvideo")), nameOf);

class TheVirtualVideoDriver : public testing::TestWithParam<std::string> {};

TEST_P(TheVirtualVideoDriver, AnswersAsWritten) {
    const Scenario scenario = scenarioNamed(GetParam());
    VividWorld world;
    expectAsWritten(GetParam(), scenario, world);
}

INSTANTIATE_TEST_SUITE_P(In, TheVirtualVideoDriver, testing::ValuesIn(scenariosOf("vivid")),
                         nameOf);

}  // namespace
}  // namespace DriverTruth
