// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Holds the simulated camera to what the kernel's drivers were seen to answer: every scenario, call
// by call.

#include <fcntl.h>
#include <gtest/gtest.h>

#include "simulated-device.h"
#include "transcript.h"

namespace DriverTruth {
namespace {

/// The kernel that the simulated camera stands for, the long-term one of Debian 13.
constexpr KernelVersion standsFor{6, 12};

class SimulatedWorld final : public World {
public:
    explicit SimulatedWorld(const std::string& json)
        : m_description(Simulator::parseDescription(json)), m_device(m_description) {}

    int open(bool blocking) override {
        try {
            const int descriptor = m_device.open();
            if (blocking) {
                fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
            }
            return descriptor;
        } catch (const std::system_error& error) {
            errno = error.code().value();
            return -1;
        }
    }
    void unplug() override { m_device.unplug(); }
    void plug() override {
        m_device = Simulator::SimulatedDevice(m_description);
        m_device.clearFaults();
    }
    void setFault(const std::string& json) override { m_device.setFault(json); }
    void clearFaults() override { m_device.clearFaults(); }

private:
    const Simulator::CameraDescription m_description;
    Simulator::SimulatedDevice m_device;
};

class TheSimulatedCamera : public testing::TestWithParam<std::string> {};

TEST_P(TheSimulatedCamera, AnswersAsTheDriverDoes) {
    const Scenario scenario = scenarioNamed(GetParam());
    SimulatedWorld world(scenario.camera);
    const Transcript transcript = run(GetParam(), scenario, world, Whose::Simulator, standsFor);
    EXPECT_EQ(transcript.differences, "") << transcript.text;
}

std::string nameOf(const testing::TestParamInfo<std::string>& scenario) {
    return testName(scenario.param);
}

INSTANTIATE_TEST_SUITE_P(InPlaceOfUvcvideo, TheSimulatedCamera,
                         testing::ValuesIn(scenariosOf("uvcvideo")), nameOf);
INSTANTIATE_TEST_SUITE_P(InPlaceOfVivid, TheSimulatedCamera,
                         testing::ValuesIn(scenariosOf("vivid")), nameOf);

}  // namespace
}  // namespace DriverTruth
