// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the fake plug-in is to do, read from the environment variable LUMIQ_FAKE_PLUGIN (JSON). Made
// once, when the module is asked for; read on every thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "lumiq/camera-capability.h"
#include "lumiq/camera-info.h"
#include "lumiq/pixel-format.h"

namespace FakePlugin {

using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::CameraInfo;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::PixelFormatDescription;

struct CameraScript {
    CameraInfo info;
    std::vector<PixelFormatDescription> formats;
    std::vector<CameraCapability> capabilities;
    std::optional<CameraCapabilityRanges> ranges;
    bool findsClosest = true;  // Finds what was wished, or what "closest" says.
    std::optional<CameraCapabilityEx> closest;
    bool starts = true;
    std::string startLog;                      // Written to std::clog by startCapture.
    PixelFormat delivers = PixelFormat::YUYV;  // Invalid: mapFrame gives nothing.
    bool bufferTooShort = false;               // mapYCbCr gives nothing.
    bool withoutHuffmanTables = false;
    unsigned fps = 50;                    // By the timestamps.
    std::chrono::milliseconds pace{2};    // By the clock on the wall.
    std::set<std::uint32_t> lost;         // Numbers of frames that never arrive.
    std::set<std::uint32_t> late;         // Frames delivered with the one behind them.
    std::optional<std::uint32_t> frames;  // After so many ...
    std::vector<std::string> then;        // ... these errors, or "removed", or nothing more.
};

struct LaterEvent {
    std::chrono::milliseconds after{0};
    std::optional<CameraScript> add;
    std::string remove;
};

struct Script {
    std::string init = "true";  // Or "false", or the text of an exception.
    bool givesModule = true;
    bool givesManager = true;
    std::vector<std::string> log;  // Written to std::clog by init.
    std::vector<CameraScript> cameras;
    std::vector<LaterEvent> later;
};

// An empty script when the variable is not set. Ends the process when it is malformed.
const Script& script();

}  // namespace FakePlugin
