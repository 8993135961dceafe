// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The search that puts the frame rate first: the sizes it tries and the point it keeps.

#include <gmock/gmock.h>

#include <limits>
#include <utility>
#include <vector>

#include "capability-selection.h"
#include "listed-entries.h"

namespace Nerio::Lumiq {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::IsPoint;

constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t longestWalk = 1000;

CameraCapabilityRanges atLeast(std::uint32_t width, std::uint32_t height,
                               std::uint32_t widthStep = 0, std::uint32_t heightStep = 0) {
    CameraCapabilityRanges ranges;
    ranges.minWidth = width;
    ranges.minHeight = height;
    ranges.widthStep = widthStep;
    ranges.heightStep = heightStep;
    return ranges;
}

using Walk = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

Walk walk(std::uint32_t width, std::uint32_t height, const CameraCapabilityRanges& ranges,
          bool widthFirst) {
    TrialSizes trials({width, height, {30, 1}}, ranges, widthFirst);
    Walk tried;
    do {
        tried.emplace_back(trials.current().width, trials.current().height);
    } while (tried.size() < longestWalk && trials.shrink());
    return tried;
}

TEST(TheTrialSizes, BeginWithTheWishAndKeepItsRate) {
    TrialSizes trials({640, 480, {30000, 1001}}, atLeast(160, 120), true);
    EXPECT_THAT(trials.current(), IsPoint(640, 480, 30000, 1001));
    ASSERT_TRUE(trials.shrink());
    EXPECT_THAT(trials.current(), IsPoint(624, 480, 30000, 1001));
}

TEST(TheTrialSizes, AreTheSmallestAloneWhenTheWishIsBelowInEitherDimension) {
    EXPECT_THAT(walk(100, 100, atLeast(320, 240), true), ElementsAre(Pair(320, 240)));
    EXPECT_THAT(walk(100, 400, atLeast(320, 240), true), ElementsAre(Pair(320, 400)));
    EXPECT_THAT(walk(400, 100, atLeast(320, 240), false), ElementsAre(Pair(400, 240)));
}

TEST(TheTrialSizes, ShrinkTheWidthWhileTheAspectIsKeptWhenTheWidthDecides) {
    EXPECT_THAT(
        walk(100, 100, atLeast(52, 52), true),
        ElementsAre(Pair(100, 100), Pair(84, 100), Pair(68, 100), Pair(68, 84), Pair(52, 84)));
}

TEST(TheTrialSizes, ShrinkTheHeightWhileTheAspectIsKeptWhenTheHeightDecides) {
    EXPECT_THAT(walk(100, 100, atLeast(52, 52), false),
                ElementsAre(Pair(100, 100), Pair(100, 84), Pair(100, 68), Pair(84, 68),
                            Pair(68, 68), Pair(68, 52)));
}

TEST(TheTrialSizes, KeepToTheWishedAspect) {
    EXPECT_THAT(walk(200, 100, atLeast(120, 20), true),
                ElementsAre(Pair(200, 100), Pair(184, 100), Pair(168, 100), Pair(168, 84),
                            Pair(152, 84), Pair(136, 84), Pair(136, 68), Pair(120, 68)));
    EXPECT_THAT(
        walk(200, 100, atLeast(120, 20), false),
        ElementsAre(Pair(200, 100), Pair(200, 84), Pair(184, 84), Pair(184, 68), Pair(168, 68),
                    Pair(152, 68), Pair(136, 68), Pair(136, 52), Pair(120, 52)));
}

TEST(TheTrialSizes, TakeTheWidthStepForBothDimensions) {
    EXPECT_THAT(walk(200, 200, atLeast(40, 20, 64), true),
                ElementsAre(Pair(200, 200), Pair(136, 200), Pair(136, 136), Pair(72, 136)));
    EXPECT_THAT(walk(200, 200, atLeast(40, 20, 64, 128), false),
                ElementsAre(Pair(200, 200), Pair(200, 136), Pair(136, 136), Pair(136, 72)));
}

TEST(TheTrialSizes, GoDownBySixteenAtLeast) {
    EXPECT_THAT(walk(100, 100, atLeast(20, 84, 8), true),
                ElementsAre(Pair(100, 100), Pair(84, 100), Pair(68, 100), Pair(68, 84)));
    EXPECT_THAT(walk(100, 100, atLeast(20, 84, 15, 64), true),
                ElementsAre(Pair(100, 100), Pair(84, 100), Pair(68, 100), Pair(68, 84)));
}

TEST(TheTrialSizes, EndWhereOneMoreStepWouldLeaveTheRange) {
    EXPECT_THAT(walk(67, 100, atLeast(52, 52), true), SizeIs(1));
    EXPECT_THAT(walk(68, 100, atLeast(52, 52), true), ElementsAre(Pair(68, 100), Pair(52, 100)));
    EXPECT_THAT(walk(100, 67, atLeast(52, 52), false), SizeIs(1));
    EXPECT_THAT(walk(100, 68, atLeast(52, 52), false), ElementsAre(Pair(100, 68), Pair(100, 52)));
}

TEST(TheTrialSizes, EndWhateverIsWishedAndListed) {
    EXPECT_THAT(walk(0, 0, atLeast(0, 0), true), SizeIs(1));
    EXPECT_THAT(walk(640, 0, atLeast(320, 240), true), ElementsAre(Pair(640, 240)));
    EXPECT_THAT(walk(0, 480, atLeast(320, 240), true), ElementsAre(Pair(320, 480)));
    EXPECT_THAT(walk(640, 0, atLeast(320, 200), false), ElementsAre(Pair(640, 200)));
    EXPECT_THAT(walk(largest, largest, atLeast(largest - 5, largest - 5), true), SizeIs(1));
    EXPECT_THAT(walk(largest, 480, atLeast(largest - 5, 20), true), SizeIs(1));
    EXPECT_THAT(walk(640, largest, atLeast(20, largest - 5), true), SizeIs(1));
    EXPECT_THAT(walk(640, 480, atLeast(16, 16, largest), true), SizeIs(1));
    EXPECT_THAT(walk(largest, largest, atLeast(16, 16, largest - 16), true),
                ElementsAre(Pair(largest, largest), Pair(16, largest)));
}

CameraCapabilityEx best(const CameraCapabilityEx& wish, bool widthFirst,
                        std::initializer_list<CameraCapabilityEx> seen) {
    PointChoice choice(wish, widthFirst);
    for (const CameraCapabilityEx& each : seen) {
        choice.consider(each);
    }
    return choice.point();
}

TEST(APointChoice, IsUnusableWhenNothingWasSeen) {
    EXPECT_FALSE(isUsable(best({640, 480, {30, 1}}, true, {})));
}

TEST(APointChoice, PrefersTheNearerRateToTheNearerSize) {
    EXPECT_THAT(best({640, 480, {30, 1}}, true, {{640, 480, {15, 1}}, {160, 120, {25, 1}}}),
                IsPoint(160, 120, 25, 1));
    EXPECT_THAT(best({640, 480, {30, 1}}, true, {{160, 120, {25, 1}}, {640, 480, {15, 1}}}),
                IsPoint(160, 120, 25, 1));
}

TEST(APointChoice, PrefersTheNearerSizeAtEqualRate) {
    const std::initializer_list<CameraCapabilityEx> seen{{640, 300, {30, 1}}, {500, 480, {30, 1}}};
    EXPECT_THAT(best({640, 480, {30, 1}}, true, seen), IsPoint(640, 300, 30, 1));
    EXPECT_THAT(best({640, 480, {30, 1}}, false, seen), IsPoint(500, 480, 30, 1));
    const std::initializer_list<CameraCapabilityEx> turned{{500, 480, {30, 1}},
                                                           {640, 300, {30, 1}}};
    EXPECT_THAT(best({640, 480, {30, 1}}, true, turned), IsPoint(640, 300, 30, 1));
    EXPECT_THAT(best({640, 480, {30, 1}}, false, turned), IsPoint(500, 480, 30, 1));
}

TEST(APointChoice, LetsTheOtherDimensionSettleATie) {
    EXPECT_THAT(best({700, 700, {30, 1}}, true, {{800, 600, {30, 1}}, {600, 680, {30, 1}}}),
                IsPoint(600, 680, 30, 1));
    EXPECT_THAT(best({700, 700, {30, 1}}, false, {{600, 800, {30, 1}}, {680, 600, {30, 1}}}),
                IsPoint(680, 600, 30, 1));
}

TEST(APointChoice, KeepsTheFirstOfTwoThatAreEquallyFar) {
    EXPECT_THAT(best({700, 700, {30, 1}}, true, {{800, 600, {30, 1}}, {600, 800, {30, 1}}}),
                IsPoint(800, 600, 30, 1));
    EXPECT_THAT(best({700, 700, {30, 1}}, false, {{800, 600, {30, 1}}, {600, 800, {30, 1}}}),
                IsPoint(800, 600, 30, 1));
}

TEST(APointChoice, SeesEqualRatesInWhateverTerms) {
    EXPECT_THAT(best({640, 480, {30, 1}}, true, {{320, 240, {50, 2}}, {640, 480, {25, 1}}}),
                IsPoint(640, 480, 25, 1));
    EXPECT_THAT(best({640, 480, {60, 2}}, true, {{320, 240, {30, 1}}, {640, 480, {90, 3}}}),
                IsPoint(640, 480, 90, 3));
}

TEST(APointChoice, TakesRatesAboveAndBelowTheWishAsEquallyFar) {
    EXPECT_THAT(best({640, 480, {20, 1}}, true, {{320, 240, {10, 1}}, {640, 480, {30, 1}}}),
                IsPoint(640, 480, 30, 1));
    EXPECT_THAT(best({640, 480, {20, 1}}, true, {{640, 480, {10, 1}}, {320, 240, {30, 1}}}),
                IsPoint(640, 480, 10, 1));
}

TEST(APoint, IsUsableWithASizeAndARateAboveZero) {
    EXPECT_TRUE(isUsable({640, 480, {30, 1}}));
    EXPECT_TRUE(isUsable({1, 1, {1, largest}}));
    EXPECT_FALSE(isUsable({0, 480, {30, 1}}));
    EXPECT_FALSE(isUsable({640, 0, {30, 1}}));
    EXPECT_FALSE(isUsable({640, 480, {0, 1}}));
    EXPECT_FALSE(isUsable({640, 480, {30, 0}}));
    EXPECT_FALSE(isUsable({640, 480, {0, 0}}));
}

}  // namespace
}  // namespace Nerio::Lumiq
