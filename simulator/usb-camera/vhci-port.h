// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A port of the kernel's virtual host controller, which takes a socket for a cable. Used on the
// camera's thread.

#ifndef LUMIQ_USB_CAMERA_VHCI_PORT_H
#define LUMIQ_USB_CAMERA_VHCI_PORT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "usb-port.h"

namespace UsbCamera {

/// A line of the controller's list of ports.
struct VhciPortState {
    unsigned port = 0;
    bool highSpeed = false;
    unsigned status = 0;
    std::string busId;  ///< of the device there, as "1-1"; "0-0" for none
    [[nodiscard]] bool free() const { return status == 4; }
};

/// Reads the list; lines that are not of a port are left out.
std::vector<VhciPortState> parsePorts(std::string_view list);

class VhciPort final : public UsbPort {
public:
    /// `sysfs` is where the kernel shows its devices: "/sys", or a stand-in for it. Without `port`
    /// any free one will do. Throws PortError when there is no such controller.
    explicit VhciPort(std::string sysfs, std::optional<unsigned> port = std::nullopt);

    Simulator::OwnedDescriptor plug() override;
    std::string whereabouts() override;

private:
    [[nodiscard]] std::vector<VhciPortState> ports() const;
    [[nodiscard]] std::string captureNode(const std::string& busId) const;
    [[nodiscard]] unsigned choosePort() const;
    void attach(unsigned port, int socket) const;

    const std::string m_sysfs;
    const std::string m_controller;
    const std::optional<unsigned> m_wanted;
    std::optional<unsigned> m_used;
};

}  // namespace UsbCamera

#endif
