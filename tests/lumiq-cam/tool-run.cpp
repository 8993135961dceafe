// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Running the program; see the header.
#include "tool-run.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "wait-until.h"

namespace ToolTest {
namespace {

using TestSupport::ChildProcess;

bool waitFor(ChildProcess& process, const std::function<bool()>& there) {
    return TestSupport::waitUntil([&] { return there() || !process.running(); },
                                  TestSupport::kGenerousLimit) &&
           there();
}

}  // namespace

std::vector<Json> ToolResult::jsonLines() const {
    std::vector<Json> lines;
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(Json::parse(line));
    }
    return lines;
}

std::string program() {
    return LUMIQ_CAM_PROGRAM;
}

ChildProcess startTool(const std::vector<std::string>& arguments, const Environment& environment) {
    // Whoever runs the tests in the background may have these ignored, which programs inherit and
    // which the tool respects.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_DFL);
    }
    std::vector<std::string> command{program()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return ChildProcess(command, {environment});
}

ToolResult finish(ChildProcess& process) {
    ToolResult result;
    result.code = process.wait();
    result.out = process.standardOutput();
    result.err = process.standardError();
    return result;
}

ToolResult runTool(const std::vector<std::string>& arguments, const Environment& environment) {
    ChildProcess process = startTool(arguments, environment);
    return finish(process);
}

bool waitForOutput(ChildProcess& process, const std::string& text) {
    return waitFor(process,
                   [&] { return process.standardOutput().find(text) != std::string::npos; });
}

bool waitForError(ChildProcess& process, const std::string& text) {
    return waitFor(process,
                   [&] { return process.standardError().find(text) != std::string::npos; });
}

std::vector<std::string> Folder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path())) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace ToolTest
