// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Requests to the endpoints they are for. Called on the camera's thread.

#include "usb-device.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace UsbCamera {

UsbDevice::UsbDevice(Simulator::OwnedDescriptor socket, ControlEndpoint& control,
                     const StreamNegotiation& negotiation, Painters& painters,
                     Simulator::ControlBlock& faults)
    : m_socket(std::move(socket)),
      m_control(control),
      m_negotiation(negotiation),
      m_painters(painters),
      m_faults(faults) {
    m_control.reset();
}

bool UsbDevice::receive() {
    const bool there = m_socket.receive();
    while (std::optional<UsbipMessage> message = m_socket.next()) {
        handle(std::move(*message));
    }
    return there && !m_socket.broken();
}

void UsbDevice::handle(UsbipMessage message) {
    const UsbipRequest& request = message.request;
    if (request.kind == UsbipRequest::Kind::Unlink) {
        answerUnlink(request);
        return;
    }
    m_newest = request.sequence;
    if (const auto early = m_early.find(request.sequence); early != m_early.end()) {
        m_socket.send(encodeUnlinked(early->second, -ECONNRESET));
        m_early.erase(early);
        return;
    }
    if (request.endpoint == 0) {
        answerControl(message);
    } else if (request.endpoint == videoEndpoint && request.in) {
        m_video.submit(std::move(message));
    } else {
        m_socket.send(encode(UsbipReply{request.sequence, -EPIPE, 0}));
    }
}

void UsbDevice::answerControl(const UsbipMessage& message) {
    const UsbipRequest& request = message.request;
    const std::optional<Bytes> answer = m_control.answer(request.setup, message.data);
    UsbipReply reply{request.sequence, 0, 0};
    Bytes data;
    if (!answer) {
        reply.status = -EPIPE;  // what a stalled endpoint is to the kernel
    } else if (request.in) {
        data = *answer;
        data.resize(std::min<std::size_t>(data.size(), request.length));
        reply.actualLength = static_cast<std::uint32_t>(data.size());
    } else {
        reply.actualLength = request.length;
    }
    const UsbipHeader header = encode(reply);
    data.insert(data.begin(), header.begin(), header.end());
    m_socket.send(data);
    changeStream();
}

/// A transfer that is still waiting is taken back; one that has been answered stays answered. The
/// kernel's sender can overtake itself when a transfer is taken back as soon as it is made: the
/// answer then waits for the transfer, which would be answered twice otherwise.
void UsbDevice::answerUnlink(const UsbipRequest& request) {
    if (static_cast<std::int32_t>(request.unlinked - m_newest) > 0) {
        m_early[request.unlinked] = request.sequence;
        return;
    }
    const bool waited = m_video.unlink(request.unlinked);
    m_socket.send(encodeUnlinked(request.sequence, waited ? -ECONNRESET : 0));
}

void UsbDevice::changeStream() {
    switch (m_control.takeChange()) {
        case StreamChange::None:
            break;
        case StreamChange::Stop:
            m_video.stop();
            break;
        case StreamChange::Start: {
            const StreamChoice choice = m_control.committed();
            const UvcFrame& frame = m_negotiation.frame(choice);
            m_video.start({m_negotiation.format(choice).fourcc, frame.width, frame.height,
                           frame.maxBytes, choice.interval},
                          m_painters, m_faults, m_negotiation.payload(choice));
            break;
        }
    }
}

}  // namespace UsbCamera
