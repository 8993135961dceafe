// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Real video nodes; see the header.
#include "real-nodes.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "capture-node.h"
#include "messages.h"

namespace GateholdService {
namespace {

constexpr const char* kSubsystem = "video4linux";

// Without udev a node can be announced before whatever makes it or gives it its permissions has
// done so: it is tried again for a second in all.
constexpr int kAttempts = 10;
constexpr long kRetryNanoseconds = 100'000'000;

// Other nodes of the subsystem (vbi, radio, subdevices) never give pictures and are not opened.
bool isVideoNode(std::string_view node) {
    constexpr std::string_view prefix = "video";
    return node.size() > prefix.size() && node.substr(0, prefix.size()) == prefix &&
           std::all_of(node.begin() + prefix.size(), node.end(),
                       [](char character) { return character >= '0' && character <= '9'; });
}

bool mayPass(int error) {
    return error == ENOENT || error == EACCES || error == EPERM;
}

bool udevRuns() {
    return access("/run/udev/control", F_OK) == 0;
}

}  // namespace

std::map<std::string, std::string> videoNodesIn(const std::string& folder) {
    std::map<std::string, std::string> result;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string node = entry->path().filename().string();
        if (isVideoNode(node)) {
            result.emplace(node, entry->path().string());
        }
    }
    return result;
}

RealNodes::RealNodes(CameraList& list, EventLoop& loop)
    : m_list(list), m_loop(loop), m_udev(udev_new()) {
    // Listening before looking: a camera that arrives in between is seen twice, not never.
    startMonitor();
    enumerate();
}

RealNodes::~RealNodes() {
    if (m_monitor) {
        m_loop.unwatch(udev_monitor_get_fd(m_monitor.get()));
    }
    if (m_retryTimer.isValid()) {
        m_loop.unwatch(m_retryTimer.get());
    }
}

void RealNodes::startMonitor() {
    // udev's word comes when a node has its permissions; the kernel's own, as soon as it exists.
    const bool fromUdev = udevRuns();
    if (m_udev) {
        m_monitor.reset(udev_monitor_new_from_netlink(m_udev.get(), fromUdev ? "udev" : "kernel"));
    }
    if (!m_monitor ||
        udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), kSubsystem, nullptr) < 0 ||
        udev_monitor_enable_receiving(m_monitor.get()) < 0) {
        m_monitor.reset();
        say("cannot listen for devices: real cameras that are plugged in or out are not noticed");
        return;
    }
    if (!fromUdev) {
        sayVerbose("udev does not run: listening to the kernel itself");
    }
    m_loop.watch(udev_monitor_get_fd(m_monitor.get()), [this] { onMonitorEvent(); });
}

void RealNodes::enumerate() {
    std::unique_ptr<udev_enumerate, Deleter> found(m_udev ? udev_enumerate_new(m_udev.get())
                                                          : nullptr);
    if (access("/sys/class", F_OK) != 0 || !found ||
        udev_enumerate_add_match_subsystem(found.get(), kSubsystem) < 0 ||
        udev_enumerate_scan_devices(found.get()) < 0) {
        say("no /sys here: looking for video nodes in /dev by their names");
        for (const auto& [node, path] : videoNodesIn("/dev")) {
            add(node, path, 0);
        }
        return;
    }
    for (auto* entry = udev_enumerate_get_list_entry(found.get()); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        const std::unique_ptr<udev_device, Deleter> device(
            udev_device_new_from_syspath(m_udev.get(), udev_list_entry_get_name(entry)));
        if (device) {
            arrived(*device);
        }
    }
}

void RealNodes::onMonitorEvent() {
    const std::unique_ptr<udev_device, Deleter> device(
        udev_monitor_receive_device(m_monitor.get()));
    if (!device) {
        return;
    }
    const char* const action = udev_device_get_action(device.get());
    const char* const node = udev_device_get_sysname(device.get());
    if (action == nullptr || node == nullptr) {
        return;
    }
    if (std::strcmp(action, "add") == 0) {
        arrived(*device);
    } else if (std::strcmp(action, "remove") == 0) {
        m_retries.erase(node);
        m_list.remove(node);
    }
}

void RealNodes::arrived(udev_device& device) {
    const char* const node = udev_device_get_sysname(&device);
    const char* const path = udev_device_get_devnode(&device);
    if (node != nullptr && path != nullptr && isVideoNode(node)) {
        add(node, path, udevRuns() ? 0 : kAttempts);
    }
}

void RealNodes::add(const std::string& node, const std::string& devicePath, int attemptsLeft) {
    try {
        // Opening wakes the device for some milliseconds, in which the loop waits.
        auto camera = queryNode(devicePath);
        if (camera) {
            m_list.add(node, std::move(*camera));
        } else {
            sayVerbose(devicePath + " is not a capture node: left out");
        }
    } catch (const std::system_error& error) {
        if (attemptsLeft > 0 && mayPass(error.code().value())) {
            retryLater(node, devicePath, attemptsLeft - 1);
        } else {
            say(devicePath + " is left out: " + error.code().message());
        }
    }
}

void RealNodes::retryLater(const std::string& node, const std::string& devicePath,
                           int attemptsLeft) {
    if (!m_retryTimer.isValid()) {
        m_retryTimer.reset(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK),
                           sdbus::adopt_fd);
        m_loop.watch(m_retryTimer.get(), [this] { onRetry(); });
    }
    itimerspec once{};
    once.it_value.tv_nsec = kRetryNanoseconds;
    timerfd_settime(m_retryTimer.get(), 0, &once, nullptr);
    m_retries.insert_or_assign(node, Retry{devicePath, attemptsLeft});
}

void RealNodes::onRetry() {
    std::uint64_t count = 0;
    if (read(m_retryTimer.get(), &count, sizeof count) != sizeof count) {
        return;
    }
    for (const auto& [node, retry] : std::exchange(m_retries, {})) {
        add(node, retry.devicePath, retry.attemptsLeft);
    }
}

}  // namespace GateholdService
