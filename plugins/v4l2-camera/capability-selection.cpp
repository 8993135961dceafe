// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Chooses sizes and rates. Called by V4L2Camera's queries, on host threads.

#include "capability-selection.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Nerio::Lumiq {
namespace {

constexpr std::uint32_t apart(std::uint32_t a, std::uint32_t b) {
    return a > b ? a - b : b - a;
}

struct Range {
    std::uint32_t min;
    std::uint32_t max;
    std::uint32_t step;
};

// What a range offers for a wish: the bound it lies beyond, or what `inside` makes of it.
template <typename Inside>
std::uint32_t fit(std::uint32_t wish, const Range& range, Inside inside) {
    if (wish < range.min) {
        return range.min;
    }
    return wish > range.max ? range.max : inside(wish, range);
}

std::uint32_t asWished(std::uint32_t wish, const Range& /*range*/) {
    return wish;
}

// A wish within a stepped range, its bounds included, gives 0, which makes the search fail, rather
// than a size that the host did not name; only a wish that rounds to 0 gives one step. A wish
// beyond a bound gives the bound. Half a step is a whole number of pixels, rounded down.
std::uint32_t refusedWithin(std::uint32_t wish, const Range& range) {
    const std::uint32_t above = wish - range.min;
    const std::uint32_t remainder = range.step == 0 ? above : above % range.step;
    const std::uint32_t rounded = wish - remainder + (remainder < range.step / 2 ? 1U : 0U);
    return rounded != 0 ? 0 : range.step;
}

constexpr Range widths(const v4l2_frmsize_stepwise& sizes) {
    return {sizes.min_width, sizes.max_width, sizes.step_width};
}
constexpr Range heights(const v4l2_frmsize_stepwise& sizes) {
    return {sizes.min_height, sizes.max_height, sizes.step_height};
}

// a <= b for intervals, exactly.
bool notLonger(const v4l2_fract& a, const v4l2_fract& b) {
    return std::uint64_t{a.numerator} * b.denominator <= std::uint64_t{b.numerator} * a.denominator;
}

// True when `interval` lies a whole number of steps above `from`; it must not lie below.
bool isWholeSteps(const v4l2_fract& from, const v4l2_fract& interval, const v4l2_fract& step) {
    const std::uint64_t numerator = std::uint64_t{interval.numerator} * from.denominator -
                                    std::uint64_t{from.numerator} * interval.denominator;
    if (numerator == 0) {
        return true;
    }
    if (step.numerator == 0 || step.denominator == 0) {
        return false;
    }
    const std::uint64_t denominator = std::uint64_t{interval.denominator} * from.denominator;
    const std::uint64_t common = std::gcd(numerator, denominator);
    // One fraction divided by another, both in lowest terms, is whole when each divisor goes into
    // what it divides.
    const FrameRate length = reduced({step.numerator, step.denominator});
    return numerator / common % length.numerator == 0 &&
           length.denominator % (denominator / common) == 0;
}

// Zero means "none found yet".
void lower(std::uint32_t& minimum, std::uint32_t value) {
    if (minimum == 0 || value < minimum) {
        minimum = value;
    }
}
void raise(std::uint32_t& maximum, std::uint32_t value) {
    if (maximum == 0 || value > maximum) {
        maximum = value;
    }
}

}  // namespace

FrameRate distanceBetween(const FrameRate& a, const FrameRate& b) {
    const unsigned int left = a.numerator * b.denominator;
    const unsigned int right = b.numerator * a.denominator;
    return reduced({apart(left, right), a.denominator * b.denominator});
}

SizeDistance::SizeDistance(const CameraCapabilityEx& wish, std::uint32_t width,
                           std::uint32_t height, bool widthFirst)
    : deciding(widthFirst ? apart(wish.width, width) : apart(wish.height, height)),
      other(widthFirst ? apart(wish.height, height) : apart(wish.width, width)) {}

void SizeChoice::consider(const v4l2_frmsizeenum& entry) {
    switch (entry.type) {
        case V4L2_FRMSIZE_TYPE_DISCRETE: {
            const SizeDistance distance(m_wish, entry.discrete.width, entry.discrete.height,
                                        m_widthFirst);
            if (distance < m_best) {
                m_best = distance;
                m_width = entry.discrete.width;
                m_height = entry.discrete.height;
            }
            break;
        }
        case V4L2_FRMSIZE_TYPE_CONTINUOUS:
            m_width = fit(m_wish.width, widths(entry.stepwise), asWished);
            m_height = fit(m_wish.height, heights(entry.stepwise), asWished);
            break;
        case V4L2_FRMSIZE_TYPE_STEPWISE:
            m_width = fit(m_wish.width, widths(entry.stepwise), refusedWithin);
            m_height = fit(m_wish.height, heights(entry.stepwise), refusedWithin);
            break;
        default:
            break;
    }
}

void RateChoice::consider(const v4l2_frmivalenum& entry) {
    switch (entry.type) {
        case V4L2_FRMIVAL_TYPE_DISCRETE: {
            const FrameRate distance = distanceBetween(m_wish, rateOf(entry.discrete));
            if (distance < m_bestDistance) {
                m_bestDistance = distance;
                m_best = entry.discrete;
            }
            break;
        }
        case V4L2_FRMIVAL_TYPE_CONTINUOUS:
        case V4L2_FRMIVAL_TYPE_STEPWISE:
            considerRange(entry);
            break;
        default:
            break;
    }
}

void RateChoice::considerRange(const v4l2_frmivalenum& entry) {
    const v4l2_fract wished = intervalOf(m_wish);
    const v4l2_frmival_stepwise& range = entry.stepwise;
    if (wished.denominator == 0 || !notLonger(range.min, wished) || !notLonger(wished, range.max)) {
        return;
    }
    if (entry.type == V4L2_FRMIVAL_TYPE_CONTINUOUS) {
        m_best = range.min;
    } else {
        m_best = isWholeSteps(range.min, wished, range.step) ? range.step : v4l2_fract{1, 0};
    }
}

TrialSizes::TrialSizes(const CameraCapabilityEx& wish, const CameraCapabilityRanges& ranges,
                       bool widthFirst)
    : m_trial(std::max(wish.width, ranges.minWidth), std::max(wish.height, ranges.minHeight),
              wish.fps),
      m_aspect(static_cast<double>(wish.width) / static_cast<double>(wish.height)),
      m_step(std::max(ranges.widthStep, 16U)),
      m_minWidth(ranges.minWidth),
      m_minHeight(ranges.minHeight),
      m_widthFirst(widthFirst) {}

bool TrialSizes::shrink() {
    constexpr double tolerance = 0.2;
    if (m_trial.width < std::uint64_t{m_minWidth} + m_step ||
        m_trial.height < std::uint64_t{m_minHeight} + m_step) {
        return false;
    }
    const double aspect = static_cast<double>(m_trial.width) / static_cast<double>(m_trial.height);
    const bool off = std::abs(aspect - m_aspect) > tolerance;
    if (off == m_widthFirst) {
        m_trial.height -= m_step;
    } else {
        m_trial.width -= m_step;
    }
    return true;
}

void PointChoice::consider(const CameraCapabilityEx& point) {
    const FrameRate rateDistance = distanceBetween(m_wish.fps, point.fps);
    const SizeDistance sizeDistance(m_wish, point.width, point.height, m_widthFirst);
    // Both are in lowest terms.
    const bool sameRate = rateDistance.numerator == m_rateDistance.numerator &&
                          rateDistance.denominator == m_rateDistance.denominator;
    if (sameRate ? sizeDistance < m_sizeDistance : rateDistance < m_rateDistance) {
        m_best = point;
        m_rateDistance = rateDistance;
        m_sizeDistance = sizeDistance;
    }
}

bool isUsable(const CameraCapabilityEx& point) {
    return point.width != 0 && point.height != 0 && point.fps.denominator != 0 &&
           point.fps > FrameRate{0, 1};
}

void appendCapabilities(const v4l2_frmsizeenum& entry,
                        std::vector<CameraCapability>& capabilities) {
    // Frame intervals are not asked for here: a motion-JPEG camera is taken to do this at every
    // size.
    constexpr std::uint32_t framesPerSecond = 30;
    if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
        capabilities.push_back({entry.discrete.width, entry.discrete.height, framesPerSecond});
    } else if (entry.type == V4L2_FRMSIZE_TYPE_STEPWISE) {
        const v4l2_frmsize_stepwise& sizes = entry.stepwise;
        // The width advances by the height's step while it is not above the largest height, then by
        // its own; the height stays the smallest. In 64 bits, and with a step of nothing taken as
        // one beyond every bound, so that the walk ends whatever a driver names.
        constexpr std::uint64_t beyond = std::uint64_t{1} << 32U;
        const std::uint64_t stepHeight = sizes.step_height != 0 ? sizes.step_height : beyond;
        const std::uint64_t stepWidth = sizes.step_width != 0 ? sizes.step_width : beyond;
        std::uint64_t width = sizes.min_width;
        while (width <= sizes.max_width) {
            while (width <= sizes.max_height) {
                capabilities.push_back(
                    {static_cast<std::uint32_t>(width), sizes.min_height, framesPerSecond});
                width += stepHeight;
            }
            width += stepWidth;
        }
    }
}

void widenBySize(CameraCapabilityRanges& ranges, const v4l2_frmsizeenum& entry) {
    if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
        lower(ranges.minWidth, entry.discrete.width);
        raise(ranges.maxWidth, entry.discrete.width);
        lower(ranges.minHeight, entry.discrete.height);
        raise(ranges.maxHeight, entry.discrete.height);
        return;
    }
    const bool stepwise = entry.type == V4L2_FRMSIZE_TYPE_STEPWISE;
    if (!stepwise && entry.type != V4L2_FRMSIZE_TYPE_CONTINUOUS) {
        return;
    }
    lower(ranges.minWidth, entry.stepwise.min_width);
    raise(ranges.maxWidth, entry.stepwise.max_width);
    lower(ranges.minHeight, entry.stepwise.min_height);
    raise(ranges.maxHeight, entry.stepwise.max_height);
    ranges.widthStep = stepwise ? entry.stepwise.step_width : 1;
    ranges.heightStep = stepwise ? entry.stepwise.step_height : 1;
}

std::vector<FrameSize> boundsOf(const v4l2_frmsizeenum& entry) {
    switch (entry.type) {
        case V4L2_FRMSIZE_TYPE_DISCRETE:
            return {{entry.discrete.width, entry.discrete.height}};
        case V4L2_FRMSIZE_TYPE_CONTINUOUS:
        case V4L2_FRMSIZE_TYPE_STEPWISE:
            return {{entry.stepwise.min_width, entry.stepwise.min_height},
                    {entry.stepwise.max_width, entry.stepwise.max_height}};
        default:
            return {};
    }
}

void widenByInterval(CameraCapabilityRanges& ranges, const v4l2_frmivalenum& entry) {
    // Only the highest rate is ever told: the lowest stays 0/1, "as slow as you like", and the step
    // 0/1. Of an interval range the longest interval counts.
    const bool discrete = entry.type == V4L2_FRMIVAL_TYPE_DISCRETE;
    const bool range =
        entry.type == V4L2_FRMIVAL_TYPE_CONTINUOUS || entry.type == V4L2_FRMIVAL_TYPE_STEPWISE;
    const FrameRate rate = rateOf(discrete ? entry.discrete : entry.stepwise.max);
    if ((discrete || range) && rate > ranges.maxFps) {
        ranges.maxFps = rate;
    }
}

bool isEmpty(const CameraCapabilityRanges& ranges) {
    return ranges.minWidth == 0 && ranges.maxWidth == 0 && ranges.minHeight == 0 &&
           ranges.maxHeight == 0 && ranges.minFps.numerator == 0 && ranges.maxFps.numerator == 0;
}

}  // namespace Nerio::Lumiq
