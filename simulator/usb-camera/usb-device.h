// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The camera as a device on the bus: it takes the kernel's requests from the socket, hands them to
// the endpoint they are for, and sends the answers. Exists while the camera is plugged in; used on
// the camera's thread.

#ifndef LUMIQ_USB_CAMERA_USB_DEVICE_H
#define LUMIQ_USB_CAMERA_USB_DEVICE_H

#include <cstdint>
#include <map>

#include "control-block.h"
#include "control-endpoint.h"
#include "usbip-socket.h"
#include "video-endpoint.h"

namespace UsbCamera {

class UsbDevice {
public:
    /// Everything referred to outlives the device. `control` begins anew.
    UsbDevice(Simulator::OwnedDescriptor socket, ControlEndpoint& control,
              const StreamNegotiation& negotiation, Painters& painters,
              Simulator::ControlBlock& faults);

    [[nodiscard]] int descriptor() const { return m_socket.descriptor(); }
    [[nodiscard]] bool streaming() const { return m_video.streaming(); }

    /// Handles the requests that have come. False when the kernel has let go of the device.
    bool receive();
    /// Streams; see VideoEndpoint::work.
    VideoEndpoint::Work work(Clock::time_point now) { return m_video.work(now); }

private:
    void handle(UsbipMessage message);
    void answerControl(const UsbipMessage& message);
    void answerUnlink(const UsbipRequest& request);
    void changeStream();

    UsbipSocket m_socket;
    ControlEndpoint& m_control;
    const StreamNegotiation& m_negotiation;
    Painters& m_painters;
    Simulator::ControlBlock& m_faults;
    VideoEndpoint m_video{m_socket};
    std::uint32_t m_newest = 0;  ///< of the requests that have come, but for unlinks
    /// Unlinks that came before what they take back: its sequence number and theirs.
    std::map<std::uint32_t, std::uint32_t> m_early;
};

}  // namespace UsbCamera

#endif
