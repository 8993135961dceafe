// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera behind the kernel's USB driver: lumiq-usb-camera on the virtual host controller. Needs
// root and the modules vhci-hcd and uvcvideo. Test thread.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_USB_WORLD_H
#define LUMIQ_TESTS_DRIVER_TRUTH_USB_WORLD_H

#include <optional>

#include "child-process.h"
#include "scenario.h"
#include "world.h"

namespace DriverTruth {

class UsbWorld final : public World {
public:
    /// Sets the driver's parameters; damaged frames reach the program where the scenario says
    /// nothing else.
    explicit UsbWorld(const Scenario& scenario);
    /// Returns when the camera's node is gone.
    ~UsbWorld() override;

    int open(bool blocking) override;
    /// Returns when the node is gone, as plug() does when it is there; both throw
    /// std::runtime_error when that takes too long.
    void unplug() override;
    void plug() override;
    void setFault(const std::string& json) override;
    void clearFaults() override;

private:
    void tell(const std::string& command) const;
    [[nodiscard]] bool findNode();
    void waitForNode();
    [[nodiscard]] bool waitUntilGone() const;

    const std::string m_socket = "/run/driver-truth";
    const std::string m_description = "/run/driver-truth.json";
    std::optional<TestSupport::ChildProcess> m_camera;
    std::string m_node;
};

}  // namespace DriverTruth

#endif
