// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A client of the device-access service as tests need it: asks, opens, controls, and keeps the
// signals it has seen in order. All on the test's thread: signals come in while it waits.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "child-process.h"

namespace GateholdTest {

using Interfaces = std::map<std::string, std::map<std::string, sdbus::Variant>>;

inline constexpr const char* kManagerPath = "/io/nerio/Gatehold1/Uvc";
inline constexpr const char* kDeviceInterface = "io.nerio.Gatehold1.UvcDevice";

class BusClient {
public:
    explicit BusClient(const std::string& busAddress);

    std::map<sdbus::ObjectPath, Interfaces> managedObjects();
    // The last parts of the cameras' paths, in the order of the list.
    std::vector<std::string> nodes();
    sdbus::UnixFd open(const std::string& node);
    sdbus::Variant property(const std::string& node, const std::string& name);

    std::string plug(const std::string& description);
    void unplug(const std::string& node);
    void setFault(const std::string& node, const std::string& fault);
    void clearFaults(const std::string& node);

    // "+sim0" for an arrival, "-sim0" for a departure, in order.
    const std::vector<std::string>& signals() const { return m_signals; }
    // The properties that the last arrival came with.
    const Interfaces& lastArrival() const { return m_lastArrival; }
    // Takes signals in until the condition holds; false if the limit passes first.
    bool waitUntil(const std::function<bool()>& condition,
                   std::chrono::milliseconds limit = TestSupport::kGenerousLimit);
    bool waitForSignal(const std::string& signal);

private:
    std::unique_ptr<sdbus::IProxy> proxy(const std::string& path);

    std::unique_ptr<sdbus::IConnection> m_connection;
    std::unique_ptr<sdbus::IProxy> m_manager;
    std::vector<std::string> m_signals;
    Interfaces m_lastArrival;
};

std::string pathOf(const std::string& node);

// The name of the error a call fails with; an empty string if it does not fail.
std::string errorOf(const std::function<void()>& call);

// A small camera that the simulator accepts.
std::string describe(const std::string& name);

}  // namespace GateholdTest
