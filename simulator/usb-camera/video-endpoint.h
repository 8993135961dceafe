// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The camera's video endpoint: transfers that the kernel has submitted wait here for a frame, and
// each frame goes into as many as it needs. Used on the camera's thread.

#ifndef LUMIQ_USB_CAMERA_VIDEO_ENDPOINT_H
#define LUMIQ_USB_CAMERA_VIDEO_ENDPOINT_H

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "frame-source.h"
#include "payload-cutter.h"
#include "usbip-socket.h"

namespace UsbCamera {

class VideoEndpoint {
public:
    explicit VideoEndpoint(const UsbipSocket& socket) : m_socket(socket) {}

    /// Begins a stream of payloads of at most so many bytes, header included, in place of any
    /// other.
    void start(const StreamFormat& format, Painters& painters, Simulator::ControlBlock& faults,
               std::uint32_t payload);
    void stop();
    [[nodiscard]] bool streaming() const { return m_source.has_value(); }

    void submit(UsbipMessage transfer);
    /// Takes a transfer back; false when it has been answered.
    bool unlink(std::uint32_t sequence);

    /// Answers the transfers that can be answered now.
    struct Work {
        std::optional<Clock::time_point> until;  ///< when there will be more to do
        bool unplug = false;                     ///< the camera is to go away
    };
    Work work(Clock::time_point now);

private:
    void answer(const UsbipMessage& transfer);
    void answerIso(const UsbipMessage& transfer);
    void answerBulk(const UsbipMessage& transfer);
    void addPart(const void* bytes, std::size_t size);

    const UsbipSocket& m_socket;
    std::optional<FrameSource> m_source;
    PayloadCutter m_cutter;
    std::uint32_t m_payload = 0;
    std::deque<UsbipMessage> m_transfers;
    // Of one reply; kept for their memory.
    std::vector<iovec> m_parts;
    std::vector<Payload> m_payloads;
    std::vector<IsoPacketBytes> m_packets;
};

}  // namespace UsbCamera

#endif
