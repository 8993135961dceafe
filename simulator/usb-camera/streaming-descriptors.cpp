// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The streaming interface as bytes. Called once, when the camera is made.

#include "streaming-descriptors.h"

#include <linux/usb/ch9.h>
#include <linux/usb/video.h>

#include <algorithm>
#include <limits>

#include "descriptors.h"

namespace UsbCamera {
namespace {

/// Of the colour matching descriptor; older kernel headers have no names for them.
constexpr std::uint8_t primariesSrgb = 1, transferBt709 = 1, matrixBt601 = 4;
constexpr std::uint32_t largestPacket = 1024;
constexpr std::uint16_t bulkPacket = 512;
constexpr std::uint8_t formatFrameBasedBytes = 28;
/// All that a frame has besides its intervals.
constexpr std::size_t frameBytes = 26;

std::uint8_t frameSubtype(UvcFormatKind kind) {
    switch (kind) {
        case UvcFormatKind::Uncompressed:
            return UVC_VS_FRAME_UNCOMPRESSED;
        case UvcFormatKind::MotionJpeg:
            return UVC_VS_FRAME_MJPEG;
        case UvcFormatKind::FrameBased:
            break;
    }
    return UVC_VS_FRAME_FRAME_BASED;
}

void appendFormat(Bytes& to, const UvcFormat& format, std::uint8_t index) {
    const auto frames = static_cast<std::uint8_t>(format.frames.size());
    const auto identifier = formatIdentifier(format.fourcc);
    switch (format.kind) {
        case UvcFormatKind::Uncompressed:
            append(to, {UVC_DT_FORMAT_UNCOMPRESSED_SIZE, USB_DT_CS_INTERFACE,
                        UVC_VS_FORMAT_UNCOMPRESSED, index, frames});
            append(to, {identifier.begin(), identifier.end()});
            append(to, {format.bitsPerPixel, 1, 0, 0, 0, 0});
            break;
        case UvcFormatKind::MotionJpeg:
            append(to, {UVC_DT_FORMAT_MJPEG_SIZE, USB_DT_CS_INTERFACE, UVC_VS_FORMAT_MJPEG, index,
                        frames, 0, 1, 0, 0, 0, 0});
            break;
        case UvcFormatKind::FrameBased:
            append(to, {formatFrameBasedBytes, USB_DT_CS_INTERFACE, UVC_VS_FORMAT_FRAME_BASED,
                        index, frames});
            append(to, {identifier.begin(), identifier.end()});
            append(to, {format.bitsPerPixel, 1, 0, 0, 0, 0, 1});  // its frames differ in length
            break;
    }
}

std::uint32_t bitRate(const UvcFrame& frame, std::uint32_t interval) {
    const std::uint64_t bits = std::uint64_t{frame.maxBytes} * 8 * 10000000 / interval;
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(bits, std::numeric_limits<std::uint32_t>::max()));
}

std::vector<std::uint32_t> intervalFields(const UvcFrame& frame) {
    if (frame.intervals.empty()) {
        return {frame.minInterval, frame.maxInterval, frame.stepInterval};
    }
    return frame.intervals;
}

void appendFrame(Bytes& to, const UvcFrame& frame, UvcFormatKind kind, std::uint8_t index) {
    const std::vector<std::uint32_t> intervals = intervalFields(frame);
    const auto length = static_cast<std::uint8_t>(frameBytes + 4 * intervals.size());
    append(to, {length, USB_DT_CS_INTERFACE, frameSubtype(kind), index, 0});
    appendLittle(to, frame.width);
    appendLittle(to, frame.height);
    const bool range = frame.intervals.empty();
    appendLittle(to, bitRate(frame, range ? frame.maxInterval : frame.intervals.back()));
    appendLittle(to, bitRate(frame, range ? frame.minInterval : frame.intervals.front()));
    const bool frameBased = kind == UvcFormatKind::FrameBased;
    if (!frameBased) {
        appendLittle(to, frame.maxBytes);
    }
    appendLittle(to, frame.defaultInterval);
    to.push_back(static_cast<std::uint8_t>(frame.intervals.size()));
    if (frameBased) {
        appendLittle(to, std::uint32_t{0});  // bytes per line: none
    }
    for (const std::uint32_t interval : intervals) {
        appendLittle(to, interval);
    }
}

Bytes formatsAndFrames(const std::vector<UvcFormat>& formats) {
    Bytes bytes;
    for (std::size_t i = 0; i < formats.size(); ++i) {
        const UvcFormat& format = formats[i];
        appendFormat(bytes, format, static_cast<std::uint8_t>(i + 1));
        for (std::size_t j = 0; j < format.frames.size(); ++j) {
            appendFrame(bytes, format.frames[j], format.kind, static_cast<std::uint8_t>(j + 1));
        }
        // The colours of sRGB pictures in the matrix of BT.601.
        append(bytes, {UVC_DT_COLOR_MATCHING_SIZE, USB_DT_CS_INTERFACE, UVC_VS_COLORFORMAT,
                       primariesSrgb, transferBt709, matrixBt601});
    }
    return bytes;
}

void appendInterface(Bytes& to, std::uint8_t alternate, std::uint8_t endpoints,
                     std::uint8_t protocol) {
    append(to, {USB_DT_INTERFACE_SIZE, USB_DT_INTERFACE, streamingInterface, alternate, endpoints,
                USB_CLASS_VIDEO, UVC_SC_VIDEOSTREAMING, protocol, 0});
}

void appendEndpoint(Bytes& to, std::uint8_t attributes, std::uint16_t packet,
                    std::uint8_t interval) {
    append(to, {USB_DT_ENDPOINT_SIZE, USB_DT_ENDPOINT, videoEndpointAddress, attributes});
    appendLittle(to, packet);
    to.push_back(interval);
}

/// A packet larger than 1024 bytes goes in up to three transactions.
std::uint16_t packetField(std::uint32_t payload) {
    const std::uint32_t transactions = (payload + largestPacket - 1) / largestPacket;
    return static_cast<std::uint16_t>(payload / transactions | (transactions - 1) << 11);
}

}  // namespace

void appendStreamingInterface(Bytes& to, const StreamNegotiation& negotiation,
                              std::uint8_t protocol) {
    const bool bulk = negotiation.transport() == Transport::Bulk;
    const Bytes inner = formatsAndFrames(negotiation.formats());
    const auto formats = static_cast<std::uint8_t>(negotiation.formats().size());
    const std::size_t header = UVC_DT_INPUT_HEADER_SIZE(std::size_t{formats}, 1);
    if (header + inner.size() > mostBytes) {
        throw Simulator::DescriptionError("too many formats, sizes and intervals for a USB camera");
    }
    appendInterface(to, 0, bulk ? 1 : 0, protocol);
    append(to,
           {static_cast<std::uint8_t>(header), USB_DT_CS_INTERFACE, UVC_VS_INPUT_HEADER, formats});
    appendLittle(to, static_cast<std::uint16_t>(header + inner.size()));
    append(to, {videoEndpointAddress, 0, outputTerminal, 0, 0, 0, 1});
    to.resize(to.size() + formats);  // no controls for any format
    append(to, inner);
    if (bulk) {
        appendEndpoint(to, USB_ENDPOINT_XFER_BULK, bulkPacket, 0);
        return;
    }
    std::uint8_t alternate = 0;
    for (const std::uint32_t payload : isoPayloads) {
        appendInterface(to, ++alternate, 1, protocol);
        appendEndpoint(to, USB_ENDPOINT_XFER_ISOC | USB_ENDPOINT_SYNC_ASYNC, packetField(payload),
                       1);
    }
}

}  // namespace UsbCamera
