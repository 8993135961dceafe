// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a capture session is to do.
#pragma once

#include <cstdint>

#include "frame-copy.h"
#include "operating-point.h"

namespace LumiqCam {

struct CaptureSettings {
    OperatingPoint point;
    Take take = Take::Nothing;
    std::uint64_t count = 0;  // Frames to accept; 0: all.
    bool handOver = true;     // To the main thread; else frames are only looked at.
};

}  // namespace LumiqCam
