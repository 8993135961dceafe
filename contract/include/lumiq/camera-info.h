// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How a camera manager lists one camera. A value type, usable on any thread.

#ifndef LUMIQ_CAMERA_INFO_H
#define LUMIQ_CAMERA_INFO_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace Nerio::Lumiq {

/// One listed camera.
struct CameraInfo {
    /// Unique within its manager and compared byte by byte. The V4L2 back end uses the D-Bus object
    /// path under which the device-access service announces the camera.
    std::string id;
    std::string name;             ///< For people to read, UTF-8.
    std::string provider;         ///< The back end that serves the camera; "v4l2" here.
    std::uint32_t reserved1 = 0;  ///< Carried through copies; this system leaves it 0.
    std::uint32_t reserved2 = 0;  ///< Carried through copies; this system leaves it 0.
    std::string reservedText;     ///< Carried through copies; this system leaves it empty.
};

// Host and plug-in must be built with the same standard library, since strings cross the boundary;
// these hold for libstdc++ on every 64-bit Linux.
static_assert(sizeof(std::string) == 32);
static_assert(sizeof(CameraInfo) == 136);
static_assert(offsetof(CameraInfo, id) == 0);
static_assert(offsetof(CameraInfo, name) == 32);
static_assert(offsetof(CameraInfo, provider) == 64);
static_assert(offsetof(CameraInfo, reserved1) == 96);
static_assert(offsetof(CameraInfo, reserved2) == 100);
static_assert(offsetof(CameraInfo, reservedText) == 104);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_INFO_H
