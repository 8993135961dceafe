// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The HDMI input of the kernel's virtual video driver, the last of the three instances that are
// loaded for the tests on real kernels. Its faults are buttons among its controls. Test thread.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_VIVID_WORLD_H
#define LUMIQ_TESTS_DRIVER_TRUTH_VIVID_WORLD_H

#include "world.h"

namespace DriverTruth {

class VividWorld final : public World {
public:
    /// Makes the input say of its pictures what a USB camera does: their colours, and when their
    /// time was taken.
    VividWorld();
    /// Leaves the driver as it was.
    ~VividWorld() override;

    int open(bool blocking) override;
    /// All instances of the driver are at one cable.
    void unplug() override;
    void plug() override;
    /// Throws std::runtime_error for a fault that the driver has no button for.
    void setFault(const std::string& json) override;
    /// Throws: what was injected ends when it has struck.
    void clearFaults() override;

private:
    void settle();

    std::string m_node;
};

}  // namespace DriverTruth

#endif
