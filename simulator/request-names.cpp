// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The names of the requests that a simulated camera answers. Called on any thread.

#include "request-names.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Simulator {
namespace {

#define LUMIQ_REQUEST(name) \
    { #name, static_cast < std::uint32_t>(name) }
constexpr std::pair<const char*, std::uint32_t> requests[] = {
    LUMIQ_REQUEST(VIDIOC_QUERYCAP),
    LUMIQ_REQUEST(VIDIOC_ENUM_FMT),
    LUMIQ_REQUEST(VIDIOC_ENUM_FRAMESIZES),
    LUMIQ_REQUEST(VIDIOC_ENUM_FRAMEINTERVALS),
    LUMIQ_REQUEST(VIDIOC_G_FMT),
    LUMIQ_REQUEST(VIDIOC_S_FMT),
    LUMIQ_REQUEST(VIDIOC_TRY_FMT),
    LUMIQ_REQUEST(VIDIOC_G_PARM),
    LUMIQ_REQUEST(VIDIOC_S_PARM),
    LUMIQ_REQUEST(VIDIOC_REQBUFS),
    LUMIQ_REQUEST(VIDIOC_CREATE_BUFS),
    LUMIQ_REQUEST(VIDIOC_QUERYBUF),
    LUMIQ_REQUEST(VIDIOC_QBUF),
    LUMIQ_REQUEST(VIDIOC_DQBUF),
    LUMIQ_REQUEST(VIDIOC_STREAMON),
    LUMIQ_REQUEST(VIDIOC_STREAMOFF),
    LUMIQ_REQUEST(VIDIOC_ENUMINPUT),
    LUMIQ_REQUEST(VIDIOC_G_INPUT),
    LUMIQ_REQUEST(VIDIOC_S_INPUT),
    LUMIQ_REQUEST(VIDIOC_G_PRIORITY),
    LUMIQ_REQUEST(VIDIOC_S_PRIORITY),
};
#undef LUMIQ_REQUEST

}  // namespace

std::optional<std::uint32_t> requestNumber(std::string_view name) {
    for (const auto& [known, number] : requests) {
        if (name == known) {
            return number;
        }
    }
    return std::nullopt;
}

bool isRequest(std::uint32_t request) {
    return std::any_of(std::begin(requests), std::end(requests),
                       [request](const auto& known) { return known.second == request; });
}

const char* requestName(std::uint32_t request) {
    for (const auto& [name, number] : requests) {
        if (request == number) {
            return name;
        }
    }
    return "ioctl";
}

}  // namespace Simulator
