// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The names of the ways to end; see the header.
#include "exit-code.h"

#include <utility>

namespace LumiqCam {

const char* toString(ExitCode code) {
    switch (code) {
        case ExitCode::Ok:
            return "ok";
        case ExitCode::Internal:
            return "internal";
        case ExitCode::Usage:
            return "usage";
        case ExitCode::NoCamera:
            return "no-camera";
        case ExitCode::NoService:
            return "no-service";
        case ExitCode::CameraRemoved:
            return "camera-removed";
        case ExitCode::TimedOut:
            return "timed-out";
        case ExitCode::CaptureFailed:
            return "capture-failed";
        case ExitCode::OutputFailed:
            return "output-failed";
    }
    return "internal";
}

Failure::Failure(ExitCode code, const std::string& what, std::string advice)
    : std::runtime_error(what), m_code(code), m_advice(std::move(advice)) {}

}  // namespace LumiqCam
