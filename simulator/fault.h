// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One way in which a simulated camera misbehaves, and how often. Read from JSON by whoever
// describes a camera or switches a fault on; obeyed by the simulated driver in the host's process.

#ifndef LUMIQ_SIMULATOR_FAULT_H
#define LUMIQ_SIMULATOR_FAULT_H

#include <cstdint>
#include <string_view>

namespace Simulator {

/// What goes wrong.
enum class FaultKind : std::uint32_t {
    CallErrno,       ///< a call fails with `value` as its errno and does nothing
    PollEvents,      ///< poll reports `value` for the camera at once
    GrantBuffers,    ///< VIDIOC_REQBUFS grants `value` buffers
    BufferBytes,     ///< VIDIOC_REQBUFS makes buffers of `value` bytes, whatever the format needs
    DequeueIndex,    ///< VIDIOC_DQBUF reports `value` as the buffer's index
    ErrorFrame,      ///< a frame carries V4L2_BUF_FLAG_ERROR and half its bytes
    ShortFrame,      ///< a frame carries half its bytes; where its length is known, it is flagged
    UnflaggedFrame,  ///< a frame carries half its bytes, and the driver does not notice
    TruncateFrame,   ///< as ShortFrame, and a JPEG still ends with its end marker
    GarbleFrame,     ///< a frame's bytes are scrambled, its length and first bytes are right
    LoseFrame,       ///< a frame is lost; the sequence shows a gap
    Stall,           ///< no frame comes for `value` milliseconds; 0: until the fault is cleared
    Unplug,          ///< the camera is unplugged in place of this frame
    QueueError,      ///< the stream breaks: poll gives POLLERR alone, VIDIOC_DQBUF gives EIO
};

/// The calls that a fault can name, besides the ioctls by their request number.
inline constexpr std::uint32_t eventMmap = 1;
inline constexpr std::uint32_t eventPoll = 2;
/// Events that are no call: the camera has a frame ready.
inline constexpr std::uint32_t eventFrame = 3;

/// A fault and the events it strikes: the `first` one since it was switched on (counted from 1),
/// then every `every`-th, `count` times in all (0: without end).
struct Fault {
    FaultKind kind = FaultKind::CallErrno;
    std::uint32_t event = 0;  ///< ioctl request, eventMmap, eventPoll or eventFrame
    std::uint32_t value = 0;
    std::uint32_t first = 1;
    std::uint32_t every = 1;
    std::uint32_t count = 1;
    bool operator==(const Fault&) const = default;
};

/// Reads one fault. Throws DescriptionError.
Fault parseFault(std::string_view json);

/// Whether the fault strikes the n-th event (counted from 1).
constexpr bool strikes(const Fault& fault, std::uint64_t n) {
    if (n < fault.first) {
        return false;
    }
    const std::uint64_t past = n - fault.first;
    return past % fault.every == 0 && (fault.count == 0 || past / fault.every < fault.count);
}

}  // namespace Simulator

#endif
