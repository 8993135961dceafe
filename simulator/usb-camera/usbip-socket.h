// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The camera's end of the socket to the kernel: whole requests in, replies out. Used on the
// camera's thread.

#ifndef LUMIQ_USB_CAMERA_USBIP_SOCKET_H
#define LUMIQ_USB_CAMERA_USBIP_SOCKET_H

#include <sys/uio.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "byte-order.h"
#include "owned.h"
#include "usbip-protocol.h"

namespace UsbCamera {

/// A request with what followed it.
struct UsbipMessage {
    UsbipRequest request;
    Bytes data;                      ///< to the device
    std::vector<IsoPacket> packets;  ///< of an isochronous transfer
};

class UsbipSocket {
public:
    explicit UsbipSocket(Simulator::OwnedDescriptor descriptor)
        : m_descriptor(std::move(descriptor)) {}

    [[nodiscard]] int descriptor() const { return m_descriptor.get(); }

    /// Takes in what has come, without waiting. False when the other end is gone.
    bool receive();
    /// The next whole request; nothing when more must come first. After one that no kernel sends
    /// there are no more, and broken() is true.
    std::optional<UsbipMessage> next();
    [[nodiscard]] bool broken() const { return m_broken; }

    /// Sends the parts as one, and waits while the kernel is slow to take them. When the other end
    /// is gone they are dropped; receive() tells. The parts are used up.
    void send(std::vector<iovec>& parts) const;
    void send(std::span<const std::uint8_t> bytes) const;

private:
    Simulator::OwnedDescriptor m_descriptor;
    Bytes m_received;
    std::size_t m_read = 0;  ///< of m_received
    bool m_broken = false;
};

}  // namespace UsbCamera

#endif
