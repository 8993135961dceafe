// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The whole camera: it is plugged in and unplugged, streams, and obeys commands. Made by main, and
// by tests that play the kernel; run() is its thread, and everything happens there.

#ifndef LUMIQ_USB_CAMERA_CAMERA_H
#define LUMIQ_USB_CAMERA_CAMERA_H

#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "camera-description.h"
#include "control-block.h"
#include "control-endpoint.h"
#include "control-socket.h"
#include "descriptors.h"
#include "stream-negotiation.h"
#include "usb-device.h"
#include "usb-port.h"

namespace UsbCamera {

class Camera {
public:
    /// Throws Simulator::DescriptionError when a USB camera cannot be like that.
    Camera(Simulator::CameraDescription description, UvcVersion version, Transport transport,
           UsbPort& port);

    /// Throws PortError.
    void plugIn();
    void unplug() { m_device.reset(); }
    [[nodiscard]] bool pluggedIn() const { return m_device != nullptr; }

    /// Does what a command says; returns the answer, "ok", or "error: ..." when it cannot be done.
    /// commandHelp lists them.
    std::string obey(const std::string& command);

    /// Serves the kernel, and commands where there is a socket for them, until `stop` is readable
    /// or a command says so.
    void run(int stop, const ControlSocket* control);

private:
    std::string carryOut(const std::string& name, std::istringstream& rest);
    std::string addFault(const Simulator::Fault& fault);
    std::string stall(std::istringstream& rest);
    std::string refuse(std::istringstream& rest);
    std::string clear();
    [[nodiscard]] std::string status() const;
    [[nodiscard]] std::optional<Clock::time_point> work();

    const Simulator::CameraDescription m_description;
    const StreamNegotiation m_negotiation;
    const Descriptors m_descriptors;
    ControlEndpoint m_control;
    UsbPort& m_port;
    Painters m_painters;
    const std::unique_ptr<Simulator::ControlBlock> m_faults;
    std::unique_ptr<UsbDevice> m_device;
    bool m_quit = false;
};

/// The commands, for people.
extern const char* const commandHelp;

}  // namespace UsbCamera

#endif
