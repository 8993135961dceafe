// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The camera that a scenario is about: simulated, or behind the kernel's driver. On the test's
// thread.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_WORLD_H
#define LUMIQ_TESTS_DRIVER_TRUTH_WORLD_H

#include <string>

namespace DriverTruth {

class World {
public:
    World() = default;
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    virtual ~World() = default;

    /// A new file handle; -1 with errno.
    virtual int open(bool blocking) = 0;
    virtual void unplug() = 0;
    /// Plugs the camera in again, without faults, and returns when it can be opened.
    virtual void plug() = 0;
    virtual void setFault(const std::string& json) = 0;
    virtual void clearFaults() = 0;
};

}  // namespace DriverTruth

#endif
