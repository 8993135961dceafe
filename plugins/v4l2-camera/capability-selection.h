// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The arithmetic of choosing a size and a rate, without a device: V4L2Camera feeds it what the
// driver lists. Host threads.

#ifndef LUMIQ_CAPABILITY_SELECTION_H
#define LUMIQ_CAPABILITY_SELECTION_H

#include <linux/videodev2.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "lumiq/camera-capability.h"

namespace Nerio::Lumiq {

using FrameRate = Fraction<unsigned int>;

/// The rate, in frames per second, of an interval in seconds per frame; and the other way round.
constexpr FrameRate rateOf(const v4l2_fract& interval) {
    return {interval.denominator, interval.numerator};
}
constexpr v4l2_fract intervalOf(const FrameRate& rate) {
    return {rate.denominator, rate.numerator};
}

/// How far two rates lie apart, in lowest terms; 32-bit arithmetic, as Fraction compares.
[[nodiscard]] FrameRate distanceBetween(const FrameRate& a, const FrameRate& b);

/// How far a size lies from the wished one. Ordered by the deciding dimension, then by the other.
struct SizeDistance {
    std::uint32_t deciding = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t other = std::numeric_limits<std::uint32_t>::max();

    SizeDistance() = default;
    SizeDistance(const CameraCapabilityEx& wish, std::uint32_t width, std::uint32_t height,
                 bool widthFirst);
    friend auto operator<=>(const SizeDistance&, const SizeDistance&) = default;
};

/// Keeps the listed frame size nearest to a wish; on equal distance the one listed first. A range
/// of sizes replaces whatever was listed before it.
class SizeChoice {
public:
    SizeChoice(const CameraCapabilityEx& wish, bool widthFirst)
        : m_wish(wish), m_widthFirst(widthFirst) {}

    void consider(const v4l2_frmsizeenum& entry);

    /// The chosen size, with no rate; 0 x 0 when nothing was listed.
    [[nodiscard]] CameraCapabilityEx size() const { return {m_width, m_height, {0, 1}}; }

private:
    const CameraCapabilityEx m_wish;
    const bool m_widthFirst;
    SizeDistance m_best;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
};

/// Keeps the listed frame interval whose rate is nearest to a wish; on equal distance the one
/// listed first. A range of intervals that holds the wish replaces whatever was listed before it.
class RateChoice {
public:
    explicit RateChoice(const FrameRate& wish) : m_wish(wish) {}

    void consider(const v4l2_frmivalenum& entry);

    /// The chosen rate; 0/1 when nothing was listed.
    [[nodiscard]] FrameRate rate() const { return rateOf(m_best); }

private:
    void considerRange(const v4l2_frmivalenum& entry);

    const FrameRate m_wish;
    FrameRate m_bestDistance{std::numeric_limits<unsigned int>::max(), 1};
    v4l2_fract m_best{1, 0};
};

/// The walk of a search that puts the frame rate first: from the wished size downwards, one step of
/// one dimension at a time, staying near the wished aspect ratio.
class TrialSizes {
public:
    TrialSizes(const CameraCapabilityEx& wish, const CameraCapabilityRanges& ranges,
               bool widthFirst);

    /// The size to try now, with the wished rate.
    [[nodiscard]] const CameraCapabilityEx& current() const { return m_trial; }

    /// Moves on to the next smaller size; false at the end of the walk.
    bool shrink();

private:
    CameraCapabilityEx m_trial;
    const double m_aspect;
    const std::uint32_t m_step;
    const std::uint32_t m_minWidth;
    const std::uint32_t m_minHeight;
    const bool m_widthFirst;
};

/// Keeps the operating point whose rate, and then size, is nearest to the wish; on equal distance
/// the one seen first.
class PointChoice {
public:
    PointChoice(const CameraCapabilityEx& wish, bool widthFirst)
        : m_wish(wish), m_widthFirst(widthFirst) {}

    void consider(const CameraCapabilityEx& point);

    [[nodiscard]] const CameraCapabilityEx& point() const { return m_best; }

private:
    const CameraCapabilityEx m_wish;
    const bool m_widthFirst;
    CameraCapabilityEx m_best;
    FrameRate m_rateDistance{std::numeric_limits<unsigned int>::max(), 1};
    SizeDistance m_sizeDistance;
};

/// True for a point with a size and a rate above zero.
[[nodiscard]] bool isUsable(const CameraCapabilityEx& point);

/// Appends the discrete operating points of one listed frame size.
void appendCapabilities(const v4l2_frmsizeenum& entry, std::vector<CameraCapability>& capabilities);

/// Widens `ranges` by one listed frame size; steps included.
void widenBySize(CameraCapabilityRanges& ranges, const v4l2_frmsizeenum& entry);

/// A frame size in pixels.
struct FrameSize {
    std::uint32_t width;
    std::uint32_t height;
};

/// The sizes at which the intervals of one listed frame size are asked for: itself, or the smallest
/// and the largest of a range.
[[nodiscard]] std::vector<FrameSize> boundsOf(const v4l2_frmsizeenum& entry);

/// Widens `ranges` by one listed frame interval.
void widenByInterval(CameraCapabilityRanges& ranges, const v4l2_frmivalenum& entry);

/// True when nothing was found at all.
[[nodiscard]] bool isEmpty(const CameraCapabilityRanges& ranges);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAPABILITY_SELECTION_H
