// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the program ends, and the exception that carries such an end to main. Thrown on the main
// thread only.
#pragma once

#include <stdexcept>
#include <string>

namespace LumiqCam {

// The numbers are what scripts rely on; README.md and --help list them.
enum class ExitCode : int {
    Ok = 0,
    Internal = 1,
    Usage = 2,
    NoCamera = 3,
    NoService = 4,
    CameraRemoved = 5,
    TimedOut = 6,
    CaptureFailed = 7,
    OutputFailed = 8,
};

// The word that stands for the code in JSON.
const char* toString(ExitCode code);

// Says what failed, and what the user can do about it.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& what, std::string advice = {});

    ExitCode code() const { return m_code; }
    const std::string& advice() const { return m_advice; }

private:
    ExitCode m_code;
    std::string m_advice;
};

}  // namespace LumiqCam
