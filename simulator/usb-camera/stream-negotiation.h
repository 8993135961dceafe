// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the kernel and the camera agree on format, frame and interval: it proposes, the camera
// answers with the nearest it has, and what is committed is streamed. Used on the camera's thread.

#ifndef LUMIQ_USB_CAMERA_STREAM_NEGOTIATION_H
#define LUMIQ_USB_CAMERA_STREAM_NEGOTIATION_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "byte-order.h"
#include "uvc-formats.h"

namespace UsbCamera {

/// How the pictures travel.
enum class Transport { Isochronous, Bulk };

/// The version of USB video that the camera speaks, as in its descriptors.
enum class UvcVersion : std::uint16_t { v1_1 = 0x0110, v1_5 = 0x0150 };

/// The packet sizes of an isochronous camera, one alternate setting each, from 1.
inline constexpr std::uint32_t isoPayloads[] = {512, 1024, 2048, 3072};
/// What a bulk camera sends behind one header, and the kernel asks for at once.
inline constexpr std::uint32_t bulkPayload = 16384;

/// Of the clock that times are counted in, here and in the descriptors.
inline constexpr std::uint32_t clockFrequency = 48000000;

/// The bytes of a proposal in the oldest version, which every other begins with.
inline constexpr std::size_t shortestProposal = 26;

/// A format and a frame, both counted from 1, and an interval in units of 100 ns.
struct StreamChoice {
    std::uint8_t format = 1;
    std::uint8_t frame = 1;
    std::uint32_t interval = 0;
    bool operator==(const StreamChoice&) const = default;
};

class StreamNegotiation {
public:
    StreamNegotiation(std::vector<UvcFormat> formats, UvcVersion version, Transport transport);

    [[nodiscard]] const std::vector<UvcFormat>& formats() const { return m_formats; }
    [[nodiscard]] UvcVersion version() const { return m_version; }
    [[nodiscard]] Transport transport() const { return m_transport; }

    /// The bytes of a proposal in this version.
    [[nodiscard]] std::size_t length() const;
    /// The nearest choice to a proposal of at least shortestProposal bytes; those of older versions
    /// are welcome.
    [[nodiscard]] StreamChoice nearest(std::span<const std::uint8_t> proposal) const;
    /// A choice as the answer to the kernel.
    [[nodiscard]] Bytes describe(const StreamChoice& choice) const;

    [[nodiscard]] StreamChoice standard() const;
    /// The standard choice with the shortest or the longest interval of its frame.
    [[nodiscard]] StreamChoice shortest() const;
    [[nodiscard]] StreamChoice longest() const;

    [[nodiscard]] const UvcFormat& format(const StreamChoice& choice) const;
    [[nodiscard]] const UvcFrame& frame(const StreamChoice& choice) const;
    /// The most that goes behind one header, which it includes.
    [[nodiscard]] std::uint32_t payload(const StreamChoice& choice) const;

private:
    const std::vector<UvcFormat> m_formats;
    const UvcVersion m_version;
    const Transport m_transport;
};

}  // namespace UsbCamera

#endif
