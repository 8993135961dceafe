// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Questions about a camera and its settings.

#include <climits>
#include <cstring>

#include "prober.h"
#include "words.h"

namespace DriverTruth {
namespace {

struct Wish {
    std::uint32_t code = 0, width = 0, height = 0;
};

/// "YUYV 640x480"
Wish readWish(std::istringstream& rest) {
    std::string code, size;
    rest >> code >> size;
    Wish wish;
    wish.code = codeOf(code);
    std::istringstream numbers(size);
    char times = 0;
    numbers >> wish.width >> times >> wish.height;
    return wish;
}

std::string describe(const v4l2_pix_format& pixels) {
    return " " + codeName(pixels.pixelformat) + " " + std::to_string(pixels.width) + "x" +
           std::to_string(pixels.height) + " field=" + std::to_string(pixels.field) +
           " line=" + std::to_string(pixels.bytesperline) +
           " image=" + std::to_string(pixels.sizeimage) +
           " colorspace=" + std::to_string(pixels.colorspace) +
           " transfer=" + std::to_string(pixels.xfer_func) +
           " matrix=" + std::to_string(pixels.ycbcr_enc) +
           " range=" + std::to_string(pixels.quantization) + " flags=" + hexadecimal(pixels.flags);
}

std::string size(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

template <typename Text>
std::string quoted(const Text& text) {
    return " \"" + std::string(reinterpret_cast<const char*>(text)) + "\"";
}

/// A type of buffers at the end of a call; capture when there is none.
std::uint32_t typeAtEnd(std::istringstream& rest) {
    std::string name;
    return bufferType(rest >> name ? name : "capture");
}

}  // namespace

std::string Prober::queryCapabilities(Arguments& rest) {
    v4l2_capability answer{};
    const Handle& camera = handle(rest);
    const std::string result = outcome(request(camera, VIDIOC_QUERYCAP, &answer));
    return result != "ok" ? result
                          : result + quoted(answer.driver) + quoted(answer.card) +
                                " all=" + hexadecimal(answer.capabilities) +
                                " node=" + hexadecimal(answer.device_caps);
}

std::string Prober::enumerateFormat(Arguments& rest) {
    v4l2_fmtdesc answer{};
    const Handle& camera = handle(rest);
    rest >> answer.index;
    answer.type = typeAtEnd(rest);
    const std::string result = outcome(request(camera, VIDIOC_ENUM_FMT, &answer));
    return result != "ok" ? result
                          : result + " " + codeName(answer.pixelformat) +
                                " flags=" + hexadecimal(answer.flags) + quoted(answer.description);
}

std::string Prober::enumerateSize(Arguments& rest) {
    v4l2_frmsizeenum answer{};
    const Handle& camera = handle(rest);
    std::string code;
    rest >> code >> answer.index;
    answer.pixel_format = codeOf(code);
    const std::string result = outcome(request(camera, VIDIOC_ENUM_FRAMESIZES, &answer));
    if (result != "ok") {
        return result;
    }
    const std::string words = result + " type=" + std::to_string(answer.type) + " ";
    const v4l2_frmsize_stepwise& range = answer.stepwise;
    return answer.type == V4L2_FRMSIZE_TYPE_DISCRETE
               ? words + size(answer.discrete.width, answer.discrete.height)
               : words + size(range.min_width, range.min_height) + " " +
                     size(range.max_width, range.max_height) + " " +
                     size(range.step_width, range.step_height);
}

std::string Prober::enumerateInterval(Arguments& rest) {
    v4l2_frmivalenum answer{};
    const Handle& camera = handle(rest);
    const Wish wish = readWish(rest);
    rest >> answer.index;
    answer.pixel_format = wish.code;
    answer.width = wish.width;
    answer.height = wish.height;
    const std::string result = outcome(request(camera, VIDIOC_ENUM_FRAMEINTERVALS, &answer));
    if (result != "ok") {
        return result;
    }
    std::string words = result + " type=" + std::to_string(answer.type) + " ";
    words += fraction(answer.discrete);
    if (answer.type != V4L2_FRMIVAL_TYPE_DISCRETE) {
        words += " " + fraction(answer.stepwise.max) + " " + fraction(answer.stepwise.step);
    }
    return words;
}

std::string Prober::getFormat(Arguments& rest) {
    v4l2_format answer{};
    const Handle& camera = handle(rest);
    answer.type = typeAtEnd(rest);
    const std::string result = outcome(request(camera, VIDIOC_G_FMT, &answer));
    return result != "ok" ? result : result + describe(answer.fmt.pix);
}

std::string Prober::setFormat(Arguments& rest) {
    return format(rest, VIDIOC_S_FMT);
}

std::string Prober::tryFormat(Arguments& rest) {
    return format(rest, VIDIOC_TRY_FMT);
}

std::string Prober::format(Arguments& rest, unsigned long number) {
    v4l2_format answer{};
    Handle& camera = handle(rest);
    const Wish wish = readWish(rest);
    answer.type = typeAtEnd(rest);
    answer.fmt.pix.pixelformat = wish.code;
    answer.fmt.pix.width = wish.width;
    answer.fmt.pix.height = wish.height;
    const std::string result = outcome(request(camera, number, &answer));
    if (result == "ok" && number == VIDIOC_S_FMT) {
        camera.format = answer.fmt.pix;
    }
    return result != "ok" ? result : result + describe(answer.fmt.pix);
}

std::string Prober::getParameters(Arguments& rest) {
    v4l2_streamparm answer{};
    const Handle& camera = handle(rest);
    answer.type = typeAtEnd(rest);
    const std::string result = outcome(request(camera, VIDIOC_G_PARM, &answer));
    return result != "ok" ? result
                          : result + " capability=" + hexadecimal(answer.parm.capture.capability) +
                                " " + fraction(answer.parm.capture.timeperframe) +
                                " buffers=" + std::to_string(answer.parm.capture.readbuffers);
}

std::string Prober::setParameters(Arguments& rest) {
    v4l2_streamparm answer{};
    const Handle& camera = handle(rest);
    char over = 0;
    v4l2_fract& wish = answer.parm.capture.timeperframe;
    rest >> wish.numerator >> over >> wish.denominator;
    answer.type = typeAtEnd(rest);
    const std::string result = outcome(request(camera, VIDIOC_S_PARM, &answer));
    return result != "ok" ? result
                          : result + " capability=" + hexadecimal(answer.parm.capture.capability) +
                                " " + fraction(wish);
}

std::string Prober::enumerateInput(Arguments& rest) {
    v4l2_input answer{};
    const Handle& camera = handle(rest);
    rest >> answer.index;
    const std::string result = outcome(request(camera, VIDIOC_ENUMINPUT, &answer));
    return result != "ok" ? result
                          : result + quoted(answer.name) + " type=" + std::to_string(answer.type) +
                                " std=" + std::to_string(answer.std) +
                                " capabilities=" + hexadecimal(answer.capabilities);
}

/// Requests whose argument is one number: "number a g_input", "number a s_priority 3".
std::string Prober::number(Arguments& rest) {
    constexpr std::pair<const char*, unsigned long> known[] = {
        {"g_input", VIDIOC_G_INPUT},
        {"s_input", VIDIOC_S_INPUT},
        {"g_priority", VIDIOC_G_PRIORITY},
        {"s_priority", VIDIOC_S_PRIORITY},
    };
    const Handle& camera = handle(rest);
    std::string name;
    int value = 0;
    rest >> name >> value;
    for (const auto& [text, code] : known) {
        if (name == text) {
            const std::string result = outcome(request(camera, code, &value));
            return result != "ok" ? result : result + " " + std::to_string(value);
        }
    }
    throw std::runtime_error("\"" + name + "\" is no such request");
}

/// Any request with zeros for its argument, or with none at all.
std::string Prober::anyRequest(Arguments& rest) {
    const Handle& camera = handle(rest);
    std::string name, argument;
    rest >> name >> argument;
    alignas(16) char zeros[1024] = {};
    return outcome(request(camera, requestNumber(name), argument == "null" ? nullptr : zeros));
}

}  // namespace DriverTruth
