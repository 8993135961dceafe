// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the kernel says of a video node, by way of v4l2-ctl: a second opinion that shares no line of
// code with the back end. Test thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace RealKernel {

struct KernelRates {
    double slowest = 0;
    double fastest = 0;
};

struct KernelSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<double> rates;         ///< Frames per second, as listed.
    std::optional<KernelRates> range;  ///< Or a range.
};

struct KernelSteps {
    std::uint32_t minWidth = 0, minHeight = 0;
    std::uint32_t maxWidth = 0, maxHeight = 0;
    std::uint32_t widthStep = 0, heightStep = 0;
};

struct KernelFormat {
    std::string fourcc;
    std::vector<KernelSize> sizes;     ///< Discrete ones.
    std::optional<KernelSteps> steps;  ///< Or a range.
};

/// Runs a program to its end and gives what it printed. Throws std::runtime_error, with what it
/// complained of, when it fails.
std::string outputOf(const std::vector<std::string>& command);

/// Everything that "v4l2-ctl --list-formats-ext" prints.
std::vector<KernelFormat> formatsOf(const std::string& node);

/// Sets the node's controls, as in "name=value,name=value".
void setControls(const std::string& node, const std::string& assignments);

}  // namespace RealKernel
