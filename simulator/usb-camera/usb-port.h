// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Where a camera is plugged in. The kernel's port in the program; a test in place of the kernel.

#ifndef LUMIQ_USB_CAMERA_USB_PORT_H
#define LUMIQ_USB_CAMERA_USB_PORT_H

#include <stdexcept>
#include <string>

#include "owned.h"

namespace UsbCamera {

/// What went wrong, with what to do about it.
class PortError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class UsbPort {
public:
    virtual ~UsbPort() = default;
    /// Plugs a cable in; returns the camera's end of it, whose closing unplugs it. Throws
    /// PortError.
    virtual Simulator::OwnedDescriptor plug() = 0;
    /// Words on where the cable is, as "port=0 node=/dev/video0", as far as they are known.
    virtual std::string whereabouts() = 0;
};

}  // namespace UsbCamera

#endif
