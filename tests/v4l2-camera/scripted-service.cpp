// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Plays the device-access service. Calls arrive on its own event thread.

#include "scripted-service.h"

#include <sdbus-c++/sdbus-c++.h>
#include <unistd.h>

#include <mutex>
#include <stdexcept>
#include <utility>

namespace TestSupport {

struct ScriptedService::State {
    std::unique_ptr<sdbus::IConnection> connection;
    std::unique_ptr<sdbus::IObject> root;
    std::map<std::string, std::unique_ptr<sdbus::IObject>> objects;
    std::mutex mutex;
    std::map<std::string, int> openCalls;
    std::vector<sdbus::Result<sdbus::UnixFd>> unanswered;
};

namespace {

sdbus::UnixFd openFor(const ServiceObject& object) {
    try {
        return sdbus::UnixFd{object.open(), sdbus::adopt_fd};
    } catch (const std::runtime_error& error) {
        throw sdbus::Error(sdbus::Error::Name{"io.nerio.Test.Refused"}, error.what());
    }
}

std::vector<sdbus::VTableItem> propertiesOf(const ServiceObject& object) {
    std::vector<sdbus::VTableItem> items;
    if (object.hasName) {
        items.emplace_back(
            sdbus::registerProperty("Name").withGetter([name = object.name] { return name; }));
    }
    if (object.hasCapabilities && object.capabilitiesAreText) {
        items.emplace_back(
            sdbus::registerProperty("Capabilities").withGetter([] { return std::string("many"); }));
    } else if (object.hasCapabilities) {
        items.emplace_back(
            sdbus::registerProperty("Capabilities").withGetter([word = object.capabilities] {
                return word;
            }));
    }
    if (object.hasDeviceCaps) {
        items.emplace_back(
            sdbus::registerProperty("DeviceCaps").withGetter([word = object.deviceCaps] {
                return word;
            }));
    }
    return items;
}

}  // namespace

ScriptedService::ScriptedService() : m_state(std::make_unique<State>()) {
    m_state->connection = sdbus::createSystemBusConnection();
    m_state->root = sdbus::createObject(*m_state->connection, sdbus::ObjectPath{serviceRoot});
    m_state->root->addObjectManager();
    m_state->connection->requestName(sdbus::ServiceName{"io.nerio.Gatehold1"});
    m_state->connection->enterEventLoopAsync();
}

ScriptedService::~ScriptedService() {
    m_state->connection->leaveEventLoop();
}

void ScriptedService::add(const std::string& path, const ServiceObject& object) {
    auto published = sdbus::createObject(*m_state->connection, sdbus::ObjectPath{path});
    std::vector<sdbus::VTableItem> items = propertiesOf(object);
    const auto count = [state = m_state.get(), path] {
        const std::lock_guard lock(state->mutex);
        ++state->openCalls[path];
    };
    if (object.openGivesText) {
        items.emplace_back(sdbus::registerMethod("Open").implementedAs([count] {
            count();
            return std::string("/dev/video0");
        }));
    } else if (object.openNeverAnswers) {
        items.emplace_back(sdbus::registerMethod("Open").implementedAs(
            [count, state = m_state.get()](sdbus::Result<sdbus::UnixFd>&& result) {
                count();
                const std::lock_guard lock(state->mutex);
                state->unanswered.push_back(std::move(result));
            }));
    } else {
        items.emplace_back(sdbus::registerMethod("Open").implementedAs([count, object] {
            count();
            return openFor(object);
        }));
    }
    published->addVTable(sdbus::InterfaceName{object.interface}, std::move(items));
    published->emitInterfacesAddedSignal();
    m_state->objects[path] = std::move(published);
}

void ScriptedService::remove(const std::string& path, const std::vector<std::string>& interfaces) {
    announceRemoved(path, interfaces);
    m_state->objects.erase(path);
}

void ScriptedService::announceRemoved(const std::string& path,
                                      const std::vector<std::string>& interfaces) {
    std::vector<sdbus::InterfaceName> names;
    for (const std::string& each : interfaces) {
        names.emplace_back(each);
    }
    auto signal =
        m_state->root->createSignal(sdbus::InterfaceName{"org.freedesktop.DBus.ObjectManager"},
                                    sdbus::SignalName{"InterfacesRemoved"});
    signal << sdbus::ObjectPath{path} << names;
    m_state->root->emitSignal(signal);
}

void ScriptedService::announceAdded(const std::string& path) {
    m_state->objects.at(path)->emitInterfacesAddedSignal();
}

int ScriptedService::openCalls(const std::string& path) {
    const std::lock_guard lock(m_state->mutex);
    return m_state->openCalls[path];
}

}  // namespace TestSupport
