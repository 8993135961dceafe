// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Understanding --output; see the header.
#include "output-target.h"

#include <array>
#include <cctype>

#include "exit-code.h"

namespace LumiqCam {
namespace {

struct Kind {
    const char* name;  // The ending without its dot, and what --as takes.
    Container container;
    PixelFormat format;
};
constexpr std::array<Kind, 9> kKinds{{
    {"png", Container::Png, PixelFormat::Preferred},
    {"jpg", Container::Jpeg, PixelFormat::Preferred},
    {"jpeg", Container::Jpeg, PixelFormat::Preferred},
    {"y4m", Container::Y4m, PixelFormat::Preferred},
    {"raw", Container::Bytes, PixelFormat::Preferred},
    {"yuv", Container::Bytes, PixelFormat::YUV420Planar},
    {"mjpg", Container::Bytes, PixelFormat::MJPG},
    {"mjpeg", Container::Bytes, PixelFormat::MJPG},
    {"h264", Container::Bytes, PixelFormat::H264},
}};

const Kind* findKind(const std::string& name) {
    for (const Kind& kind : kKinds) {
        if (name == kind.name) {
            return &kind;
        }
    }
    return nullptr;
}

std::string endingOf(const std::string& path) {
    const std::size_t dot = path.find_last_of("./");
    return dot == std::string::npos || path[dot] == '/' ? std::string()
                                                        : lowerCase(path.substr(dot + 1));
}

// One place for the number: "%d" or "%04d".
struct Place {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t digits = 0;
};

[[noreturn]] void refusePattern(const std::string& path) {
    throw Failure(
        ExitCode::Usage, "--output does not understand the pattern in \"" + path + "\"",
        "Write the frame's number once, as %d or with leading zeros as %04d, and a percent "
        "sign itself as %%.");
}

// Where the number stands; an empty place when there is none.
Place findPlace(const std::string& path) {
    Place place;
    for (std::size_t i = path.find('%'); i != std::string::npos; i = path.find('%', i)) {
        std::size_t end = i + 1;
        while (end < path.size() && std::isdigit(static_cast<unsigned char>(path[end])) != 0) {
            ++end;
        }
        const bool literal = end == i + 1 && path.compare(end, 1, "%") == 0;
        if (!literal) {
            const bool number = path.compare(end, 1, "d") == 0 && end - i <= 3;
            if (!number || place.end != 0) {
                refusePattern(path);
            }
            const std::string digits = path.substr(i + 1, end - i - 1);
            place = {i, end + 1, digits.empty() ? 1 : std::stoul(digits)};
        }
        i = end + 1;
    }
    return place;
}

std::string withoutDoubledPercents(std::string text) {
    for (std::size_t i = text.find("%%"); i != std::string::npos; i = text.find("%%", i + 1)) {
        text.erase(i, 1);
    }
    return text;
}

}  // namespace

std::string OutputTarget::pathFor(std::uint64_t number) const {
    const Place place = findPlace(path);
    if (place.end == 0) {
        return withoutDoubledPercents(path);
    }
    std::string digits = std::to_string(number);
    if (digits.size() < place.digits) {
        digits.insert(0, place.digits - digits.size(), '0');
    }
    return withoutDoubledPercents(path.substr(0, place.begin)) + digits +
           withoutDoubledPercents(path.substr(place.end));
}

OutputTarget parseOutput(const std::string& output, const std::string& as) {
    if (output.empty() && !as.empty()) {
        throw Failure(ExitCode::Usage, "--as needs --output", "Say where the frames should go.");
    }
    OutputTarget target;
    if (output.empty()) {
        return target;
    }
    target.path = output;
    target.standardOutput = output == "-";
    const Kind* const kind = findKind(as.empty() ? endingOf(output) : lowerCase(as));
    if (kind == nullptr && !as.empty()) {
        throw Failure(ExitCode::Usage, "--as does not understand \"" + printable(as) + "\"",
                      "Choose png, jpg, y4m or raw.");
    }
    target.container = kind == nullptr ? Container::Bytes : kind->container;
    target.filePerFrame = findPlace(output).end != 0;
    return target;
}

PixelFormat defaultFormatFor(const OutputTarget& target) {
    const Kind* const kind = findKind(endingOf(target.path));
    return kind == nullptr || kind->container != target.container ? PixelFormat::Preferred
                                                                  : kind->format;
}

}  // namespace LumiqCam
