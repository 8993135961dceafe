// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The names.

#include "words.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace DriverTruth {
namespace {

constexpr std::pair<const char*, short> pollNames[] = {
    {"IN", POLLIN},   {"PRI", POLLPRI},       {"OUT", POLLOUT},       {"ERR", POLLERR},
    {"HUP", POLLHUP}, {"RDNORM", POLLRDNORM}, {"WRNORM", POLLWRNORM}, {"NVAL", POLLNVAL},
};

constexpr std::pair<const char*, std::uint32_t> flagNames[] = {
    {"mapped", V4L2_BUF_FLAG_MAPPED},
    {"queued", V4L2_BUF_FLAG_QUEUED},
    {"done", V4L2_BUF_FLAG_DONE},
    {"error", V4L2_BUF_FLAG_ERROR},
    {"prepared", V4L2_BUF_FLAG_PREPARED},
    {"monotonic", V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC},
    {"exposure", V4L2_BUF_FLAG_TSTAMP_SRC_SOE},
    {"last", V4L2_BUF_FLAG_LAST},
};

constexpr std::pair<const char*, std::uint32_t> typeNames[] = {
    {"capture", V4L2_BUF_TYPE_VIDEO_CAPTURE}, {"output", V4L2_BUF_TYPE_VIDEO_OUTPUT},
    {"overlay", V4L2_BUF_TYPE_VIDEO_OVERLAY}, {"multiplanar", V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE},
    {"meta", V4L2_BUF_TYPE_META_CAPTURE},
};

constexpr std::pair<const char*, std::uint32_t> memoryNames[] = {
    {"mmap", V4L2_MEMORY_MMAP},
    {"userptr", V4L2_MEMORY_USERPTR},
    {"dmabuf", V4L2_MEMORY_DMABUF},
};

#define LUMIQ_REQUEST(name) \
    { #name, name }
constexpr std::pair<const char*, unsigned long> requestNames[] = {
    LUMIQ_REQUEST(VIDIOC_QUERYCAP),
    LUMIQ_REQUEST(VIDIOC_ENUM_FMT),
    LUMIQ_REQUEST(VIDIOC_G_FMT),
    LUMIQ_REQUEST(VIDIOC_G_PARM),
    LUMIQ_REQUEST(VIDIOC_REQBUFS),
    LUMIQ_REQUEST(VIDIOC_QUERYBUF),
    LUMIQ_REQUEST(VIDIOC_QBUF),
    LUMIQ_REQUEST(VIDIOC_DQBUF),
    LUMIQ_REQUEST(VIDIOC_STREAMON),
    LUMIQ_REQUEST(VIDIOC_STREAMOFF),
    LUMIQ_REQUEST(VIDIOC_G_INPUT),
    LUMIQ_REQUEST(VIDIOC_G_OUTPUT),
    LUMIQ_REQUEST(VIDIOC_G_PRIORITY),
    LUMIQ_REQUEST(VIDIOC_G_STD),
    LUMIQ_REQUEST(VIDIOC_QUERYCTRL),
    LUMIQ_REQUEST(VIDIOC_G_CTRL),
    LUMIQ_REQUEST(VIDIOC_QUERYMENU),
    LUMIQ_REQUEST(VIDIOC_CROPCAP),
    LUMIQ_REQUEST(VIDIOC_G_CROP),
    LUMIQ_REQUEST(VIDIOC_G_SELECTION),
    LUMIQ_REQUEST(VIDIOC_LOG_STATUS),
    LUMIQ_REQUEST(VIDIOC_DQEVENT),
    LUMIQ_REQUEST(VIDIOC_SUBSCRIBE_EVENT),
    LUMIQ_REQUEST(VIDIOC_G_EXT_CTRLS),
    LUMIQ_REQUEST(VIDIOC_G_TUNER),
    LUMIQ_REQUEST(VIDIOC_OVERLAY),
    LUMIQ_REQUEST(VIDIOC_QUERY_EXT_CTRL),
    LUMIQ_REQUEST(VIDIOC_G_JPEGCOMP),
};
#undef LUMIQ_REQUEST

template <typename Names, typename Bits>
std::string namesOf(const Names& names, Bits bits) {
    std::string text;
    for (const auto& [name, bit] : names) {
        if ((bits & bit) != 0) {
            text += (text.empty() ? "" : "+") + std::string(name);
            bits = static_cast<Bits>(bits & ~bit);
        }
    }
    if (bits != 0) {
        text += (text.empty() ? "" : "+") + hexadecimal(static_cast<std::uint32_t>(bits));
    }
    return text.empty() ? "none" : text;
}

template <typename Names>
unsigned long find(const Names& names, const std::string& name) {
    for (const auto& [known, value] : names) {
        if (name == known) {
            return static_cast<unsigned long>(value);
        }
    }
    std::size_t used = 0;
    const unsigned long number = std::stoul(name, &used, 0);
    if (used != name.size()) {
        throw std::runtime_error("\"" + name + "\" is not known");
    }
    return number;
}

}  // namespace

std::string errnoName(int number) {
    const char* const name = strerrorname_np(number);
    return name != nullptr ? name : "errno " + std::to_string(number);
}

std::string outcome(int result) {
    return result >= 0 ? "ok" : errnoName(errno);
}

std::string codeName(std::uint32_t fourcc) {
    std::string name;
    for (unsigned i = 0; i < 4; ++i) {
        const char c = static_cast<char>(fourcc >> 8 * i);
        name += c >= ' ' && c <= '~' ? c : '.';
    }
    return name;
}

std::uint32_t codeOf(const std::string& name) {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4 && i < name.size(); ++i) {
        code |= std::uint32_t{static_cast<unsigned char>(name[i])} << 8 * i;
    }
    return code;
}

std::string hexadecimal(std::uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", number);
    return text;
}

std::string fraction(const v4l2_fract& fraction) {
    return std::to_string(fraction.numerator) + "/" + std::to_string(fraction.denominator);
}

std::string pollBits(short bits) {
    return namesOf(pollNames, bits);
}

short pollBits(const std::string& names) {
    short bits = 0;
    std::size_t at = 0;
    while (names != "none" && at < names.size()) {
        const std::size_t end = std::min(names.find('+', at), names.size());
        bits = static_cast<short>(bits |
                                  static_cast<short>(find(pollNames, names.substr(at, end - at))));
        at = end + 1;
    }
    return bits;
}

std::string bufferFlags(std::uint32_t flags) {
    return namesOf(flagNames, flags);
}

std::uint32_t bufferType(const std::string& name) {
    return static_cast<std::uint32_t>(find(typeNames, name));
}

std::uint32_t memoryType(const std::string& name) {
    return static_cast<std::uint32_t>(find(memoryNames, name));
}

unsigned long requestNumber(const std::string& name) {
    return find(requestNames, name);
}

}  // namespace DriverTruth
