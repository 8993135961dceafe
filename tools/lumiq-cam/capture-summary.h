// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The summary at the end of a capture. Pure functions; main thread.
#pragma once

#include <string>

#include "capture-run.h"
#include "lumiq/camera-info.h"
#include "options.h"
#include "report.h"

namespace LumiqCam {

Json summaryDocument(const Options& options, const Nerio::Lumiq::CameraInfo& camera,
                     const OperatingPoint& point, const CaptureOutcome& outcome);
std::string summaryText(const Options& options, const Nerio::Lumiq::CameraInfo& camera,
                        const OperatingPoint& point, const CaptureOutcome& outcome);

}  // namespace LumiqCam
