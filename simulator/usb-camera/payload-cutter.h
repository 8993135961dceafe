// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Cuts frames into the payloads that travel: a header of two bytes, then as much of the frame as
// fits. Used by the video endpoint, on the camera's thread.

#ifndef LUMIQ_USB_CAMERA_PAYLOAD_CUTTER_H
#define LUMIQ_USB_CAMERA_PAYLOAD_CUTTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace UsbCamera {

inline constexpr std::size_t payloadHeaderBytes = 2;

/// One payload; `data` points into the frame.
struct Payload {
    std::array<std::uint8_t, payloadHeaderBytes> header;
    std::span<const std::uint8_t> data;
    [[nodiscard]] std::size_t bytes() const { return header.size() + data.size(); }
};

class PayloadCutter {
public:
    /// Begins a frame, which stays where it is until it is done. One without bytes is a header
    /// alone, which counts as a frame and shows nothing. `flawed` marks every payload as erroneous.
    void begin(std::span<const std::uint8_t> frame, bool flawed);
    /// The next payload, of at most so many bytes; only while not done.
    Payload next(std::size_t mostBytes);
    [[nodiscard]] bool done() const { return m_done; }
    /// Gives up the frame it is at, as when a stream begins.
    void reset() { *this = PayloadCutter(); }

private:
    std::span<const std::uint8_t> m_rest;
    bool m_flawed = false;
    bool m_done = true;
    bool m_odd = true;  ///< the first frame of a stream is an even one
};

}  // namespace UsbCamera

#endif
