// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The longest part of the descriptors: the streaming interface with its formats, frames, intervals
// and endpoints. Called once, when the camera is made.

#ifndef LUMIQ_USB_CAMERA_STREAMING_DESCRIPTORS_H
#define LUMIQ_USB_CAMERA_STREAMING_DESCRIPTORS_H

#include <cstdint>

#include "byte-order.h"
#include "stream-negotiation.h"

namespace UsbCamera {

/// The terminal that the stream leaves by.
inline constexpr std::uint8_t outputTerminal = 2;
/// What the field for the length of all descriptors together can tell.
inline constexpr std::size_t mostBytes = 65535;

inline void append(Bytes& to, const Bytes& bytes) {
    for (const std::uint8_t byte : bytes) {
        to.push_back(byte);
    }
}

/// Throws Simulator::DescriptionError when the formats do not fit.
void appendStreamingInterface(Bytes& to, const StreamNegotiation& negotiation,
                              std::uint8_t protocol);

}  // namespace UsbCamera

#endif
