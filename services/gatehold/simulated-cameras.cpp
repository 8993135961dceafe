// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Simulated cameras; see the header. A camera can unplug itself, in shared memory and at any time,
// which no descriptor tells: so each has a thread that waits for just that and wakes the loop.
#include "simulated-cameras.h"

#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace GateholdService {
namespace {

// How long the end of the program may have to wait for a watching thread. An unplugged camera ends
// the wait at once.
constexpr std::chrono::milliseconds kWatchSlice{250};

}  // namespace

// A device that is plugged in, and its watching thread.
class SimulatedCameras::Plugged {
public:
    Plugged(const Simulator::CameraDescription& description, int unpluggedEvent)
        : m_device(description), m_watcher([this, unpluggedEvent] { watch(unpluggedEvent); }) {}
    Plugged(const Plugged&) = delete;
    Plugged& operator=(const Plugged&) = delete;
    ~Plugged() {
        stopWatching();
        m_watcher.join();
    }

    // Does not wait for the thread.
    void stopWatching() { m_stop = true; }

    Simulator::SimulatedDevice& device() { return m_device; }

private:
    // On the watching thread.
    void watch(int unpluggedEvent) const {
        while (!m_stop) {
            if (m_device.waitUntilUnplugged(kWatchSlice)) {
                eventfd_write(unpluggedEvent, 1);
                return;
            }
        }
    }

    Simulator::SimulatedDevice m_device;
    std::atomic<bool> m_stop = false;
    std::thread m_watcher;
};

SimulatedCameras::SimulatedCameras(CameraList& list, EventLoop& loop)
    : m_list(list),
      m_loop(loop),
      m_unplugged(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), sdbus::adopt_fd) {
    if (!m_unplugged.isValid()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    m_loop.watch(m_unplugged.get(), [this] {
        eventfd_t count = 0;
        eventfd_read(m_unplugged.get(), &count);
        removeUnplugged();
    });
}

SimulatedCameras::~SimulatedCameras() {
    m_loop.unwatch(m_unplugged.get());
    // All at once, so that their last waits pass side by side.
    for (const auto& [node, plugged] : m_cameras) {
        plugged->stopWatching();
    }
}

std::string SimulatedCameras::plug(const Simulator::CameraDescription& description) {
    unsigned number = 0;
    while (m_list.contains("sim" + std::to_string(number))) {
        ++number;
    }
    std::string node = "sim" + std::to_string(number);
    auto plugged = std::make_unique<Plugged>(description, m_unplugged.get());
    const auto& device = plugged->device();
    m_list.add(node, {device.name(), device.capabilities(), device.deviceCaps(),
                      [&device] { return sdbus::UnixFd(device.open(), sdbus::adopt_fd); }});
    m_cameras.insert_or_assign(node, std::move(plugged));
    return node;
}

bool SimulatedCameras::unplug(const std::string& node) {
    const auto found = m_cameras.find(node);
    if (found == m_cameras.end()) {
        return false;
    }
    // The device first, as with a real one: a client told of the departure finds it gone.
    found->second->device().unplug();
    m_list.remove(node);
    m_cameras.erase(found);
    return true;
}

bool SimulatedCameras::setFault(const std::string& node, std::string_view faultJson) {
    const auto found = m_cameras.find(node);
    if (found == m_cameras.end()) {
        return false;
    }
    found->second->device().setFault(faultJson);
    return true;
}

bool SimulatedCameras::clearFaults(const std::string& node) {
    const auto found = m_cameras.find(node);
    if (found == m_cameras.end()) {
        return false;
    }
    found->second->device().clearFaults();
    return true;
}

void SimulatedCameras::unplugAll() {
    for (const auto& [node, plugged] : m_cameras) {
        plugged->device().unplug();
    }
    removeUnplugged();
}

void SimulatedCameras::removeUnplugged() {
    for (auto next = m_cameras.begin(); next != m_cameras.end();) {
        const auto current = next++;
        if (current->second->device().unplugged()) {
            m_list.remove(current->first);
            m_cameras.erase(current);
        }
    }
}

}  // namespace GateholdService
