// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Rate, losses and jitter of a stream, told from the times at which its frames arrived. Called with
// the capture session's lock held.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace LumiqCam {

struct StreamSummary {
    std::uint64_t frames = 0;
    std::uint64_t lost = 0;  // Estimated from gaps; see StreamStatistics.
    double fps = 0;          // From the first frame to the last; 0 below two frames.
    double meanMs = 0;       // Between one frame and the next.
    double leastMs = 0;
    double mostMs = 0;
    double jitterMs = 0;            // Standard deviation of the intervals.
    std::optional<double> firstMs;  // From the start of the capture to the first frame.
};

// Frames carry no sequence numbers, so a lost frame shows only as a gap of two or more intervals.
// Late frames make gaps too, but the ones that waited in the driver then follow at once: a gap
// counts only as far as no such burst makes up for it.
class StreamStatistics {
public:
    // Microseconds since the capture began; negative when the back end does not know.
    void add(std::int64_t timestamp);

    // The wished interval stands in for the camera's own while there are too few frames to tell it.
    StreamSummary summary(double wishedFps) const;

private:
    double usualInterval(double wishedFps) const;
    std::uint64_t estimateLost(double usual) const;

    std::uint64_t m_frames = 0;
    std::optional<std::int64_t> m_first;
    std::int64_t m_last = 0;
    std::vector<std::uint32_t> m_intervals;  // Microseconds.
};

}  // namespace LumiqCam
