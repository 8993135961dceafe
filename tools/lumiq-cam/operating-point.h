// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// From what the user would like to what the camera is asked for. Main thread; calls the camera's
// queries, which may open the device.
#pragma once

#include <string>
#include <vector>

#include "lumiq/camera.h"
#include "options.h"

namespace LumiqCam {

using FormatDescriptions = std::vector<Nerio::Lumiq::PixelFormatDescription>;

struct OperatingPoint {
    PixelFormat format = PixelFormat::Preferred;  // What startCapture is to be given.
    FrameSize size;
    FrameRate fps;
    // False: the back end found nothing near the wish, and this is the wish fitted into the ranges.
    bool foundByBackEnd = false;
    std::vector<std::string> notes;  // What the user should know, one sentence each.

    Nerio::Lumiq::CameraCapabilityEx capability() const { return {size.width, size.height, fps}; }
};

// Throws Failure (capture-failed) when the camera does not offer the format.
OperatingPoint chooseOperatingPoint(Nerio::Lumiq::Camera& camera, const FormatDescriptions& formats,
                                    const Wish& wish);

// The size nearest to the wish inside the ranges, on their steps. Ranges of zero do not bind.
FrameSize fitSize(FrameSize wish, const Nerio::Lumiq::CameraCapabilityRanges& ranges);

// Raw or Encoded in place of Preferred, where the camera has only one of them; else Preferred.
PixelFormat settlePreferred(const FormatDescriptions& formats, FrameSize size);

// "YUYV, MJPG, ..."
std::string namesOf(const FormatDescriptions& formats);

}  // namespace LumiqCam
