// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How a running camera is told what to do: one datagram with a command, one with the answer, over a
// socket in the file system. The camera's end is used on its thread, the other in a program of its
// own.

#ifndef LUMIQ_USB_CAMERA_CONTROL_SOCKET_H
#define LUMIQ_USB_CAMERA_CONTROL_SOCKET_H

#include <chrono>
#include <functional>
#include <string>

#include "owned.h"

namespace UsbCamera {

/// The camera's end; the socket's name is there as long as this is. Throws std::system_error.
class ControlSocket {
public:
    /// A name that a camera left behind is taken over.
    explicit ControlSocket(std::string path);
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;
    ~ControlSocket();

    [[nodiscard]] int descriptor() const { return m_descriptor.get(); }
    /// Takes a command, if one is there, and sends what `obey` answers to it.
    void serve(const std::function<std::string(const std::string& command)>& obey) const;

private:
    const std::string m_path;
    const Simulator::OwnedDescriptor m_descriptor;
};

/// Sends a command to the camera behind a socket and returns its answer. Throws std::runtime_error
/// when there is none within the time.
std::string tellCamera(const std::string& path, const std::string& command,
                       std::chrono::seconds patience);

}  // namespace UsbCamera

#endif
