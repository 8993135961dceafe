// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Plays the kernel at the other end of a camera's cable: submits and unlinks transfers, takes the
// replies, and puts payloads together to frames as the kernel's driver does. On the test's thread.

#ifndef LUMIQ_TESTS_USB_CAMERA_KERNEL_END_H
#define LUMIQ_TESTS_USB_CAMERA_KERNEL_END_H

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "byte-order.h"
#include "owned.h"
#include "stream-negotiation.h"
#include "usbip-protocol.h"

namespace UsbCameraTest {

using UsbCamera::Bytes;

/// A reply with what came behind it. Payloads are those of the packets, or the one of a bulk
/// transfer.
struct Reply {
    std::uint32_t sequence = 0;
    bool toUnlink = false;
    std::int32_t status = 0;
    Bytes data;
    std::vector<Bytes> payloads;
};

/// A frame as it was put together.
struct ReceivedFrame {
    Bytes bytes;
    bool flawed = false;
    std::uint32_t sequence = 0;  ///< as the kernel counts: with each change of parity
};

class KernelEnd {
public:
    explicit KernelEnd(Simulator::OwnedDescriptor socket);

    /// A control transfer to its end. Empty data and status -EPIPE when it was refused.
    Reply control(const UsbCamera::SetupPacket& setup, const Bytes& data = {});
    Bytes descriptor(std::uint8_t type, std::uint8_t index = 0);
    /// Probe and commit of a format, frame and interval; the camera's last answer.
    Bytes agree(const UsbCamera::StreamChoice& choice, std::size_t proposalBytes = 34);
    bool selectAlternate(std::uint16_t alternate);
    bool clearHalt();

    std::uint32_t submitIso(std::uint32_t packets, std::uint32_t packetBytes);
    std::uint32_t submitBulk(std::uint32_t bytes);
    /// The status in the reply to the unlinking; the replies that come before it are kept.
    std::int32_t unlink(std::uint32_t sequence);
    /// The next reply to a transfer; nothing when the camera is gone, or, with `milliseconds`, when
    /// none comes within that time.
    std::optional<Reply> next(int milliseconds = 20000);

    /// Keeps as many transfers submitted as the kernel's driver does and returns the next frame;
    /// nothing when the camera is gone.
    std::optional<ReceivedFrame> nextFrame();
    void streamIso(std::uint32_t packetBytes);
    void streamBulk(std::uint32_t bytes);
    /// Takes all submitted transfers back.
    void unlinkAll();

    /// Whether the other end closes the cable.
    bool seesHangUp();
    void hangUp() { m_socket = Simulator::OwnedDescriptor(); }
    void sendRaw(const Bytes& bytes) { send(bytes); }

private:
    struct Pending {
        bool in = true;
        std::uint32_t packets = 0;
    };
    void send(const Bytes& bytes);
    bool receive(std::uint8_t* to, std::size_t bytes) const;
    std::optional<Reply> read();
    bool readBody(Reply& reply, const Pending& pending, std::uint32_t actualLength);
    void take(const Bytes& payload);
    void finishFrame();

    Simulator::OwnedDescriptor m_socket;
    bool m_refused = false;  ///< the camera takes no more requests
    std::uint32_t m_sequence = 0;
    std::map<std::uint32_t, Pending> m_pending;
    std::deque<Reply> m_kept;
    // Streaming
    std::uint32_t m_packetBytes = 0;
    std::uint32_t m_bulkBytes = 0;
    int m_parity = -1;
    ReceivedFrame m_frame;
    std::uint32_t m_framesSeen = 0;
    std::deque<ReceivedFrame> m_frames;
};

}  // namespace UsbCameraTest

#endif
