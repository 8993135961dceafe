// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Questions to a video node; see the header.
#include "capture-node.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace GateholdService {

sdbus::UnixFd openNode(const std::string& devicePath) {
    // Non-blocking is a property of the handle that travels with it: a client whose dequeue finds
    // no frame gets EAGAIN and is never stuck in the driver.
    sdbus::UnixFd handle(::open(devicePath.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC),
                         sdbus::adopt_fd);
    if (!handle.isValid()) {
        throw std::system_error(errno, std::generic_category(), devicePath);
    }
    return handle;
}

bool isCaptureNode(std::uint32_t capabilities, std::uint32_t deviceCaps) {
    // Without device caps the one word speaks for the node too.
    const std::uint32_t words =
        (capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? deviceCaps : capabilities;
    constexpr std::uint32_t wanted = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE;
    constexpr std::uint32_t unwanted = V4L2_CAP_VIDEO_M2M | V4L2_CAP_VIDEO_M2M_MPLANE |
                                       V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_VIDEO_OUTPUT_MPLANE |
                                       V4L2_CAP_TOUCH | V4L2_CAP_IO_MC;
    return (words & wanted) != 0 && (words & unwanted) == 0;
}

std::optional<Camera> queryNode(const std::string& devicePath) {
    const auto handle = openNode(devicePath);
    v4l2_capability answer{};
    while (ioctl(handle.get(), VIDIOC_QUERYCAP, &answer) != 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), devicePath);
        }
    }
    if (!isCaptureNode(answer.capabilities, answer.device_caps)) {
        return std::nullopt;
    }
    const auto* const card = reinterpret_cast<const char*>(answer.card);
    return Camera{std::string(card, strnlen(card, sizeof answer.card)), answer.capabilities,
                  answer.device_caps, [devicePath] { return openNode(devicePath); }};
}

}  // namespace GateholdService
