// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A bus with the service on it and a client, as most tests of the service begin.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "bus-client.h"
#include "gatehold-process.h"
#include "private-bus.h"

namespace GateholdTest {

class ServiceFixture : public ::testing::Test {
protected:
    // A description file in the bus's folder.
    std::string file(const std::string& fileName, const std::string& contents) const {
        const std::string path = bus.folder() + "/" + fileName;
        std::ofstream(path) << contents;
        return path;
    }

    // Simulated cameras of these names, and whatever else is asked for.
    void serve(const std::vector<std::string>& cameraNames,
               const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"--no-real"};
        for (const std::string& name : cameraNames) {
            arguments.insert(arguments.end(), {"--simulate", file(name + ".json", describe(name))});
        }
        arguments.insert(arguments.end(), more.begin(), more.end());
        service.emplace(bus, arguments);
        client.emplace(bus.address());
    }

    TestSupport::PrivateBus bus;
    std::optional<TestSupport::GateholdProcess> service;
    std::optional<BusClient> client;
};

}  // namespace GateholdTest
