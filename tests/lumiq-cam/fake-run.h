// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Runs lumiq-cam with the plug-in that follows a script. Test thread.
#pragma once

#include <string>
#include <vector>

#include "tool-run.h"

namespace ToolTest {

inline Environment fakeEnvironment(const Json& script) {
    return {{"LUMIQ_PLUGIN", LUMIQ_FAKE_PLUGIN_FILE}, {"LUMIQ_FAKE_PLUGIN", script.dump()}};
}

// One camera; the changes replace or add to what it does.
inline Json fakeCamera(const std::string& id, const std::string& name, const Json& changes = {}) {
    Json camera{{"id", id}, {"name", name}};
    if (!changes.is_null()) {
        camera.update(changes);
    }
    return camera;
}

inline Json oneCamera(const Json& changes = {}) {
    return {{"cameras", {fakeCamera("/cam/a", "Front camera", changes)}}};
}

inline ToolResult runFake(const std::vector<std::string>& arguments, const Json& script) {
    return runTool(arguments, fakeEnvironment(script));
}

// The plug-in writes such a line when the host does what the contract forbids.
inline bool brokeTheContract(const ToolResult& result) {
    return result.says("fake:");
}

}  // namespace ToolTest
