// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// When the next frame of a stream is due and what it shows, with whatever is to go wrong with it.
// Used by the video endpoint, on the camera's thread.

#ifndef LUMIQ_USB_CAMERA_FRAME_SOURCE_H
#define LUMIQ_USB_CAMERA_FRAME_SOURCE_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "byte-order.h"
#include "control-block.h"
#include "frame-painter.h"
#include "painters.h"

namespace UsbCamera {

using Clock = std::chrono::steady_clock;

/// What a stream consists of.
struct StreamFormat {
    std::uint32_t fourcc = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t maxBytes = 0;
    std::uint32_t interval = 0;  ///< in units of 100 ns
};

class FrameSource {
public:
    /// Frames obey the faults in `faults`, where each frame counts as an event.
    FrameSource(const StreamFormat& format, Painters& painters, Simulator::ControlBlock& faults);

    enum class Step { Wait, Frame, Unplug };
    /// What there is at this time. Frame: bytes() and flawed() are those of a new one. Wait: until
    /// the time that waitUntil() gives, or, without one, until the faults change.
    Step step(Clock::time_point now);
    [[nodiscard]] std::optional<Clock::time_point> waitUntil() const;

    /// Empty for a frame that is lost on its way.
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {m_frame.data(), m_bytes}; }
    [[nodiscard]] bool flawed() const { return m_flawed; }

private:
    struct Stall {
        Simulator::StruckFault fault;
        std::optional<Clock::time_point> until;
    };
    [[nodiscard]] Clock::time_point due() const;
    [[nodiscard]] bool stalls(Clock::time_point now) const;
    Step produce(Clock::time_point now);

    const StreamFormat m_format;
    Simulator::ControlBlock& m_faults;
    Simulator::FramePainter& m_painter;
    Bytes m_frame;
    std::size_t m_bytes = 0;
    bool m_flawed = false;
    std::optional<Clock::time_point> m_begin;
    std::uint64_t m_intervals = 0;  ///< since m_begin at which the next frame is due
    std::uint32_t m_number = 0;
    Simulator::StruckFaults m_struck;
    std::optional<Stall> m_stall;
};

}  // namespace UsbCamera

#endif
