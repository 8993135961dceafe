// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Measuring a stream; see the header.
#include "stream-statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace LumiqCam {
namespace {

// With fewer intervals than this their median says little.
constexpr std::size_t kEnoughIntervals = 5;

// A gap counts when the stream is still this far behind after so many frames as can have waited in
// the driver.
constexpr double kBehind = 0.5;
constexpr int kDriverBuffers = 4;
// Lets small differences between the usual interval and the camera's own not add up.
constexpr double kForgetting = 0.9;

constexpr double kMicrosecondsPerMillisecond = 1000.0;
constexpr double kMicrosecondsPerSecond = 1e6;

}  // namespace

void StreamStatistics::add(std::int64_t timestamp) {
    ++m_frames;
    if (timestamp < 0) {
        return;
    }
    if (m_first) {
        const std::int64_t interval = std::clamp<std::int64_t>(
            timestamp - m_last, 0, std::numeric_limits<std::uint32_t>::max());
        m_intervals.push_back(static_cast<std::uint32_t>(interval));
    } else {
        m_first = timestamp;
    }
    m_last = timestamp;
}

double StreamStatistics::usualInterval(double wishedFps) const {
    if (m_intervals.size() < kEnoughIntervals) {
        return wishedFps > 0 ? kMicrosecondsPerSecond / wishedFps : 0;
    }
    auto sorted = m_intervals;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return *middle;
}

std::uint64_t StreamStatistics::estimateLost(double usual) const {
    if (usual <= 0) {
        return 0;
    }
    std::uint64_t lost = 0;
    double behind = 0;  // Intervals by which the last frame came later than the ones before it.
    int waited = 0;     // How long ago it was more than half of one.
    for (const std::uint32_t interval : m_intervals) {
        behind += interval / usual - 1;
        waited = behind < kBehind ? 0 : waited + 1;
        if (waited > kDriverBuffers) {
            const long long missing = std::llround(behind);
            lost += static_cast<std::uint64_t>(missing);
            behind -= static_cast<double>(missing);
            waited = 0;
        } else if (waited == 0) {
            behind *= kForgetting;
        }
    }
    return lost + (waited > 0 ? static_cast<std::uint64_t>(std::llround(behind)) : 0);
}

StreamSummary StreamStatistics::summary(double wishedFps) const {
    StreamSummary result;
    result.frames = m_frames;
    if (m_first) {
        result.firstMs = static_cast<double>(*m_first) / kMicrosecondsPerMillisecond;
    }
    if (m_intervals.empty()) {
        return result;
    }
    const auto count = static_cast<double>(m_intervals.size());
    const double sum = std::accumulate(m_intervals.begin(), m_intervals.end(), 0.0);
    const double mean = sum / count;
    const double squares = std::accumulate(m_intervals.begin(), m_intervals.end(), 0.0,
                                           [mean](double total, std::uint32_t interval) {
                                               return total + (interval - mean) * (interval - mean);
                                           });
    const auto [least, most] = std::minmax_element(m_intervals.begin(), m_intervals.end());
    result.fps = sum > 0 ? count * kMicrosecondsPerSecond / sum : 0;
    result.meanMs = mean / kMicrosecondsPerMillisecond;
    result.leastMs = *least / kMicrosecondsPerMillisecond;
    result.mostMs = *most / kMicrosecondsPerMillisecond;
    result.jitterMs = std::sqrt(squares / count) / kMicrosecondsPerMillisecond;
    result.lost = estimateLost(usualInterval(wishedFps));
    return result;
}

}  // namespace LumiqCam
