// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// From the raw view of an image to its 4:2:0 view. Called by V4L2CameraGraphicBuffer, on the thread
// that maps.

#ifndef LUMIQ_FRAME_CONVERSION_H
#define LUMIQ_FRAME_CONVERSION_H

#include "v4l2-camera-frame.h"

namespace Nerio::Lumiq {

/// Fills `frame` with the layout that a stream of this format has in `buffer`. Formats without a
/// known layout, and buffers that are no longer mapped, leave it Invalid with all planes zero.
void describeFrame(Frame& frame, const StreamFormat& stream, const V4L2CameraBuffer& buffer);

/// The way from one format to 4:2:0.
struct Conversion {
    PixelFormat format;

    /// The library function that converts; null when the planes are used as they are.
    const char* function;

    /// How many bytes the image takes in the driver's buffer, from the first plane on. A shorter
    /// buffer must not be converted: nothing else keeps the conversion from reading beyond it.
    std::size_t (*needed)(const Frame& frame);

    /// Fills `record` from `frame`. False when no memory is left for the converted image.
    bool (*run)(const Frame& frame, V4L2CameraYCbCrFrame& record);
};

/// Null when the format cannot be seen as 4:2:0.
[[nodiscard]] const Conversion* conversionFrom(PixelFormat format);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_FRAME_CONVERSION_H
