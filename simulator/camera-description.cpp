// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads and checks camera descriptions. Called by whoever makes a device and, with the text that
// the device carries, by the simulated driver, on any thread.

#include "camera-description.h"

#include <linux/videodev2.h>

#include <charconv>
#include <fstream>
#include <iterator>
#include <limits>
#include <set>

#include "control-block.h"
#include "fault-reader.h"
#include "json-reader.h"

namespace Simulator {
namespace {

constexpr std::uint32_t maxSide = 16384;
constexpr std::size_t maxFormats = 32;
constexpr std::size_t maxSizes = 20000;
constexpr std::size_t maxIntervals = 100;
/// The words of an ordinary UVC camera.
constexpr std::uint32_t uvcDeviceCaps =
    V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_EXT_PIX_FORMAT | V4L2_CAP_STREAMING;
constexpr std::uint32_t uvcCapabilities =
    uvcDeviceCaps | V4L2_CAP_META_CAPTURE | V4L2_CAP_DEVICE_CAPS;

struct NumberPair {
    std::uint32_t first;
    std::uint32_t second;
};

/// Two numbers with a separator, nothing else.
std::optional<NumberPair> numberPair(const std::string& text, char separator) {
    const std::size_t middle = text.find(separator);
    if (middle == std::string::npos) {
        return std::nullopt;
    }
    NumberPair pair{};
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const bool whole =
        std::from_chars(begin, begin + middle, pair.first) ==
            std::from_chars_result{begin + middle, {}} &&
        std::from_chars(begin + middle + 1, end, pair.second) == std::from_chars_result{end, {}};
    return whole ? std::optional(pair) : std::nullopt;
}

NumberPair readSize(const JsonReader& reader) {
    const std::string text = reader.string(0, 64);
    const auto pair = numberPair(text, 'x');
    if (!pair || pair->first < 1 || pair->first > maxSide || pair->second < 1 ||
        pair->second > maxSide) {
        reader.fail("\"" + text + "\" is not a size; write WIDTHxHEIGHT, each from 1 to " +
                    std::to_string(maxSide) + ", as \"640x480\"");
    }
    return *pair;
}

Interval readInterval(const JsonReader& reader) {
    const std::string text = reader.string(0, 64);
    const auto pair = numberPair(text, '/');
    if (!pair || pair->first == 0 || pair->second == 0) {
        reader.fail("\"" + text + "\" is not a frame interval; write seconds as a fraction of " +
                    "whole numbers from 1 up, as \"1/30\"");
    }
    return {pair->first, pair->second};
}

bool longer(const Interval& a, const Interval& b) {
    return std::uint64_t{a.numerator} * b.denominator > std::uint64_t{b.numerator} * a.denominator;
}

Intervals readIntervals(const JsonReader& reader) {
    Intervals intervals;
    if (!reader.isObject()) {
        const std::size_t size = reader.arraySize(0, maxIntervals);
        intervals.kind = size == 0 ? Intervals::Kind::None : Intervals::Kind::Discrete;
        for (std::size_t i = 0; i < size; ++i) {
            intervals.discrete.push_back(readInterval(reader.at(i)));
        }
        return intervals;
    }
    reader.allowOnly({"min", "max", "step"});
    intervals.min = readInterval(reader.at("min"));
    intervals.max = readInterval(reader.at("max"));
    if (longer(intervals.min, intervals.max)) {
        reader.fail("\"min\" is longer than \"max\"; these are seconds per frame");
    }
    intervals.kind = Intervals::Kind::Continuous;
    intervals.step = {1, 1};
    if (reader.has("step")) {
        intervals.kind = Intervals::Kind::Stepwise;
        intervals.step = readInterval(reader.at("step"));
    }
    return intervals;
}

FrameSize readFrameSize(const JsonReader& reader, const Intervals& otherwise) {
    if (reader.isString()) {
        const NumberPair size = readSize(reader);
        return {size.first, size.second, otherwise};
    }
    reader.allowOnly({"size", "intervals"});
    const NumberPair size = readSize(reader.at("size"));
    return {size.first, size.second,
            reader.has("intervals") ? readIntervals(reader.at("intervals")) : otherwise};
}

FrameSizeRange readSizeRange(const JsonReader& reader, const Intervals& intervals) {
    reader.allowOnly({"min", "max", "step"});
    const NumberPair min = readSize(reader.at("min"));
    const NumberPair max = readSize(reader.at("max"));
    if (min.first > max.first || min.second > max.second) {
        reader.fail("\"min\" is larger than \"max\"");
    }
    FrameSizeRange range;
    range.minWidth = min.first;
    range.minHeight = min.second;
    range.maxWidth = max.first;
    range.maxHeight = max.second;
    range.continuous = !reader.has("step");
    if (!range.continuous) {
        const NumberPair step = readSize(reader.at("step"));
        range.stepWidth = step.first;
        range.stepHeight = step.second;
        if ((range.maxWidth - range.minWidth) % range.stepWidth != 0 ||
            (range.maxHeight - range.minHeight) % range.stepHeight != 0) {
            reader.fail("\"max\" cannot be reached from \"min\" in whole steps");
        }
    }
    range.intervals = intervals;
    return range;
}

std::uint32_t readFourcc(const JsonReader& reader) {
    const std::string text = reader.string(0, 64);
    bool good = text.size() == 4;
    for (const char c : text) {
        good = good && c >= ' ' && c <= '~';
    }
    if (!good) {
        reader.fail("\"" + text + "\" is not a four-character code, as \"YUYV\"");
    }
    return fourcc({text[0], text[1], text[2], text[3], '\0'});
}

Format readFormat(const JsonReader& reader, const Intervals& otherwise) {
    reader.allowOnly({"fourcc", "sizes", "intervals"});
    Format format;
    format.fourcc = readFourcc(reader.at("fourcc"));
    const Intervals intervals =
        reader.has("intervals") ? readIntervals(reader.at("intervals")) : otherwise;
    const JsonReader sizes = reader.at("sizes");
    if (sizes.isObject()) {
        format.range = readSizeRange(sizes, intervals);
        return format;
    }
    const std::size_t size = sizes.arraySize(1, maxSizes);
    for (std::size_t i = 0; i < size; ++i) {
        format.sizes.push_back(readFrameSize(sizes.at(i), intervals));
    }
    return format;
}

std::vector<Format> readFormats(const JsonReader& reader, const Intervals& intervals) {
    std::vector<Format> formats;
    std::set<std::uint32_t> seen;
    const std::size_t size = reader.arraySize(1, maxFormats);
    for (std::size_t i = 0; i < size; ++i) {
        formats.push_back(readFormat(reader.at(i), intervals));
        if (!seen.insert(formats.back().fourcc).second) {
            reader.at(i).fail("this four-character code was there before");
        }
    }
    return formats;
}

Picture readPicture(const JsonReader& reader) {
    reader.allowOnly({"cycle", "jpegQuality", "grey"});
    Picture picture;
    if (reader.has("cycle")) {
        picture.cycle = reader.at("cycle").number(1, 64);
    }
    if (reader.has("jpegQuality")) {
        picture.jpegQuality = static_cast<int>(reader.at("jpegQuality").number(10, 100));
    }
    if (reader.has("grey")) {
        picture.grey = reader.at("grey").boolean();
    }
    return picture;
}

std::vector<Fault> readFaults(const JsonReader& reader) {
    std::vector<Fault> faults;
    const std::size_t size = reader.arraySize(0, ControlBlock::faultSlots);
    for (std::size_t i = 0; i < size; ++i) {
        faults.push_back(readFault(reader.at(i)));
    }
    return faults;
}

void readWords(const JsonReader& reader, CameraDescription& camera) {
    camera.name = reader.at("name").string(1, 31);
    camera.busInfo = reader.has("busInfo") ? reader.at("busInfo").string(1, 31) : "usb-simulated-1";
    camera.capabilities =
        reader.has("capabilities") ? reader.at("capabilities").word() : uvcCapabilities;
    camera.deviceCaps = reader.has("deviceCaps") ? reader.at("deviceCaps").word() : uvcDeviceCaps;
    if (reader.has("timePerFrame")) {
        camera.timePerFrame = reader.at("timePerFrame").boolean();
    }
    if (reader.has("buffers")) {
        camera.buffers = reader.at("buffers").number(0, VIDEO_MAX_FRAME);
    }
}

}  // namespace

CameraDescription parseDescription(std::string_view json) {
    if (json.size() > ControlBlock::maxJsonBytes) {
        throw DescriptionError("a description of " + std::to_string(json.size()) +
                               " bytes is too long; " + std::to_string(ControlBlock::maxJsonBytes) +
                               " bytes are allowed");
    }
    const nlohmann::json parsed = parseJson(json);
    const JsonReader reader(parsed, "");
    reader.allowOnly({"name", "busInfo", "capabilities", "deviceCaps", "timePerFrame", "buffers",
                      "picture", "intervals", "formats", "faults"});
    CameraDescription camera;
    camera.json = json;
    readWords(reader, camera);
    Intervals intervals;
    intervals.discrete = {{1, 30}};
    if (reader.has("intervals")) {
        intervals = readIntervals(reader.at("intervals"));
    }
    camera.formats = readFormats(reader.at("formats"), intervals);
    if (reader.has("picture")) {
        camera.picture = readPicture(reader.at("picture"));
    }
    if (reader.has("faults")) {
        camera.faults = readFaults(reader.at("faults"));
    }
    return camera;
}

std::string fourccText(std::uint32_t code) {
    return {static_cast<char>(code), static_cast<char>(code >> 8), static_cast<char>(code >> 16),
            static_cast<char>(code >> 24)};
}

CameraDescription loadDescription(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad()) {
        throw DescriptionError(path + ": cannot be read");
    }
    try {
        return parseDescription(text);
    } catch (const DescriptionError& error) {
        throw DescriptionError(path + ": " + error.what());
    }
}

}  // namespace Simulator
