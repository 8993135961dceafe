// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a USB camera can tell of a description: formats and frames numbered from 1, intervals in
// units of 100 ns. Read once, when the camera is made; used by the descriptors and the negotiation.

#ifndef LUMIQ_USB_CAMERA_UVC_FORMATS_H
#define LUMIQ_USB_CAMERA_UVC_FORMATS_H

#include <array>
#include <cstdint>
#include <vector>

#include "camera-description.h"

namespace UsbCamera {

/// What intervals are counted in: 100 ns each.
inline constexpr std::uint64_t unitsPerSecond = 10000000;

/// One size and how often it comes.
struct UvcFrame {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t maxBytes = 0;
    std::uint32_t defaultInterval = 0;
    /// In ascending order. Empty for a range.
    std::vector<std::uint32_t> intervals;
    std::uint32_t minInterval = 0, maxInterval = 0, stepInterval = 0;
};

enum class UvcFormatKind { Uncompressed, MotionJpeg, FrameBased };

/// One pixel format.
struct UvcFormat {
    std::uint32_t fourcc = 0;
    UvcFormatKind kind = UvcFormatKind::Uncompressed;
    std::uint8_t bitsPerPixel = 0;
    std::vector<UvcFrame> frames;
};

/// The formats of a description, in its order. Throws Simulator::DescriptionError for what a USB
/// camera has no words for: ranges of sizes, and codes without an identifier of their own.
std::vector<UvcFormat> uvcFormats(const Simulator::CameraDescription& camera);

/// The 16 bytes that stand for a format in the descriptors.
std::array<std::uint8_t, 16> formatIdentifier(std::uint32_t code);

/// The interval of the frame that is nearest to a wish.
std::uint32_t nearestInterval(const UvcFrame& frame, std::uint32_t wish);

}  // namespace UsbCamera

#endif
