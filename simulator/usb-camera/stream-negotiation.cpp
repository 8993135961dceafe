// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The arithmetic and the bytes of the negotiation. Called on the camera's thread.

#include "stream-negotiation.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace UsbCamera {
namespace {

/// Of the formats' payloads, which have had only one.
constexpr std::uint8_t payloadVersion = 1;
/// Where in a proposal the fields are.
constexpr std::size_t atFormat = 2, atFrame = 3, atInterval = 4;
constexpr std::uint16_t intervalIsFixed = 1;
/// Microframes in a second: an isochronous packet goes with each.
constexpr std::uint64_t packetsPerSecond = 8000;
/// A compressed frame is seldom larger than this part of the room for it.
constexpr std::uint64_t compression = 4;

template <typename List>
std::uint8_t nearestIndex(std::uint8_t wish, const List& list) {
    const auto last = static_cast<std::uint8_t>(std::min<std::size_t>(list.size(), 255));
    return std::clamp<std::uint8_t>(wish, 1, last);
}

}  // namespace

StreamNegotiation::StreamNegotiation(std::vector<UvcFormat> formats, UvcVersion version,
                                     Transport transport)
    : m_formats(std::move(formats)), m_version(version), m_transport(transport) {}

std::size_t StreamNegotiation::length() const {
    return m_version == UvcVersion::v1_5 ? 48 : 34;
}

StreamChoice StreamNegotiation::nearest(std::span<const std::uint8_t> proposal) const {
    StreamChoice choice;
    choice.format = nearestIndex(proposal[atFormat], m_formats);
    choice.frame = nearestIndex(proposal[atFrame], format(choice).frames);
    const auto wish = readLittle<std::uint32_t>(&proposal[atInterval]);
    choice.interval =
        wish == 0 ? frame(choice).defaultInterval : nearestInterval(frame(choice), wish);
    return choice;
}

Bytes StreamNegotiation::describe(const StreamChoice& choice) const {
    Bytes bytes;
    appendLittle(bytes, intervalIsFixed);
    bytes.push_back(choice.format);
    bytes.push_back(choice.frame);
    appendLittle(bytes, choice.interval);
    bytes.resize(bytes.size() + 8);         // key frames, quality, window: nothing to choose
    appendLittle(bytes, std::uint16_t{0});  // delay
    appendLittle(bytes, frame(choice).maxBytes);
    appendLittle(bytes, payload(choice));
    appendLittle(bytes, clockFrequency);
    bytes.push_back(3);                            // frames are told apart by FID and end with EOF
    bytes.insert(bytes.end(), 3, payloadVersion);  // preferred, least and most
    bytes.resize(length());
    return bytes;
}

StreamChoice StreamNegotiation::standard() const {
    return {1, 1, m_formats.front().frames.front().defaultInterval};
}

StreamChoice StreamNegotiation::shortest() const {
    StreamChoice choice = standard();
    choice.interval = nearestInterval(frame(choice), 1);
    return choice;
}

StreamChoice StreamNegotiation::longest() const {
    StreamChoice choice = standard();
    choice.interval = nearestInterval(frame(choice), std::numeric_limits<std::uint32_t>::max());
    return choice;
}

const UvcFormat& StreamNegotiation::format(const StreamChoice& choice) const {
    return m_formats.at(choice.format - 1U);
}

const UvcFrame& StreamNegotiation::frame(const StreamChoice& choice) const {
    return format(choice).frames.at(choice.frame - 1U);
}

std::uint32_t StreamNegotiation::payload(const StreamChoice& choice) const {
    if (m_transport == Transport::Bulk) {
        return bulkPayload;
    }
    const bool raw = format(choice).kind == UvcFormatKind::Uncompressed;
    const std::uint64_t bytes = frame(choice).maxBytes / (raw ? 1 : compression);
    const std::uint64_t perPacket = bytes * unitsPerSecond / choice.interval / packetsPerSecond;
    for (const std::uint32_t size : isoPayloads) {
        if (size > perPacket + perPacket / 8) {
            return size;
        }
    }
    return std::end(isoPayloads)[-1];
}

}  // namespace UsbCamera
