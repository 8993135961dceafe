// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a simulated camera is: its name, the formats, sizes and intervals it offers, and how it
// misbehaves. Written as JSON (README.md shows the whole form); read here into plain values, once,
// on any thread, by whoever makes a device and by the simulated driver.

#ifndef LUMIQ_SIMULATOR_CAMERA_DESCRIPTION_H
#define LUMIQ_SIMULATOR_CAMERA_DESCRIPTION_H

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fault.h"

namespace Simulator {

/// A description that cannot be used. `what()` names the place in the JSON text
/// ("/formats/0/sizes"), what is wrong there and what is allowed.
class DescriptionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Seconds per frame as a fraction; never with a zero in either part.
struct Interval {
    std::uint32_t numerator = 1;
    std::uint32_t denominator = 30;
    bool operator==(const Interval&) const = default;
};

/// How often frames of one size can come.
struct Intervals {
    enum class Kind { None, Discrete, Stepwise, Continuous };
    Kind kind = Kind::Discrete;
    std::vector<Interval> discrete;
    Interval min, max, step;  ///< for Stepwise and Continuous
};

/// One discrete frame size.
struct FrameSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Intervals intervals;
};

/// A range of frame sizes.
struct FrameSizeRange {
    std::uint32_t minWidth = 0, maxWidth = 0, stepWidth = 1;
    std::uint32_t minHeight = 0, maxHeight = 0, stepHeight = 1;
    bool continuous = false;
    Intervals intervals;
};

/// One pixel format; either `sizes` has entries or `range` is set, never both.
struct Format {
    std::uint32_t fourcc = 0;
    std::vector<FrameSize> sizes;
    std::optional<FrameSizeRange> range;
};

/// How the picture looks.
struct Picture {
    std::uint32_t cycle = 16;  ///< frames until the bars are back where they were; 1: they rest
    int jpegQuality = 85;
    bool grey = false;  ///< grey steps in place of the eight colours
};

/// A camera as its description gives it.
struct CameraDescription {
    std::string name;                ///< the card name of VIDIOC_QUERYCAP, 1 to 31 bytes
    std::string busInfo;             ///< 1 to 31 bytes
    std::uint32_t capabilities = 0;  ///< as VIDIOC_QUERYCAP answers
    std::uint32_t deviceCaps = 0;
    bool timePerFrame = true;              ///< whether the frame interval can be set
    std::optional<std::uint32_t> buffers;  ///< granted whatever is asked for
    std::vector<Format> formats;
    Picture picture;
    std::vector<Fault> faults;
    std::string json;  ///< the text it was read from
};

/// Reads and checks a description. Throws DescriptionError.
CameraDescription parseDescription(std::string_view json);

/// The same for a file. Throws DescriptionError, with the file's path in front, also when the file
/// cannot be read.
CameraDescription loadDescription(const std::string& path);

/// The four-character code of four characters.
constexpr std::uint32_t fourcc(const char (&code)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(code[0])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(code[1])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(code[2])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(code[3])) << 24;
}
/// The four characters of a code.
std::string fourccText(std::uint32_t code);

}  // namespace Simulator

#endif
