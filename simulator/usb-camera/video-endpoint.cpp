// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Filling transfers with frames: a reply is gathered from the frame itself, the headers and the
// packet records, so that the kernel makes the only copy. Called on the camera's thread.

#include "video-endpoint.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace UsbCamera {

void VideoEndpoint::start(const StreamFormat& format, Painters& painters,
                          Simulator::ControlBlock& faults, std::uint32_t payload) {
    m_source.emplace(format, painters, faults);
    m_cutter.reset();
    m_payload = payload;
}

void VideoEndpoint::stop() {
    m_source.reset();
    m_cutter.reset();
}

void VideoEndpoint::submit(UsbipMessage transfer) {
    m_transfers.push_back(std::move(transfer));
}

bool VideoEndpoint::unlink(std::uint32_t sequence) {
    const auto found =
        std::find_if(m_transfers.begin(), m_transfers.end(),
                     [sequence](const auto& t) { return t.request.sequence == sequence; });
    if (found == m_transfers.end()) {
        return false;
    }
    m_transfers.erase(found);
    return true;
}

VideoEndpoint::Work VideoEndpoint::work(Clock::time_point now) {
    while (m_source && !m_transfers.empty()) {
        if (m_cutter.done()) {
            switch (m_source->step(now)) {
                case FrameSource::Step::Wait:
                    return {m_source->waitUntil(), false};
                case FrameSource::Step::Unplug:
                    return {std::nullopt, true};
                case FrameSource::Step::Frame:
                    m_cutter.begin(m_source->bytes(), m_source->flawed());
                    break;
            }
        }
        answer(m_transfers.front());
        m_transfers.pop_front();
    }
    return {};
}

void VideoEndpoint::addPart(const void* bytes, std::size_t size) {
    m_parts.push_back({const_cast<void*>(bytes), size});
}

void VideoEndpoint::answer(const UsbipMessage& transfer) {
    m_parts.clear();
    m_payloads.clear();
    m_packets.clear();
    if (transfer.packets.empty()) {
        answerBulk(transfer);
    } else {
        answerIso(transfer);
    }
}

void VideoEndpoint::answerIso(const UsbipMessage& transfer) {
    UsbipReply reply{transfer.request.sequence, 0, 0, transfer.request.startFrame,
                     transfer.request.packets};
    m_payloads.reserve(transfer.packets.size());
    for (IsoPacket packet : transfer.packets) {
        packet.actualLength = 0;
        packet.status = 0;
        if (!m_cutter.done() && packet.length >= payloadHeaderBytes) {
            m_payloads.push_back(m_cutter.next(std::min(packet.length, m_payload)));
            packet.actualLength = static_cast<std::uint32_t>(m_payloads.back().bytes());
            reply.actualLength += packet.actualLength;
        }
        m_packets.push_back(encode(packet));
    }
    const UsbipHeader header = encode(reply);
    addPart(header.data(), header.size());
    for (const Payload& payload : m_payloads) {
        addPart(payload.header.data(), payload.header.size());
        addPart(payload.data.data(), payload.data.size());
    }
    addPart(m_packets.data(), m_packets.size() * isoPacketBytes);
    m_socket.send(m_parts);
}

void VideoEndpoint::answerBulk(const UsbipMessage& transfer) {
    // A payload ends with its full length or with a transfer that is not full; where a transfer is
    // too small for the one, it is the other.
    const std::uint32_t room = transfer.request.length;
    const std::uint32_t most = room >= m_payload ? m_payload : std::max(room, 1U) - 1;
    Payload payload{};
    UsbipReply reply{transfer.request.sequence, 0, 0};
    if (most <= payloadHeaderBytes) {
        reply.status = -EOVERFLOW;
        m_socket.send(encode(reply));
        return;
    }
    payload = m_cutter.next(most);
    reply.actualLength = static_cast<std::uint32_t>(payload.bytes());
    const UsbipHeader header = encode(reply);
    addPart(header.data(), header.size());
    addPart(payload.header.data(), payload.header.size());
    addPart(payload.data.data(), payload.data.size());
    m_socket.send(m_parts);
}

}  // namespace UsbCamera
