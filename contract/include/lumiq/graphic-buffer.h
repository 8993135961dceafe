// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One captured image as a back end hands it to the host. Made on the capture thread, owned by the
// host from then on.

#ifndef LUMIQ_GRAPHIC_BUFFER_H
#define LUMIQ_GRAPHIC_BUFFER_H

#include <cstdint>
#include <memory>

#include "lumiq/frame.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// One captured image.
///
/// The mapping operations are made for one thread at a time and for the duration of the listener
/// call that brought the buffer: the driver gets its memory back as soon as that call returns. The
/// host may keep the pointer longer (it keeps the camera alive), but the pixels then belong to a
/// later image.
class LUMIQ_CONTRACT GraphicBuffer {
public:
    GraphicBuffer() = default;
    GraphicBuffer(const GraphicBuffer&) = delete;
    GraphicBuffer& operator=(const GraphicBuffer&) = delete;

    /// Any thread. A buffer keeps its camera alive: when it is the last to do so, the camera goes
    /// with it, and a capture that still runs ends first. The mapped records do the same.
    virtual ~GraphicBuffer() = default;

    /// The image as 4:2:0, converted on the first call when the camera delivers something else;
    /// later calls return the same record. Empty when the format cannot be converted, when the
    /// driver's buffer is too short for the image, or when no memory is left. That is not an error
    /// of the capture.
    [[nodiscard]] virtual std::shared_ptr<YCbCrFrame> mapYCbCr() = 0;

    /// A mapping private to a back end; empty when it has none. The V4L2 back end has none.
    [[nodiscard]] virtual std::shared_ptr<void> map() = 0;

    /// The image as the camera delivered it, without a copy; later calls return the same record.
    /// Empty when it cannot be viewed.
    [[nodiscard]] virtual std::shared_ptr<Frame> mapFrame() = 0;

    /// How far the image must be turned to stand upright, in degrees clockwise. 0 unless the back
    /// end knows better; the V4L2 back end does not.
    [[nodiscard]] virtual int rotation() const = 0;

    std::uint16_t width = 0;   ///< Pixels.
    std::uint16_t height = 0;  ///< Rows.
    /// Microseconds of the steady clock since the capture was started, read when the image was
    /// taken from the driver; -1: unknown.
    std::int64_t timestamp = -1;
    std::uint32_t reserved1 = 0;  ///< This system leaves it 0.
    std::uint64_t reserved2 = 0;  ///< This system leaves it 0.
    std::uint32_t reserved3 = 0;  ///< This system leaves it 0.
};

static_assert(sizeof(GraphicBuffer) == 48);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_GRAPHIC_BUFFER_H
