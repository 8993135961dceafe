// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The kernel's side of the protocol, as far as a camera meets it. On the test's thread.

#include "kernel-end.h"

#include <linux/usb/ch9.h>
#include <linux/usb/video.h>
#include <poll.h>
#include <sys/socket.h>

#include <stdexcept>
#include <utility>

#include "descriptors.h"

namespace UsbCameraTest {

using UsbCamera::IsoPacket;
using UsbCamera::SetupPacket;
using UsbCamera::UsbipRequest;

namespace {

constexpr int patience = 20000;
constexpr std::uint32_t transfersAtOnce = 5;
constexpr std::uint32_t packetsAtOnce = 32;

template <typename Array>
void add(Bytes& to, const Array& from) {
    to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

KernelEnd::KernelEnd(Simulator::OwnedDescriptor socket) : m_socket(std::move(socket)) {}

/// A camera that is gone takes no more; what it sent before is still there to be read.
void KernelEnd::send(const Bytes& bytes) {
    m_refused = m_refused || ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
                                 static_cast<ssize_t>(bytes.size());
}

bool KernelEnd::receive(std::uint8_t* to, std::size_t bytes) const {
    std::size_t got = 0;
    while (got < bytes) {
        pollfd readable{m_socket.get(), POLLIN, 0};
        if (poll(&readable, 1, patience) != 1) {
            throw std::runtime_error("the camera does not answer");
        }
        const ssize_t more = recv(m_socket.get(), to + got, bytes - got, 0);
        if (more <= 0) {
            return false;
        }
        got += static_cast<std::size_t>(more);
    }
    return true;
}

std::optional<Reply> KernelEnd::read() {
    UsbCamera::UsbipHeader header;
    if (!receive(header.data(), header.size())) {
        return std::nullopt;
    }
    Reply reply;
    const std::uint32_t command = UsbCamera::readBig(&header[0]);
    reply.sequence = UsbCamera::readBig(&header[4]);
    reply.status = static_cast<std::int32_t>(UsbCamera::readBig(&header[20]));
    reply.toUnlink = command == 4;
    if (reply.toUnlink) {
        return reply;
    }
    const auto pending = m_pending.find(reply.sequence);
    if (command != 3 || pending == m_pending.end()) {
        throw std::runtime_error("the camera answers what was not asked");
    }
    const Pending transfer = pending->second;
    m_pending.erase(pending);
    if (UsbCamera::readBig(&header[32]) !=
        (transfer.packets == 0 ? UsbCamera::noPackets : transfer.packets)) {
        throw std::runtime_error("the camera miscounts the packets of a transfer");
    }
    if (!readBody(reply, transfer, UsbCamera::readBig(&header[24]))) {
        return std::nullopt;
    }
    return reply;
}

bool KernelEnd::readBody(Reply& reply, const Pending& pending, std::uint32_t actualLength) {
    reply.data.resize(pending.in ? actualLength : 0);
    if (!receive(reply.data.data(), reply.data.size())) {
        return false;
    }
    if (pending.packets == 0) {
        reply.payloads.push_back(reply.data);
        return true;
    }
    std::size_t at = 0;
    for (std::uint32_t i = 0; i < pending.packets; ++i) {
        UsbCamera::IsoPacketBytes bytes;
        if (!receive(bytes.data(), bytes.size())) {
            return false;
        }
        const IsoPacket packet = UsbCamera::decodeIsoPacket(bytes);
        if (packet.actualLength > packet.length || at + packet.actualLength > reply.data.size()) {
            throw std::runtime_error("a packet is longer than there is room for it");
        }
        const auto begin = reply.data.begin() + static_cast<long>(at);
        reply.payloads.emplace_back(begin, begin + packet.actualLength);
        at += packet.actualLength;
    }
    if (at != reply.data.size()) {
        throw std::runtime_error("the packets are not as long as their transfer");
    }
    return true;
}

Reply KernelEnd::control(const SetupPacket& setup, const Bytes& data) {
    UsbipRequest request;
    request.sequence = ++m_sequence;
    request.in = (setup.requestType & USB_DIR_IN) != 0;
    request.length = setup.length;
    request.setup = setup;
    m_pending[request.sequence] = {request.in, 0};
    Bytes bytes;
    add(bytes, encode(request));
    add(bytes, data);
    send(bytes);
    while (std::optional<Reply> reply = read()) {
        if (!reply->toUnlink && reply->sequence == request.sequence) {
            return *reply;
        }
        m_kept.push_back(*reply);
    }
    throw std::runtime_error("the camera is gone");
}

Bytes KernelEnd::descriptor(std::uint8_t type, std::uint8_t index) {
    return control({USB_DIR_IN, USB_REQ_GET_DESCRIPTOR,
                    static_cast<std::uint16_t>(type << 8 | index), 0, 65535})
        .data;
}

Bytes KernelEnd::agree(const UsbCamera::StreamChoice& choice, std::size_t proposalBytes) {
    Bytes proposal(proposalBytes);
    proposal[2] = choice.format;
    proposal[3] = choice.frame;
    for (std::size_t i = 0; i < 4; ++i) {
        proposal[4 + i] = static_cast<std::uint8_t>(choice.interval >> 8 * i);
    }
    const auto length = static_cast<std::uint16_t>(proposalBytes);
    constexpr std::uint8_t toInterface = USB_TYPE_CLASS | USB_RECIP_INTERFACE;
    constexpr std::uint16_t probe = UVC_VS_PROBE_CONTROL << 8, commit = UVC_VS_COMMIT_CONTROL << 8;
    constexpr std::uint16_t index = UsbCamera::streamingInterface;
    control({toInterface, UVC_SET_CUR, probe, index, length}, proposal);
    const Bytes answer =
        control({USB_DIR_IN | toInterface, UVC_GET_CUR, probe, index, length}).data;
    if (control({toInterface, UVC_SET_CUR, commit, index, length}, answer).status != 0) {
        return {};
    }
    return answer;
}

bool KernelEnd::selectAlternate(std::uint16_t alternate) {
    return control({USB_RECIP_INTERFACE, USB_REQ_SET_INTERFACE, alternate,
                    UsbCamera::streamingInterface, 0})
               .status == 0;
}

bool KernelEnd::clearHalt() {
    return control({USB_RECIP_ENDPOINT, USB_REQ_CLEAR_FEATURE, USB_ENDPOINT_HALT,
                    UsbCamera::videoEndpointAddress, 0})
               .status == 0;
}

std::uint32_t KernelEnd::submitIso(std::uint32_t packets, std::uint32_t packetBytes) {
    UsbipRequest request;
    request.sequence = ++m_sequence;
    request.in = true;
    request.endpoint = UsbCamera::videoEndpoint;
    request.length = packets * packetBytes;
    request.packets = packets;
    m_pending[request.sequence] = {true, packets};
    Bytes bytes;
    add(bytes, encode(request));
    for (std::uint32_t i = 0; i < packets; ++i) {
        add(bytes, encode(IsoPacket{i * packetBytes, packetBytes, 0, 0}));
    }
    send(bytes);
    return request.sequence;
}

std::uint32_t KernelEnd::submitBulk(std::uint32_t length) {
    UsbipRequest request;
    request.sequence = ++m_sequence;
    request.in = true;
    request.endpoint = UsbCamera::videoEndpoint;
    request.length = length;
    m_pending[request.sequence] = {true, 0};
    Bytes bytes;
    add(bytes, encode(request));
    send(bytes);
    return request.sequence;
}

std::int32_t KernelEnd::unlink(std::uint32_t sequence) {
    UsbipRequest request;
    request.kind = UsbipRequest::Kind::Unlink;
    request.sequence = ++m_sequence;
    request.unlinked = sequence;
    Bytes bytes;
    add(bytes, encode(request));
    send(bytes);
    while (std::optional<Reply> reply = read()) {
        if (reply->toUnlink && reply->sequence == request.sequence) {
            if (reply->status != 0) {
                m_pending.erase(sequence);
            }
            return reply->status;
        }
        m_kept.push_back(*reply);
    }
    throw std::runtime_error("the camera is gone");
}

std::optional<Reply> KernelEnd::next(int milliseconds) {
    if (!m_kept.empty()) {
        Reply reply = m_kept.front();
        m_kept.pop_front();
        return reply;
    }
    pollfd readable{m_socket.get(), POLLIN, 0};
    return poll(&readable, 1, milliseconds) == 1 ? read() : std::nullopt;
}

void KernelEnd::streamIso(std::uint32_t packetBytes) {
    m_packetBytes = packetBytes;
    m_bulkBytes = 0;
    m_parity = -1;
    m_framesSeen = 0;
    m_frame = {};
    m_frames.clear();
}

void KernelEnd::streamBulk(std::uint32_t bytes) {
    streamIso(0);
    m_bulkBytes = bytes;
}

void KernelEnd::unlinkAll() {
    const auto pending = m_pending;
    for (const auto& [sequence, transfer] : pending) {
        unlink(sequence);
    }
    m_kept.clear();
}

std::optional<ReceivedFrame> KernelEnd::nextFrame() {
    while (m_frames.empty()) {
        while (!m_refused && m_pending.size() < transfersAtOnce) {
            m_bulkBytes != 0 ? submitBulk(m_bulkBytes) : submitIso(packetsAtOnce, m_packetBytes);
        }
        const std::optional<Reply> reply = next(patience);
        if (!reply) {
            return std::nullopt;
        }
        for (const Bytes& payload : reply->payloads) {
            take(payload);
        }
    }
    ReceivedFrame frame = std::move(m_frames.front());
    m_frames.pop_front();
    return frame;
}

void KernelEnd::take(const Bytes& payload) {
    if (payload.size() < 2 || payload[0] < 2 || payload[0] > payload.size()) {
        return;
    }
    const int parity = payload[1] & UVC_STREAM_FID;
    if (parity != m_parity) {
        if (m_parity != -1) {
            finishFrame();
        }
        m_parity = parity;
        m_frame = {};
        m_frame.sequence = m_framesSeen++;
    }
    m_frame.flawed = m_frame.flawed || (payload[1] & UVC_STREAM_ERR) != 0;
    m_frame.bytes.insert(m_frame.bytes.end(), payload.begin() + payload[0], payload.end());
    if ((payload[1] & UVC_STREAM_EOF) != 0) {
        finishFrame();
    }
}

/// A frame without bytes is none.
void KernelEnd::finishFrame() {
    if (!m_frame.bytes.empty()) {
        m_frames.push_back(std::exchange(m_frame, {}));
    }
}

bool KernelEnd::seesHangUp() {
    pollfd readable{m_socket.get(), POLLIN | POLLRDHUP, 0};
    std::uint8_t byte = 0;
    while (poll(&readable, 1, patience) == 1) {
        if (recv(m_socket.get(), &byte, 1, MSG_DONTWAIT) <= 0) {
            return true;
        }
    }
    return false;
}

}  // namespace UsbCameraTest
