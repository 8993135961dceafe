// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Saying things; see the header.
#include "report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace LumiqCam {
namespace {

// Names come from devices and need not be valid UTF-8, which JSON must be.
std::string serialised(const Json& document, int indent) {
    return document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

Json toJson(const Nerio::Lumiq::CameraInfo& camera) {
    return {{"id", camera.id}, {"name", camera.name}, {"provider", camera.provider}};
}

Json toJson(FrameRate rate) {
    return {{"numerator", rate.numerator},
            {"denominator", rate.denominator},
            {"value", toNumber(rate)}};
}

Json toJson(FrameSize size) {
    return {{"width", size.width}, {"height", size.height}};
}

Json toJson(PixelFormat format) {
    return {{"name", toString(format)}, {"value", static_cast<std::uint32_t>(format)}};
}

void printText(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw Failure(ExitCode::OutputFailed,
                      std::string("cannot write to standard output: ") + std::strerror(errno));
    }
}

void printDocument(const Json& document) {
    printText(serialised(document, 2));
}

void printLine(const Json& document) {
    printText(serialised(document, -1));
}

void say(const std::string& text) {
    std::fprintf(stderr, "lumiq-cam: %s\n", text.c_str());
}

void explain(const Failure& failure, const std::vector<std::string>& log) {
    say(failure.what());
    for (const std::string& line : log) {
        std::fprintf(stderr, "  the plug-in: %s\n", line.c_str());
    }
    if (!failure.advice().empty()) {
        std::fprintf(stderr, "  %s\n", failure.advice().c_str());
    }
}

Json toJson(const Failure& failure, const std::vector<std::string>& log) {
    return {{"code", static_cast<int>(failure.code())},
            {"name", toString(failure.code())},
            {"message", failure.what()},
            {"advice", failure.advice()},
            {"log", log}};
}

}  // namespace LumiqCam
