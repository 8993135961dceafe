// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The requests about what a camera is and what it offers. Called on the host's threads with the
// device's lock held.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "device.h"

namespace Simulator {
namespace {

constexpr std::uint32_t driverVersion = 6U << 16 | 1U << 8;

/// The kernel's names for the codes.
constexpr std::pair<std::uint32_t, const char*> formatNames[] = {
    {fourcc("YUYV"), "YUYV 4:2:2"},
    {fourcc("UYVY"), "UYVY 4:2:2"},
    {fourcc("YU12"), "Planar YUV 4:2:0"},
    {fourcc("NV12"), "Y/UV 4:2:0"},
    {fourcc("MJPG"), "Motion-JPEG"},
    {fourcc("JPEG"), "JFIF JPEG"},
    {fourcc("H264"), "H.264"},
    {fourcc("VP80"), "VP8"},
};

template <std::size_t size>
void copyText(unsigned char (&to)[size], const std::string& text) {
    std::snprintf(reinterpret_cast<char*>(to), size, "%s", text.c_str());
}

std::string formatName(std::uint32_t code) {
    for (const auto& [known, name] : formatNames) {
        if (known == code) {
            return name;
        }
    }
    return fourccText(code);
}

v4l2_fract fraction(Interval interval) {
    return {interval.numerator, interval.denominator};
}

void describe(const CameraDescription& camera, const FrameChoice& choice, v4l2_format& answer) {
    const std::uint32_t code = camera.formats[choice.format].fourcc;
    answer.fmt = {};
    v4l2_pix_format& pixels = answer.fmt.pix;
    pixels.width = choice.width;
    pixels.height = choice.height;
    pixels.pixelformat = code;
    pixels.field = V4L2_FIELD_NONE;
    pixels.bytesperline = bytesPerLine(code, choice.width);
    pixels.sizeimage = imageBytes(code, choice.width, choice.height);
    pixels.colorspace = V4L2_COLORSPACE_SRGB;
    pixels.xfer_func = V4L2_XFER_FUNC_709;
    pixels.ycbcr_enc = V4L2_YCBCR_ENC_601;
    pixels.priv = V4L2_PIX_FMT_PRIV_MAGIC;
}

}  // namespace

int Device::queryCapabilities(v4l2_capability& answer) const {
    answer = {};
    copyText(answer.driver, "uvcvideo");
    copyText(answer.card, m_description.name);
    copyText(answer.bus_info, m_description.busInfo);
    answer.version = driverVersion;
    answer.capabilities = m_description.capabilities;
    answer.device_caps = m_description.deviceCaps;
    return 0;
}

int Device::enumerateFormats(v4l2_fmtdesc& answer) const {
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE ||
        answer.index >= m_description.formats.size()) {
        return EINVAL;
    }
    const std::uint32_t index = answer.index;
    answer = {};
    answer.index = index;
    answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    answer.pixelformat = m_description.formats[index].fourcc;
    answer.flags = isCompressed(answer.pixelformat) ? V4L2_FMT_FLAG_COMPRESSED : 0;
    copyText(answer.description, formatName(answer.pixelformat));
    return 0;
}

int Device::enumerateSizes(v4l2_frmsizeenum& answer) const {
    const Format* const format = findFormat(m_description, answer.pixel_format);
    const std::size_t count = format == nullptr ? 0 : format->range ? 1 : format->sizes.size();
    if (answer.index >= count) {
        return EINVAL;
    }
    const std::uint32_t index = answer.index;
    answer = {};
    answer.index = index;
    answer.pixel_format = format->fourcc;
    if (format->range) {
        const FrameSizeRange& range = *format->range;
        answer.type = range.continuous ? V4L2_FRMSIZE_TYPE_CONTINUOUS : V4L2_FRMSIZE_TYPE_STEPWISE;
        answer.stepwise = {range.minWidth,  range.maxWidth,  range.stepWidth,
                           range.minHeight, range.maxHeight, range.stepHeight};
        return 0;
    }
    answer.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    answer.discrete = {format->sizes[index].width, format->sizes[index].height};
    return 0;
}

int Device::enumerateIntervals(v4l2_frmivalenum& answer) const {
    const Format* const format = findFormat(m_description, answer.pixel_format);
    const Intervals* const intervals =
        format == nullptr ? nullptr : findIntervals(*format, answer.width, answer.height);
    if (intervals == nullptr || intervals->kind == Intervals::Kind::None) {
        return EINVAL;
    }
    const bool discrete = intervals->kind == Intervals::Kind::Discrete;
    if (answer.index >= (discrete ? intervals->discrete.size() : 1)) {
        return EINVAL;
    }
    std::memset(answer.reserved, 0, sizeof answer.reserved);
    if (discrete) {
        answer.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        answer.stepwise = {};
        answer.discrete = fraction(intervals->discrete[answer.index]);
        return 0;
    }
    answer.type = intervals->kind == Intervals::Kind::Stepwise ? V4L2_FRMIVAL_TYPE_STEPWISE
                                                               : V4L2_FRMIVAL_TYPE_CONTINUOUS;
    answer.stepwise = {fraction(intervals->min), fraction(intervals->max),
                       fraction(intervals->step)};
    return 0;
}

int Device::getFormat(v4l2_format& answer) const {
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
        return EINVAL;
    }
    describe(m_description, current(), answer);
    return 0;
}

int Device::tryFormat(v4l2_format& answer) const {
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
        return EINVAL;
    }
    const v4l2_pix_format& wish = answer.fmt.pix;
    describe(m_description, chooseFrame(m_description, wish.pixelformat, wish.width, wish.height),
             answer);
    return 0;
}

int Device::setFormat(std::uint64_t handle, v4l2_format& answer) {
    if (const int error = claim(handle)) {
        return error;
    }
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
        return EINVAL;
    }
    const v4l2_pix_format& wish = answer.fmt.pix;
    const FrameChoice choice =
        chooseFrame(m_description, wish.pixelformat, wish.width, wish.height);
    if (m_stream.allocated()) {
        return EBUSY;
    }
    m_control.format.store(packFormat(choice));
    m_control.interval.store(packInterval(choice.interval));
    describe(m_description, choice, answer);
    return 0;
}

int Device::getParameters(v4l2_streamparm& answer) const {
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
        return EINVAL;
    }
    answer.parm = {};
    answer.parm.capture.capability = m_description.timePerFrame ? V4L2_CAP_TIMEPERFRAME : 0;
    answer.parm.capture.timeperframe = fraction(current().interval);
    return 0;
}

int Device::setParameters(std::uint64_t handle, v4l2_streamparm& answer) {
    if (!m_description.timePerFrame) {
        return ENOTTY;
    }
    if (const int error = claim(handle)) {
        return error;
    }
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
        return EINVAL;
    }
    if (m_stream.streaming()) {
        return EBUSY;
    }
    const v4l2_fract& wish = answer.parm.capture.timeperframe;
    const Interval interval =
        chooseInterval(m_description, current(), {wish.numerator, wish.denominator});
    m_control.interval.store(packInterval(interval));
    return getParameters(answer);
}

int Device::enumerateInputs(v4l2_input& answer) const {
    if (answer.index != 0) {
        return EINVAL;
    }
    answer = {};
    copyText(answer.name, "Camera 1");
    answer.type = V4L2_INPUT_TYPE_CAMERA;
    return 0;
}

int Device::setInput(std::uint64_t handle, int input) {
    if (const int error = claim(handle)) {
        return error;
    }
    return input == 0 ? 0 : EINVAL;
}

}  // namespace Simulator
