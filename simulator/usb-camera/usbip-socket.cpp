// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reading and writing the socket to the kernel. Called on the camera's thread.

#include "usbip-socket.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace UsbCamera {
namespace {

constexpr std::size_t readBytes = std::size_t{64} << 10;
/// More than any kernel puts into a transfer.
constexpr std::uint32_t mostPackets = 1024;
constexpr std::uint32_t mostData = std::uint32_t{1} << 20;

/// Leaves out what the kernel has taken.
std::size_t skip(std::vector<iovec>& parts, std::size_t at, std::size_t bytes) {
    while (at < parts.size() && bytes >= parts[at].iov_len) {
        bytes -= parts[at++].iov_len;
    }
    if (at < parts.size()) {
        parts[at].iov_base = static_cast<std::uint8_t*>(parts[at].iov_base) + bytes;
        parts[at].iov_len -= bytes;
    }
    return at;
}

}  // namespace

bool UsbipSocket::receive() {
    m_received.erase(m_received.begin(), m_received.begin() + static_cast<long>(m_read));
    m_read = 0;
    const std::size_t before = m_received.size();
    m_received.resize(before + readBytes);
    ssize_t got = 0;
    do {
        got = recv(m_descriptor.get(), &m_received[before], readBytes, MSG_DONTWAIT);
    } while (got < 0 && errno == EINTR);
    m_received.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return got > 0 || (got < 0 && errno == EAGAIN);
}

std::optional<UsbipMessage> UsbipSocket::next() {
    const std::span<const std::uint8_t> rest(m_received.begin() + static_cast<long>(m_read),
                                             m_received.end());
    if (m_broken || rest.size() < usbipHeaderBytes) {
        return std::nullopt;
    }
    const std::optional<UsbipRequest> request = decodeRequest(rest.first<usbipHeaderBytes>());
    if (!request || request->packets > mostPackets ||
        (!request->in && request->length > mostData)) {
        m_broken = true;
        return std::nullopt;
    }
    const bool submits = request->kind == UsbipRequest::Kind::Submit;
    const std::size_t data = submits && !request->in ? request->length : 0;
    const std::size_t all = usbipHeaderBytes + data + request->packets * isoPacketBytes;
    if (rest.size() < all) {
        return std::nullopt;
    }
    UsbipMessage message{*request, {}, {}};
    const auto body = rest.subspan(usbipHeaderBytes);
    message.data.assign(body.begin(), body.begin() + static_cast<long>(data));
    for (std::size_t i = 0; i < request->packets; ++i) {
        message.packets.push_back(
            decodeIsoPacket(body.subspan(data + i * isoPacketBytes).first<isoPacketBytes>()));
    }
    m_read += all;
    return message;
}

void UsbipSocket::send(std::vector<iovec>& parts) const {
    std::size_t at = 0;
    while (at < parts.size()) {
        msghdr message{};
        message.msg_iov = &parts[at];
        message.msg_iovlen = std::min<std::size_t>(parts.size() - at, IOV_MAX);
        const ssize_t sent = sendmsg(m_descriptor.get(), &message, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return;
        }
        at = skip(parts, at, static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
}

void UsbipSocket::send(std::span<const std::uint8_t> bytes) const {
    std::vector<iovec> parts = {{const_cast<std::uint8_t*>(bytes.data()), bytes.size()}};
    send(parts);
}

}  // namespace UsbCamera
