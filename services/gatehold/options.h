// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The command line as values. Read by main, once.
#pragma once

#include <string>
#include <vector>

namespace GateholdService {

struct ServeOptions {
    std::vector<std::string> descriptionFiles;
    bool realNodes = true;
    bool control = false;
    bool replace = false;
    // A descriptor that is told "ready"; -1 for none.
    int readyFd = -1;
};

struct ControlOptions {
    enum class Command { plug, unplug, fault, clear, list };
    Command command = Command::list;
    std::string file;
    std::string camera;
    std::string fault;
};

struct Options {
    bool controlsAnother = false;
    bool verbose = false;
    ServeOptions serve;
    ControlOptions control;
};

// Prints help, version or what is wrong with the command line; then ends the program with the exit
// code for that.
Options parseCommandLine(int argc, char** argv);

}  // namespace GateholdService
