// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Both ends of the control socket.

#include "control-socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace UsbCamera {
namespace {

using Simulator::OwnedDescriptor;

constexpr std::size_t mostMessageBytes = 4096;

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw std::system_error(ENAMETOOLONG, std::generic_category(), path);
    }
    path.copy(address.sun_path, path.size());
    return address;
}

OwnedDescriptor makeSocket() {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "socket");
    }
    return OwnedDescriptor(descriptor);
}

const sockaddr* plain(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

OwnedDescriptor listenAt(const std::string& path) {
    const sockaddr_un address = addressOf(path);
    OwnedDescriptor ours = makeSocket();
    const OwnedDescriptor probe = makeSocket();
    if (connect(probe.get(), plain(address), sizeof address) == 0) {
        throw std::system_error(EADDRINUSE, std::generic_category(), path);
    }
    if (errno == ECONNREFUSED && std::filesystem::is_socket(path)) {
        unlink(path.c_str());
    }
    if (bind(ours.get(), plain(address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return ours;
}

}  // namespace

ControlSocket::ControlSocket(std::string path)
    : m_path(std::move(path)), m_descriptor(listenAt(m_path)) {}

ControlSocket::~ControlSocket() {
    unlink(m_path.c_str());
}

void ControlSocket::serve(
    const std::function<std::string(const std::string& command)>& obey) const {
    std::array<char, mostMessageBytes> bytes{};
    sockaddr_un from{};
    socklen_t length = sizeof from;
    const ssize_t got = recvfrom(m_descriptor.get(), bytes.data(), bytes.size(), MSG_DONTWAIT,
                                 reinterpret_cast<sockaddr*>(&from), &length);
    if (got < 0) {
        return;
    }
    const std::string answer = obey(std::string(bytes.data(), static_cast<std::size_t>(got)));
    // Whoever asked may have left.
    sendto(m_descriptor.get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
           plain(from), length);
}

std::string tellCamera(const std::string& path, const std::string& command,
                       std::chrono::seconds patience) {
    const OwnedDescriptor ours = makeSocket();
    const sockaddr_un camera = addressOf(path);
    sockaddr_un unnamed{};
    unnamed.sun_family = AF_UNIX;
    // Without a name of its own, which the kernel gives here, there would be no way back.
    if (bind(ours.get(), plain(unnamed), sizeof unnamed.sun_family) != 0 ||
        connect(ours.get(), plain(camera), sizeof camera) != 0 ||
        send(ours.get(), command.data(), command.size(), MSG_NOSIGNAL) < 0) {
        throw std::system_error(errno, std::generic_category(), "no camera listens at " + path);
    }
    pollfd answered{ours.get(), POLLIN, 0};
    const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(patience).count();
    std::array<char, mostMessageBytes> bytes{};
    const bool came = poll(&answered, 1, static_cast<int>(wait)) == 1;
    const ssize_t got = came ? recv(ours.get(), bytes.data(), bytes.size(), 0) : -1;
    if (got < 0) {
        throw std::runtime_error("the camera at " + path + " does not answer");
    }
    return {bytes.data(), static_cast<std::size_t>(got)};
}

}  // namespace UsbCamera
