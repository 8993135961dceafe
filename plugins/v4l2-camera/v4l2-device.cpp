// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Puts questions to the driver. Called by V4L2Camera, on any thread.

#include "v4l2-device.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

namespace Nerio::Lumiq {

int V4L2Device::request(unsigned long code, void* argument) const {
    const std::shared_lock lock(m_mutex);
    if (!m_fd.isValid()) {
        return ENODEV;
    }
    int result = 0;
    do {
        result = ::ioctl(m_fd.get(), code, argument);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? errno : 0;
}

bool V4L2Device::isOpen() const {
    const std::shared_lock lock(m_mutex);
    return m_fd.isValid();
}

void V4L2Device::close() {
    const std::unique_lock lock(m_mutex);
    m_fd = UniqueFd();
}

V4L2Device::Formats V4L2Device::formats() const {
    v4l2_fmtdesc question{};
    question.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    return {*this, question};
}

V4L2Device::FrameSizes V4L2Device::frameSizes(std::uint32_t fourcc) const {
    v4l2_frmsizeenum question{};
    question.pixel_format = fourcc;
    return {*this, question};
}

V4L2Device::FrameIntervals V4L2Device::frameIntervals(std::uint32_t fourcc, std::uint32_t width,
                                                      std::uint32_t height) const {
    v4l2_frmivalenum question{};
    question.pixel_format = fourcc;
    question.width = width;
    question.height = height;
    return {*this, question};
}

std::uint32_t V4L2Device::bestListed(std::span<const std::uint32_t> candidates) const {
    auto best = candidates.end();
    for (const v4l2_fmtdesc& format : formats()) {
        best = std::min(best, std::find(candidates.begin(), candidates.end(), format.pixelformat));
    }
    return best == candidates.end() ? 0 : *best;
}

}  // namespace Nerio::Lumiq
