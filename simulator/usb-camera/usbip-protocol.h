// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What goes over the socket between the kernel's virtual host controller and a device: requests
// that submit or unlink a transfer, and the replies. Both directions are here, since tests play the
// kernel. No state, any thread.

#ifndef LUMIQ_USB_CAMERA_USBIP_PROTOCOL_H
#define LUMIQ_USB_CAMERA_USBIP_PROTOCOL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace UsbCamera {

inline constexpr std::size_t usbipHeaderBytes = 48;
inline constexpr std::size_t isoPacketBytes = 16;
using UsbipHeader = std::array<std::uint8_t, usbipHeaderBytes>;
using IsoPacketBytes = std::array<std::uint8_t, isoPacketBytes>;

/// The eight bytes with which a control transfer begins.
struct SetupPacket {
    std::uint8_t requestType = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
    std::uint16_t length = 0;
};

/// What the kernel asks for. An isochronous one is followed by its packets, one that sends data to
/// the device by the data.
struct UsbipRequest {
    enum class Kind { Submit, Unlink };
    Kind kind = Kind::Submit;
    std::uint32_t sequence = 0;  ///< names the request in its reply
    bool in = false;             ///< to the kernel
    std::uint32_t endpoint = 0;
    std::uint32_t length = 0;      ///< of the transfer's buffer
    std::uint32_t startFrame = 0;  ///< isochronous: goes back as it came
    std::uint32_t packets = 0;     ///< isochronous: how many there are; 0 otherwise
    SetupPacket setup;             ///< control transfers
    std::uint32_t unlinked = 0;    ///< Unlink: the sequence of the request to take back
};

/// The count of packets of what is not isochronous; some kernels' requests have 0 there.
inline constexpr std::uint32_t noPackets = 0xffffffff;

/// The answer to a submitted transfer; data and packets follow.
struct UsbipReply {
    std::uint32_t sequence = 0;
    std::int32_t status = 0;  ///< 0 or a negative errno
    std::uint32_t actualLength = 0;
    std::uint32_t startFrame = 0;
    std::uint32_t packets = noPackets;
};

/// One packet of an isochronous transfer.
struct IsoPacket {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t actualLength = 0;
    std::int32_t status = 0;
};

/// Nothing when it is no request that a device knows.
std::optional<UsbipRequest> decodeRequest(std::span<const std::uint8_t, usbipHeaderBytes> header);
UsbipHeader encode(const UsbipRequest& request);

/// Replies to a submission and, with only sequence and status, to an unlinking.
UsbipHeader encode(const UsbipReply& reply);
UsbipHeader encodeUnlinked(std::uint32_t sequence, std::int32_t status);

IsoPacket decodeIsoPacket(std::span<const std::uint8_t, isoPacketBytes> bytes);
IsoPacketBytes encode(const IsoPacket& packet);

}  // namespace UsbCamera

#endif
