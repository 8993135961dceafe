// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Plugging into the virtual host controller by way of sysfs. Called on the camera's thread.

#include "vhci-port.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

namespace UsbCamera {
namespace {

using Simulator::OwnedDescriptor;

constexpr int highSpeed = 3;
constexpr int anyDevice = 1;
/// Room for the largest reply, so that the camera seldom waits for the kernel.
constexpr int socketBytes = 1 << 20;

std::string readFile(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Both ends of a cable: the camera's and the kernel's.
std::pair<OwnedDescriptor, OwnedDescriptor> makeCable() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        throw PortError("cannot make a socket pair: " + std::string(strerror(errno)));
    }
    setsockopt(ends[0], SOL_SOCKET, SO_SNDBUFFORCE, &socketBytes, sizeof socketBytes);
    return {OwnedDescriptor(ends[0]), OwnedDescriptor(ends[1])};
}

}  // namespace

std::vector<VhciPortState> parsePorts(std::string_view list) {
    std::vector<VhciPortState> ports;
    std::istringstream lines{std::string(list)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        VhciPortState port;
        std::string hub, speed, device, socket;
        if (fields >> hub >> port.port >> port.status >> speed >> device >> socket >> port.busId) {
            port.highSpeed = hub == "hs";
            ports.push_back(port);
        }
    }
    return ports;
}

VhciPort::VhciPort(std::string sysfs, std::optional<unsigned> port)
    : m_sysfs(std::move(sysfs)),
      m_controller(m_sysfs + "/devices/platform/vhci_hcd.0"),
      m_wanted(port) {
    if (!std::filesystem::exists(m_controller + "/attach")) {
        throw PortError(
            "the kernel has no virtual USB host controller; load it with: modprobe "
            "vhci-hcd (and uvcvideo for the camera)");
    }
}

std::vector<VhciPortState> VhciPort::ports() const {
    std::vector<VhciPortState> ports;
    std::string name = m_controller + "/status";
    for (unsigned controller = 1; std::filesystem::exists(name); ++controller) {
        const auto more = parsePorts(readFile(name));
        ports.insert(ports.end(), more.begin(), more.end());
        name = m_controller + "/status." + std::to_string(controller);
    }
    return ports;
}

unsigned VhciPort::choosePort() const {
    for (const VhciPortState& port : ports()) {
        const bool wanted = !m_wanted || port.port == *m_wanted;
        if (wanted && port.highSpeed && port.free()) {
            return port.port;
        }
    }
    throw PortError(m_wanted
                        ? "port " + std::to_string(*m_wanted) +
                              " of the virtual host controller is taken, or has another speed; "
                              "leave --port out to use any free one"
                        : "all ports of the virtual host controller are taken; unplug a camera");
}

void VhciPort::attach(unsigned port, int socket) const {
    const std::string path = m_controller + "/attach";
    const OwnedDescriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.get() < 0) {
        const int error = errno;
        throw PortError(path + ": " + strerror(error) +
                        (error == EACCES ? "; only root may plug cameras in" : ""));
    }
    const std::string line = std::to_string(port) + " " + std::to_string(socket) + " " +
                             std::to_string(anyDevice) + " " + std::to_string(highSpeed);
    if (write(file.get(), line.data(), line.size()) < 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

OwnedDescriptor VhciPort::plug() {
    constexpr int attempts = 5;  // another camera may take the port at the same moment
    for (int attempt = 1;; ++attempt) {
        auto [ours, kernels] = makeCable();
        const unsigned port = choosePort();
        try {
            attach(port, kernels.get());
            m_used = port;
            return std::move(ours);
        } catch (const std::system_error& error) {
            if (attempt == attempts) {
                throw PortError(std::string("the kernel refuses the camera: ") + error.what());
            }
        }
    }
}

/// A camera has a node for pictures and one for what goes with them; the first one is asked for.
std::string VhciPort::captureNode(const std::string& busId) const {
    const std::string folder =
        m_sysfs + "/bus/usb/devices/" + busId + "/" + busId + ":1.0/video4linux";
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
        if (readFile(entry.path() / "index") == "0\n") {
            return "/dev/" + entry.path().filename().string();
        }
    }
    return {};
}

std::string VhciPort::whereabouts() {
    if (!m_used) {
        return {};
    }
    std::string words = "port=" + std::to_string(*m_used);
    const auto all = ports();
    const auto ours = std::find_if(all.begin(), all.end(),
                                   [this](const auto& port) { return port.port == *m_used; });
    if (ours != all.end() && ours->busId != "0-0") {
        const std::string node = captureNode(ours->busId);
        words += " bus=" + ours->busId + (node.empty() ? "" : " node=" + node);
    }
    return words;
}

}  // namespace UsbCamera
