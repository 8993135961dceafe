// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The program's commands. Each is called once by main, on the main thread, and throws Failure when
// it cannot do its work.
#pragma once

#include "exit-code.h"
#include "log-collector.h"
#include "options.h"

namespace LumiqCam {

void listCameras(const Options& options);
void showCamera(const Options& options);
void showClosest(const Options& options);
void watchCameras(const Options& options, LogCollector& log);

// Reports its own failures once the capture has begun, since they belong into the summary; the
// result is how the program ends.
ExitCode capture(const Options& options, LogCollector& log);

}  // namespace LumiqCam
