// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A desk with simulated cameras for the end-to-end tests: a bus, the device-access service, and
// lumiq-cam with the real plug-in, which finds it as an installed program would. Test thread.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "gatehold-process.h"
#include "private-bus.h"
#include "tool-run.h"

namespace ToolTest {

class CameraDesk {
public:
    // Names of ready-made descriptions, without their ending. They become sim0, sim1, ...
    explicit CameraDesk(const std::vector<std::string>& cameras)
        : m_service(m_bus, arguments(cameras)) {}

    TestSupport::PrivateBus& bus() { return m_bus; }
    TestSupport::GateholdProcess& service() { return m_service; }

    static std::string idOf(const std::string& camera) {
        return "/io/nerio/Gatehold1/Uvc/" + camera;
    }

    Environment environment() const {
        // Simulated cameras exist only for programs that have the simulator.
        return {{"DBUS_SYSTEM_BUS_ADDRESS", m_bus.address()},
                {"LD_PRELOAD", LUMIQ_SIMULATOR_FILE},
                {"LUMIQ_PLUGIN", ""}};
    }

    TestSupport::ChildProcess start(const std::vector<std::string>& arguments) const {
        return startTool(arguments, environment());
    }
    ToolResult run(const std::vector<std::string>& arguments) const {
        return runTool(arguments, environment());
    }

    // 0 when the service did it.
    int control(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "control");
        return TestSupport::GateholdProcess::runToEnd(m_bus.address(), std::move(arguments));
    }

    static std::string description(const std::string& camera) {
        return LUMIQ_CAMERAS_FOLDER "/" + camera + ".json";
    }

private:
    static std::vector<std::string> arguments(const std::vector<std::string>& cameras) {
        std::vector<std::string> result{"--control"};
        for (const std::string& camera : cameras) {
            result.insert(result.end(), {"--simulate", description(camera)});
        }
        return result;
    }

    TestSupport::PrivateBus m_bus;
    TestSupport::GateholdProcess m_service;
};

}  // namespace ToolTest
