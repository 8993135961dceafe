// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Makes the frames of one stream: moving bars with the frame number, in the stream's format. Made
// at stream-on, used on the driver thread.

#ifndef LUMIQ_SIMULATOR_FRAME_PAINTER_H
#define LUMIQ_SIMULATOR_FRAME_PAINTER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "camera-description.h"

namespace Simulator {

/// One format and size. Rows, and for JPEG whole pictures, are prepared once and reused; what is
/// new in a frame is its number and, as the bars move, where in the prepared rows it starts.
class FramePainter {
public:
    virtual ~FramePainter() = default;
    /// Writes the frame; returns its bytes, at most `capacity`: what does not fit is cut off.
    virtual std::size_t paint(std::uint8_t* to, std::size_t capacity, std::uint32_t number) = 0;
};

std::unique_ptr<FramePainter> makePainter(std::uint32_t code, std::uint32_t width,
                                          std::uint32_t height, const Picture& picture);

/// The same for JPEG alone.
std::unique_ptr<FramePainter> makeJpegPainter(std::uint32_t width, std::uint32_t height,
                                              const Picture& picture);

}  // namespace Simulator

#endif
