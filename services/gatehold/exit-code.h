// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the program ends: one number for each thing that can be wrong, and the exception that carries
// it with a sentence on what to do. Thrown anywhere in the service, caught in main.
#pragma once

#include <stdexcept>
#include <string>

namespace GateholdService {

enum class ExitCode : int {
    success = 0,
    failed = 1,
    usage = 2,
    noBus = 3,
    nameRefused = 4,
    nameTaken = 5,
    badDescription = 6,
    busLost = 7,
    replaced = 8,
    noService = 9,
    noCamera = 10,
    refused = 11,
};

// The same numbers for --help.
inline constexpr const char* kExitCodeTable = R"(Exit codes:
  0   ended by SIGINT or SIGTERM, or the control command was done
  1   failed for another reason, which is printed
  2   the command line makes no sense
  3   no message bus to connect to
  4   the bus does not let this user own the name
  5   another service owns the name
  6   a camera description or a fault is malformed, or its file cannot be read
  7   the bus went away while serving
  8   another service took the name over (--replace)
  9   control: no service, or one without --control
  10  control: no such camera
  11  control: the bus or the service refused
)";

class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& whatToDo)
        : std::runtime_error(whatToDo), m_exitCode(exitCode) {}
    ExitCode exitCode() const { return m_exitCode; }

private:
    ExitCode m_exitCode;
};

}  // namespace GateholdService
