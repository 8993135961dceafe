// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Numbers in the two byte orders of the camera's cable: USB counts from the lowest byte, the
// protocol that carries it from the highest. No state, any thread.

#ifndef LUMIQ_USB_CAMERA_BYTE_ORDER_H
#define LUMIQ_USB_CAMERA_BYTE_ORDER_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace UsbCamera {

using Bytes = std::vector<std::uint8_t>;

template <std::unsigned_integral Number>
void appendLittle(Bytes& to, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        to.push_back(static_cast<std::uint8_t>(number >> 8 * i));
    }
}

/// Reads sizeof(Number) bytes.
template <std::unsigned_integral Number>
Number readLittle(const std::uint8_t* from) {
    Number number = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        number = static_cast<Number>(number | static_cast<Number>(from[i]) << 8 * i);
    }
    return number;
}

inline void writeBig(std::uint8_t* to, std::uint32_t number) {
    for (std::size_t i = 0; i < 4; ++i) {
        to[i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
    }
}

inline std::uint32_t readBig(const std::uint8_t* from) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = number << 8 | from[i];
    }
    return number;
}

}  // namespace UsbCamera

#endif
