// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The device-access service as a program of the test's own, on the test's own bus. Called by the
// tests of the service and of everybody who uses it.
#pragma once

#include <string>
#include <vector>

#include "child-process.h"
#include "private-bus.h"

namespace TestSupport {

class GateholdProcess {
public:
    // Starts lumiq-gatehold and returns once clients may call. Throws std::runtime_error, with what
    // it printed, if it ends instead.
    GateholdProcess(const PrivateBus& bus, const std::vector<std::string>& arguments);

    ChildProcess& process() { return m_process; }
    // Ends it as a person would, by SIGTERM, and returns its exit code.
    int stop();

    // Where the program is.
    static std::string program();
    // The program with these arguments and that bus as the system bus, not waited for.
    static ChildProcess run(const std::string& busAddress, std::vector<std::string> arguments);
    // The same until it ends: its exit code.
    static int runToEnd(const std::string& busAddress, std::vector<std::string> arguments);

private:
    ChildProcess m_process;
};

}  // namespace TestSupport
