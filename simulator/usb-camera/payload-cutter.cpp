// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The payload headers. Called on the camera's thread.

#include "payload-cutter.h"

#include <linux/usb/video.h>

#include <algorithm>

namespace UsbCamera {

void PayloadCutter::begin(std::span<const std::uint8_t> frame, bool flawed) {
    m_rest = frame;
    m_flawed = flawed;
    m_done = false;
    m_odd = !m_odd;
}

Payload PayloadCutter::next(std::size_t mostBytes) {
    const std::size_t room = mostBytes > payloadHeaderBytes ? mostBytes - payloadHeaderBytes : 0;
    Payload payload{};
    payload.data = m_rest.first(std::min(room, m_rest.size()));
    m_rest = m_rest.subspan(payload.data.size());
    m_done = m_rest.empty();
    const unsigned flags = UVC_STREAM_EOH | (m_odd ? UVC_STREAM_FID : 0U) |
                           (m_flawed ? UVC_STREAM_ERR : 0U) | (m_done ? UVC_STREAM_EOF : 0U);
    payload.header = {payloadHeaderBytes, static_cast<std::uint8_t>(flags)};
    return payload;
}

}  // namespace UsbCamera
