// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Real video nodes as a source of cameras: those that are there when the program starts, then
// arrivals and departures. Used in the loop.
#pragma once

#include <libudev.h>
#include <sdbus-c++/Types.h>

#include <map>
#include <memory>
#include <string>

#include "camera-list.h"
#include "event-loop.h"

namespace GateholdService {

class RealNodes {
public:
    // List and loop outlive it. What the machine lacks (udev, /sys, netlink) is told to the user
    // and done without.
    RealNodes(CameraList& list, EventLoop& loop);
    RealNodes(const RealNodes&) = delete;
    RealNodes& operator=(const RealNodes&) = delete;
    ~RealNodes();

private:
    struct Deleter {
        void operator()(udev* context) const { udev_unref(context); }
        void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
        void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
        void operator()(udev_device* device) const { udev_device_unref(device); }
    };

    void startMonitor();
    void enumerate();
    void onMonitorEvent();
    void arrived(udev_device& device);
    void onRetry();
    void add(const std::string& node, const std::string& devicePath, int attemptsLeft);
    void retryLater(const std::string& node, const std::string& devicePath, int attemptsLeft);

    struct Retry {
        std::string devicePath;
        int attemptsLeft;
    };

    CameraList& m_list;
    EventLoop& m_loop;
    std::unique_ptr<udev, Deleter> m_udev;
    std::unique_ptr<udev_monitor, Deleter> m_monitor;
    sdbus::UnixFd m_retryTimer;
    std::map<std::string, Retry> m_retries;
};

// The video nodes of a folder such as /dev, by name alone: node and path.
std::map<std::string, std::string> videoNodesIn(const std::string& folder);

}  // namespace GateholdService
