// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the service knows of a camera, whether real or simulated. Made by the two sources of
// cameras, kept by the camera's object on the bus; used on the service's one thread.
#pragma once

#include <sdbus-c++/Types.h>

#include <cstdint>
#include <functional>
#include <string>

namespace GateholdService {

struct Camera {
    std::string name;
    // The words of VIDIOC_QUERYCAP.
    std::uint32_t capabilities = 0;
    std::uint32_t deviceCaps = 0;
    // A new handle of the device, as if by open(2). Throws std::system_error with the errno.
    std::function<sdbus::UnixFd()> open;
};

}  // namespace GateholdService
