// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads v4l2-ctl's listings; see the header.
#include "kernel-answers.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "child-process.h"

namespace RealKernel {
namespace {

void readSize(KernelFormat& format, const char* line) {
    KernelSize size;
    KernelSteps steps;
    if (std::sscanf(line, " Size: Discrete %ux%u", &size.width, &size.height) == 2) {
        format.sizes.push_back(size);
    } else if (std::sscanf(line, " Size: Stepwise %ux%u - %ux%u with step %u/%u", &steps.minWidth,
                           &steps.minHeight, &steps.maxWidth, &steps.maxHeight, &steps.widthStep,
                           &steps.heightStep) == 6) {
        format.steps = steps;
    } else {
        throw std::runtime_error(std::string("v4l2-ctl prints a size of another kind: ") + line);
    }
}

void readInterval(KernelSize& size, const char* line) {
    double rate = 0;
    KernelRates range;
    if (std::sscanf(line, " Interval: Discrete %*fs (%lf fps)", &rate) == 1) {
        size.rates.push_back(rate);
    } else if (std::sscanf(line, " Interval: Stepwise %*fs - %*fs with step %*fs (%lf-%lf fps)",
                           &range.slowest, &range.fastest) == 2 ||
               std::sscanf(line, " Interval: Continuous %*fs - %*fs (%lf-%lf fps)", &range.slowest,
                           &range.fastest) == 2) {
        size.range = range;
    } else {
        throw std::runtime_error(std::string("v4l2-ctl prints an interval of another kind: ") +
                                 line);
    }
}

void readLine(std::vector<KernelFormat>& formats, const char* line) {
    char fourcc[5] = {};
    int index = 0;
    if (std::sscanf(line, " [%d]: '%4c'", &index, fourcc) == 2) {
        formats.push_back({fourcc, {}, {}});
    } else if (std::string(line).find("Size:") != std::string::npos) {
        readSize(formats.at(formats.size() - 1), line);
    } else if (std::string(line).find("Interval:") != std::string::npos) {
        readInterval(formats.at(formats.size() - 1).sizes.back(), line);
    }
}

}  // namespace

std::string outputOf(const std::vector<std::string>& command) {
    TestSupport::ChildProcess process(command);
    if (const int code = process.wait()) {
        throw std::runtime_error(command.front() + " ended with " + std::to_string(code) + ": " +
                                 process.standardError() + process.standardOutput());
    }
    return process.standardOutput();
}

std::vector<KernelFormat> formatsOf(const std::string& node) {
    std::vector<KernelFormat> formats;
    std::istringstream lines(outputOf({"v4l2-ctl", "-d", node, "--list-formats-ext"}));
    for (std::string line; std::getline(lines, line);) {
        readLine(formats, line.c_str());
    }
    if (formats.empty()) {
        throw std::runtime_error("v4l2-ctl lists nothing for " + node);
    }
    return formats;
}

void setControls(const std::string& node, const std::string& assignments) {
    outputOf({"v4l2-ctl", "-d", node, "-c", assignments});
}

}  // namespace RealKernel
