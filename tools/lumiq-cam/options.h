// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The command line, understood. Made once by main.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "output-target.h"
#include "text-values.h"

namespace LumiqCam {

enum class Command { List, Show, Closest, Capture, Watch };

// What the user would like best; the camera may have something near it.
struct Wish {
    PixelFormat format = PixelFormat::Preferred;
    FrameSize size{640, 480};
    FrameRate fps{30, 1};
    CameraCapabilityPriority priority = CameraCapabilityPriority::SizeWidth;
    bool exact = false;  // Ask for just that, without looking for something near.
};

struct Options {
    Command command = Command::List;
    std::string plugin;  // Empty: the default.
    bool json = false;
    bool verbose = false;
    bool syslog = false;
    std::string camera;
    Wish wish;
    OutputTarget output;
    bool convert = false;                   // Also where nothing is written.
    std::uint64_t count = 0;                // 0: no limit.
    std::chrono::milliseconds duration{0};  // 0: no limit.
    std::chrono::milliseconds timeout{0};
};

// Nothing when all is said already (--help, --version were printed). Throws Failure (usage).
std::optional<Options> parseOptions(int argc, char** argv);

// True when the arguments ask for JSON, also when they are not understood otherwise.
bool asksForJson(int argc, char** argv);

}  // namespace LumiqCam
