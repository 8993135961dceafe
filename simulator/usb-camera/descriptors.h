// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the camera says it is when it is plugged in: a device with one configuration, in it one
// video function with a control and a streaming interface. Made once; read on the camera's thread.

#ifndef LUMIQ_USB_CAMERA_DESCRIPTORS_H
#define LUMIQ_USB_CAMERA_DESCRIPTORS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "byte-order.h"
#include "stream-negotiation.h"

namespace UsbCamera {

inline constexpr std::uint8_t controlInterface = 0;
inline constexpr std::uint8_t streamingInterface = 1;
inline constexpr std::uint8_t videoEndpoint = 1;
/// As USB writes an endpoint that sends to the host.
inline constexpr std::uint8_t videoEndpointAddress = 0x80 | videoEndpoint;

class Descriptors {
public:
    /// Throws Simulator::DescriptionError when the formats do not fit.
    Descriptors(const std::string& name, const std::string& serial,
                const StreamNegotiation& negotiation);

    /// The descriptor of a type; nothing when there is none, as for other speeds.
    [[nodiscard]] std::optional<Bytes> find(std::uint8_t type, std::uint8_t index) const;

private:
    Bytes m_device;
    Bytes m_qualifier;
    Bytes m_configuration;
    std::vector<Bytes> m_strings;
};

}  // namespace UsbCamera

#endif
