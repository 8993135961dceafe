// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the program says: data to standard output, messages to standard error. Main thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "exit-code.h"
#include "lumiq/camera-info.h"
#include "text-values.h"

namespace LumiqCam {

using Json = nlohmann::ordered_json;

Json toJson(const Nerio::Lumiq::CameraInfo& camera);
Json toJson(FrameRate rate);
Json toJson(FrameSize size);
Json toJson(PixelFormat format);  // {"name": ..., "value": ...}

// One document, or one line of several. Throws Failure (output-failed) when nobody reads.
void printDocument(const Json& document);
void printLine(const Json& document);
void printText(const std::string& text);

// "lumiq-cam: text" to standard error.
void say(const std::string& text);

// The failure, the plug-in's own words about it, and what to do.
void explain(const Failure& failure, const std::vector<std::string>& log);
Json toJson(const Failure& failure, const std::vector<std::string>& log);

}  // namespace LumiqCam
