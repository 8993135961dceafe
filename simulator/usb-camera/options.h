// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The command line of lumiq-usb-camera. Read once by main.

#ifndef LUMIQ_USB_CAMERA_OPTIONS_H
#define LUMIQ_USB_CAMERA_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "stream-negotiation.h"

namespace UsbCamera {

struct Options {
    enum class Mode { Run, Tell, Wait };
    Mode mode = Mode::Run;
    // Run
    std::string description;
    Transport transport = Transport::Isochronous;
    UvcVersion version = UvcVersion::v1_1;
    std::optional<unsigned> port;
    bool unplugged = false;
    // Run, where it is optional, and the others
    std::string socket;
    std::vector<std::string> command;
    unsigned seconds = 10;
};

/// Reads the command line; nothing when only help was wanted, which is then printed. Throws
/// std::invalid_argument with what to do instead.
std::optional<Options> readOptions(int argc, const char* const* argv);

}  // namespace UsbCamera

#endif
