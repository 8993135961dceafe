// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The tests' client of the service; see the header.
#include "bus-client.h"

#include <poll.h>

#include <algorithm>
#include <array>

namespace GateholdTest {
namespace {

constexpr const char* kService = "io.nerio.Gatehold1";
constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";
constexpr const char* kControlPath = "/io/nerio/Gatehold1/Control";
constexpr const char* kControl = "io.nerio.Gatehold1.Control";

std::string nodeOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

BusClient::BusClient(const std::string& busAddress)
    : m_connection(sdbus::createSessionBusConnectionWithAddress(busAddress)),
      m_manager(proxy(kManagerPath)) {
    m_manager->uponSignal("InterfacesAdded")
        .onInterface(kObjectManager)
        .call([this](const sdbus::ObjectPath& path, const Interfaces& interfaces) {
            m_signals.push_back("+" + nodeOf(path));
            m_lastArrival = interfaces;
        });
    m_manager->uponSignal("InterfacesRemoved")
        .onInterface(kObjectManager)
        .call([this](const sdbus::ObjectPath& path, const std::vector<std::string>& interfaces) {
            m_signals.push_back("-" + nodeOf(path));
            if (interfaces != std::vector<std::string>{kDeviceInterface}) {
                m_signals.push_back("with other interfaces");
            }
        });
}

std::unique_ptr<sdbus::IProxy> BusClient::proxy(const std::string& path) {
    return sdbus::createProxy(*m_connection, sdbus::ServiceName{kService}, sdbus::ObjectPath{path});
}

std::map<sdbus::ObjectPath, Interfaces> BusClient::managedObjects() {
    std::map<sdbus::ObjectPath, Interfaces> objects;
    m_manager->callMethod("GetManagedObjects").onInterface(kObjectManager).storeResultsTo(objects);
    return objects;
}

std::vector<std::string> BusClient::nodes() {
    std::vector<std::string> result;
    for (const auto& [path, interfaces] : managedObjects()) {
        result.push_back(nodeOf(path));
    }
    return result;
}

sdbus::UnixFd BusClient::open(const std::string& node) {
    sdbus::UnixFd handle;
    proxy(pathOf(node))->callMethod("Open").onInterface(kDeviceInterface).storeResultsTo(handle);
    return handle;
}

sdbus::Variant BusClient::property(const std::string& node, const std::string& name) {
    return proxy(pathOf(node))->getProperty(name).onInterface(kDeviceInterface);
}

std::string BusClient::plug(const std::string& description) {
    sdbus::ObjectPath path;
    proxy(kControlPath)
        ->callMethod("Plug")
        .onInterface(kControl)
        .withArguments(description)
        .storeResultsTo(path);
    return nodeOf(path);
}

void BusClient::unplug(const std::string& node) {
    proxy(kControlPath)
        ->callMethod("Unplug")
        .onInterface(kControl)
        .withArguments(sdbus::ObjectPath{pathOf(node)});
}

void BusClient::setFault(const std::string& node, const std::string& fault) {
    proxy(kControlPath)
        ->callMethod("SetFault")
        .onInterface(kControl)
        .withArguments(sdbus::ObjectPath{pathOf(node)}, fault);
}

void BusClient::clearFaults(const std::string& node) {
    proxy(kControlPath)
        ->callMethod("ClearFaults")
        .onInterface(kControl)
        .withArguments(sdbus::ObjectPath{pathOf(node)});
}

bool BusClient::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        if (m_connection->processPendingEvent()) {
            continue;
        }
        const auto bus = m_connection->getEventLoopPollData();
        std::array<pollfd, 2> items{{{bus.fd, bus.events, 0}, {bus.eventFd, POLLIN, 0}}};
        // A condition may hold for another reason than a message; so the wait is never long.
        const int own = bus.getPollTimeout();
        poll(items.data(), items.size(), own < 0 ? 20 : std::min(own, 20));
    }
    return true;
}

bool BusClient::waitForSignal(const std::string& signal) {
    return waitUntil(
        [&] { return std::find(m_signals.begin(), m_signals.end(), signal) != m_signals.end(); });
}

std::string pathOf(const std::string& node) {
    return std::string(kManagerPath) + "/" + node;
}

std::string errorOf(const std::function<void()>& call) {
    try {
        call();
        return {};
    } catch (const sdbus::Error& error) {
        return error.getName();
    }
}

std::string describe(const std::string& name) {
    return R"({"name": ")" + name + R"(", "formats": [{"fourcc": "YUYV", "sizes": ["320x240"]}]})";
}

}  // namespace GateholdTest
