// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Requests and replies as bytes. Called on the camera's thread, and by tests that play the kernel.

#include "usbip-protocol.h"

#include <algorithm>

#include "byte-order.h"

namespace UsbCamera {
namespace {

enum Command : std::uint32_t { submit = 1, unlink = 2, submitted = 3, unlinked = 4 };

constexpr std::uint32_t device = 1;
/// Where the fields begin, in bytes.
constexpr std::size_t atCommand = 0, atSequence = 4, atDevice = 8, atDirection = 12,
                      atEndpoint = 16;
/// Of a submission ...
constexpr std::size_t atLength = 24, atStartFrame = 28, atPackets = 32, atSetup = 40;
/// ... of an unlinking, and of replies.
constexpr std::size_t atUnlinked = 20, atStatus = 20;

SetupPacket decodeSetup(const std::uint8_t* from) {
    return {from[0], from[1], readLittle<std::uint16_t>(from + 2),
            readLittle<std::uint16_t>(from + 4), readLittle<std::uint16_t>(from + 6)};
}

UsbipHeader header(std::uint32_t command, std::uint32_t sequence) {
    UsbipHeader bytes{};
    writeBig(&bytes[atCommand], command);
    writeBig(&bytes[atSequence], sequence);
    return bytes;
}

}  // namespace

std::optional<UsbipRequest> decodeRequest(std::span<const std::uint8_t, usbipHeaderBytes> header) {
    const std::uint8_t* const from = header.data();
    const std::uint32_t command = readBig(from + atCommand);
    if (command != submit && command != unlink) {
        return std::nullopt;
    }
    UsbipRequest request;
    request.sequence = readBig(from + atSequence);
    request.in = readBig(from + atDirection) != 0;
    request.endpoint = readBig(from + atEndpoint);
    if (command == unlink) {
        request.kind = UsbipRequest::Kind::Unlink;
        request.unlinked = readBig(from + atUnlinked);
        return request;
    }
    request.length = readBig(from + atLength);
    request.startFrame = readBig(from + atStartFrame);
    request.packets = readBig(from + atPackets);
    if (request.packets == noPackets) {
        request.packets = 0;
    }
    request.setup = decodeSetup(from + atSetup);
    return request;
}

UsbipHeader encode(const UsbipRequest& request) {
    const bool submits = request.kind == UsbipRequest::Kind::Submit;
    UsbipHeader bytes = header(submits ? submit : unlink, request.sequence);
    writeBig(&bytes[atDevice], device);
    writeBig(&bytes[atDirection], request.in ? 1 : 0);
    writeBig(&bytes[atEndpoint], request.endpoint);
    if (!submits) {
        writeBig(&bytes[atUnlinked], request.unlinked);
        return bytes;
    }
    writeBig(&bytes[atLength], request.length);
    writeBig(&bytes[atStartFrame], request.startFrame);
    writeBig(&bytes[atPackets], request.packets);
    Bytes setup = {request.setup.requestType, request.setup.request};
    appendLittle(setup, request.setup.value);
    appendLittle(setup, request.setup.index);
    appendLittle(setup, request.setup.length);
    std::copy(setup.begin(), setup.end(), bytes.begin() + atSetup);
    return bytes;
}

UsbipHeader encode(const UsbipReply& reply) {
    UsbipHeader bytes = header(submitted, reply.sequence);
    writeBig(&bytes[atStatus], static_cast<std::uint32_t>(reply.status));
    writeBig(&bytes[atLength], reply.actualLength);
    writeBig(&bytes[atStartFrame], reply.startFrame);
    writeBig(&bytes[atPackets], reply.packets);
    return bytes;
}

UsbipHeader encodeUnlinked(std::uint32_t sequence, std::int32_t status) {
    UsbipHeader bytes = header(unlinked, sequence);
    writeBig(&bytes[atStatus], static_cast<std::uint32_t>(status));
    return bytes;
}

IsoPacket decodeIsoPacket(std::span<const std::uint8_t, isoPacketBytes> bytes) {
    return {readBig(&bytes[0]), readBig(&bytes[4]), readBig(&bytes[8]),
            static_cast<std::int32_t>(readBig(&bytes[12]))};
}

IsoPacketBytes encode(const IsoPacket& packet) {
    IsoPacketBytes bytes{};
    writeBig(&bytes[0], packet.offset);
    writeBig(&bytes[4], packet.length);
    writeBig(&bytes[8], packet.actualLength);
    writeBig(&bytes[12], static_cast<std::uint32_t>(packet.status));
    return bytes;
}

}  // namespace UsbCamera
