// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The painters of a camera, kept from one stream to the next: a JPEG painter is slow until it has
// prepared its pictures, and a stream that begins often would always be. Used on the camera's
// thread.

#ifndef LUMIQ_USB_CAMERA_PAINTERS_H
#define LUMIQ_USB_CAMERA_PAINTERS_H

#include <cstdint>
#include <map>
#include <memory>
#include <tuple>

#include "frame-painter.h"

namespace UsbCamera {

class Painters {
public:
    explicit Painters(const Simulator::Picture& picture) : m_picture(picture) {}

    /// The painter for a format and size; lives as long as this.
    Simulator::FramePainter& find(std::uint32_t fourcc, std::uint32_t width, std::uint32_t height) {
        auto& painter = m_painters[{fourcc, width, height}];
        if (!painter) {
            painter = Simulator::makePainter(fourcc, width, height, m_picture);
        }
        return *painter;
    }

private:
    using Key = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>;
    const Simulator::Picture m_picture;
    std::map<Key, std::unique_ptr<Simulator::FramePainter>> m_painters;
};

}  // namespace UsbCamera

#endif
