// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The kernel's own tracing, through its files; see the header.
#include "kernel-trace.h"

#include <sys/mount.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace RealKernel {
namespace {

const std::string folder = "/sys/kernel/tracing/";

void write(const std::string& file, const std::string& text) {
    std::ofstream stream(folder + file);
    stream << text << std::flush;
    if (!stream) {
        throw std::runtime_error("cannot write " + text + " to " + folder + file);
    }
}

void mountFolder() {
    if (!std::ifstream(folder + "trace") &&
        mount("tracefs", folder.c_str(), "tracefs", 0, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), folder);
    }
}

}  // namespace

KernelTrace::KernelTrace() {
    mountFolder();
    write("trace", "");
    write("events/v4l2/v4l2_dqbuf/enable", "1");
}

KernelTrace::~KernelTrace() {
    std::ofstream(folder + "events/v4l2/v4l2_dqbuf/enable") << 0;
}

KernelTrace::Counts KernelTrace::read() {
    std::ifstream trace(folder + "trace");
    Counts counts;
    for (std::string line; std::getline(trace, line);) {
        const std::size_t flags = line.find(" flags = ");
        if (line.find("v4l2_dqbuf:") != std::string::npos && flags != std::string::npos) {
            ++counts.all;
            counts.flagged += line.find("ERROR", flags) < line.find(',', flags) ? 1 : 0;
        }
    }
    return counts;
}

}  // namespace RealKernel
