// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The camera's control endpoint: standard requests, the negotiation of the stream, and the code
// that says why a request was refused. Used on the camera's thread.

#ifndef LUMIQ_USB_CAMERA_CONTROL_ENDPOINT_H
#define LUMIQ_USB_CAMERA_CONTROL_ENDPOINT_H

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "descriptors.h"
#include "stream-negotiation.h"
#include "usbip-protocol.h"

namespace UsbCamera {

/// What a request does to the stream; the owner of the stream takes it after each request.
enum class StreamChange { None, Start, Stop };

class ControlEndpoint {
public:
    ControlEndpoint(const Descriptors& descriptors, const StreamNegotiation& negotiation);

    /// Answers a request: with the bytes to send back, empty when there are none, or with nothing
    /// when it is refused.
    std::optional<Bytes> answer(const SetupPacket& setup, std::span<const std::uint8_t> data);

    /// What the last request did to the stream; asking forgets it.
    StreamChange takeChange();
    [[nodiscard]] const StreamChoice& committed() const { return m_committed; }

    /// Refuses the next `count` requests of that name: "probe", "commit" (setting them) or
    /// "interface" (setting an alternate setting other than 0). False when there is no such name.
    bool refuse(const std::string& name, unsigned count);
    void refuseNothing() { m_refusals.clear(); }

    /// As after being plugged in.
    void reset();

private:
    std::optional<Bytes> answerDevice(const SetupPacket& setup);
    std::optional<Bytes> answerInterface(const SetupPacket& setup);
    std::optional<Bytes> answerEndpoint(const SetupPacket& setup);
    std::optional<Bytes> answerVideo(const SetupPacket& setup, std::span<const std::uint8_t> data);
    std::optional<Bytes> answerControl(const SetupPacket& setup);
    std::optional<Bytes> answerStreaming(const SetupPacket& setup,
                                         std::span<const std::uint8_t> data);
    std::optional<Bytes> set(std::uint8_t selector, std::span<const std::uint8_t> data);
    std::optional<Bytes> selectAlternate(const SetupPacket& setup);
    std::optional<Bytes> failed(std::uint8_t code);
    bool refuses(const std::string& name);

    const Descriptors& m_descriptors;
    const StreamNegotiation& m_negotiation;
    std::uint8_t m_configuration = 0;
    std::uint8_t m_alternate = 0;
    StreamChoice m_probed, m_committed;
    std::uint8_t m_error = 0;
    StreamChange m_change = StreamChange::None;
    std::map<std::string, unsigned> m_refusals;
};

}  // namespace UsbCamera

#endif
