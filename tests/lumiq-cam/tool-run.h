// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Runs lumiq-cam for a test, as a user would. Test thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "child-process.h"
#include "temporary-folder.h"

namespace ToolTest {

using Json = nlohmann::json;
using Environment = std::vector<std::pair<std::string, std::string>>;

struct ToolResult {
    int code = 0;
    std::string out;
    std::string err;

    // Throws when the output is not one JSON document.
    Json json() const { return Json::parse(out); }
    std::vector<Json> jsonLines() const;
    bool says(const std::string& text) const { return err.find(text) != std::string::npos; }
};

// The path of the program under test.
std::string program();

TestSupport::ChildProcess startTool(const std::vector<std::string>& arguments,
                                    const Environment& environment);
ToolResult finish(TestSupport::ChildProcess& process);
ToolResult runTool(const std::vector<std::string>& arguments, const Environment& environment);

// Waits until the program has printed the text to one of its streams; false when it ended, or the
// generous limit passed, without it.
bool waitForOutput(TestSupport::ChildProcess& process, const std::string& text);
bool waitForError(TestSupport::ChildProcess& process, const std::string& text);

// A folder that is removed with everything in it.
class Folder {
public:
    std::string path(const std::string& name) const { return m_folder.path() / name; }
    // The names in it, sorted.
    std::vector<std::string> names() const;

private:
    TestSupport::TemporaryFolder m_folder{"cam"};
};

std::string readFile(const std::string& path);

}  // namespace ToolTest
