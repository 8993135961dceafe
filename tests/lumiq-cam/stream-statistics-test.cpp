// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Rate, losses and jitter from times of arrival.
#include "stream-statistics.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

using LumiqCam::StreamStatistics;
using LumiqCam::StreamSummary;

// Frames at these multiples of 10 ms.
StreamSummary arriving(std::initializer_list<double> times, double wishedFps = 100) {
    StreamStatistics statistics;
    for (const double time : times) {
        statistics.add(static_cast<std::int64_t>(time * 10000));
    }
    return statistics.summary(wishedFps);
}

TEST(AStream, WithoutFramesHasNoNumbers) {
    const auto summary = arriving({});
    EXPECT_EQ(summary.frames, 0U);
    EXPECT_EQ(summary.fps, 0);
    EXPECT_FALSE(summary.firstMs.has_value());
}

TEST(AStream, OfOneFrameHasNoRate) {
    const auto summary = arriving({4});
    EXPECT_EQ(summary.frames, 1U);
    EXPECT_EQ(summary.fps, 0);
    EXPECT_EQ(summary.firstMs, 40);
}

TEST(AStream, ThatIsRegularHasItsRateAndNoJitter) {
    const auto summary = arriving({1, 2, 3, 4, 5, 6, 7});
    EXPECT_DOUBLE_EQ(summary.fps, 100);
    EXPECT_DOUBLE_EQ(summary.meanMs, 10);
    EXPECT_DOUBLE_EQ(summary.jitterMs, 0);
    EXPECT_EQ(summary.lost, 0U);
}

TEST(AStream, ThatTremblesHasTheStandardDeviationAsJitter) {
    const auto summary = arriving({0, 0.9, 2, 2.9, 4, 4.9, 6});
    EXPECT_NEAR(summary.jitterMs, 1.0, 1e-9);
    EXPECT_NEAR(summary.leastMs, 9, 1e-9);
    EXPECT_NEAR(summary.mostMs, 11, 1e-9);
    EXPECT_EQ(summary.lost, 0U);
}

TEST(AStream, WithGapsLostWhatWouldHaveFilledThem) {
    EXPECT_EQ(arriving({0, 1, 2, 4, 5, 6, 7, 8}).lost, 1U);
    EXPECT_EQ(arriving({0, 1, 2, 6, 7, 9, 10, 11, 12}).lost, 4U);
    EXPECT_EQ(arriving({0, 1, 2, 3, 4, 5, 8}).lost, 2U);
}

TEST(AStream, WhoseFramesWereOnlyLateLostNone) {
    EXPECT_EQ(arriving({0, 1, 2, 3, 3.99, 7, 7.01, 7.02, 8, 9, 10, 11, 12}).lost, 0U);
    EXPECT_EQ(arriving({0, 1, 2, 3, 4, 8, 8.01, 9, 10, 11, 12}).lost, 2U);
}

TEST(AStream, WhoseFramesCameLateByPartOfAnIntervalLostNone) {
    EXPECT_EQ(arriving({0, 1, 2, 3, 4, 5.6, 6.2, 7, 8, 9, 10, 11}).lost, 0U);
    EXPECT_EQ(arriving({0, 1, 2, 3, 4, 5.9, 6.8, 7.6, 8.3, 9, 10, 11}).lost, 0U);
}

TEST(AStream, WhoseUsualIntervalIsNotQuiteTheCamerasLostNone) {
    StreamStatistics statistics;
    for (std::int64_t number = 0; number < 10000; ++number) {
        // Every tenth interval is a little longer, so that the median is below the mean.
        statistics.add(number * 10000 + number / 10 * 1500);
    }
    EXPECT_EQ(statistics.summary(100).lost, 0U);
}

TEST(AStream, IsMeasuredByItsOwnPaceNotByTheWish) {
    EXPECT_EQ(arriving({0, 2, 4, 6, 8, 10, 12}, 100).lost, 0U);
}

TEST(AStream, TooShortToHaveAPaceIsMeasuredByTheWish) {
    EXPECT_EQ(arriving({0, 1, 4}).lost, 2U);
    EXPECT_EQ(arriving({0, 1, 4}, 0).lost, 0U);
}

TEST(AStream, WithUnknownTimesIsOnlyCounted) {
    StreamStatistics statistics;
    statistics.add(-1);
    statistics.add(-1);
    const auto summary = statistics.summary(30);
    EXPECT_EQ(summary.frames, 2U);
    EXPECT_EQ(summary.fps, 0);
    EXPECT_FALSE(summary.firstMs.has_value());
}

TEST(AStream, WhoseClockGoesBackIsNotTakenForOneFromTheFuture) {
    StreamStatistics statistics;
    statistics.add(5000);
    statistics.add(1000);
    EXPECT_EQ(statistics.summary(30).mostMs, 0);
}

}  // namespace
