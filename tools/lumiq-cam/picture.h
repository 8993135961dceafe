// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Pictures for files, from frames with the content I420. Main thread.
//
// The colours: uncompressed video from a USB camera is taken to have the matrix of ITU-R BT.601 and
// limited range, which is what such cameras send unless they announce otherwise, and the framework
// carries no announcement. Frames that come from JPEG have the same matrix and full range, as JFIF
// lays down.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "captured-frame.h"

namespace LumiqCam {

// Red, green, blue; three bytes a pixel, rows without padding.
std::vector<std::uint8_t> toRgb(const CapturedFrame& frame);

// Throw Failure (internal) when the library refuses.
std::vector<std::uint8_t> encodePng(const CapturedFrame& frame);
std::vector<std::uint8_t> encodeJpeg(const CapturedFrame& frame);

// The header of a YUV4MPEG2 stream of frames like this one, and a frame in it.
std::string y4mHeader(const CapturedFrame& frame, FrameRate rate);

}  // namespace LumiqCam
