// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which of the listed frame sizes and intervals is taken for a wish.

#include "capability-selection.h"

#include <gmock/gmock.h>

#include <limits>

#include "listed-entries.h"

namespace Nerio::Lumiq {
namespace {

using TestSupport::continuousIntervals;
using TestSupport::continuousSizes;
using TestSupport::discreteInterval;
using TestSupport::discreteSize;
using TestSupport::intervalRange;
using TestSupport::IsPoint;
using TestSupport::IsRate;
using TestSupport::IsSize;
using TestSupport::sizeRange;
using TestSupport::stepwiseIntervals;
using TestSupport::stepwiseSizes;
using TestSupport::unknownType;

constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();

CameraCapabilityEx sizeFor(std::uint32_t width, std::uint32_t height, bool widthFirst,
                           std::initializer_list<v4l2_frmsizeenum> listed) {
    SizeChoice choice({width, height, {30, 1}}, widthFirst);
    for (const v4l2_frmsizeenum& entry : listed) {
        choice.consider(entry);
    }
    return choice.size();
}

FrameRate rateFor(const FrameRate& wish, std::initializer_list<v4l2_frmivalenum> listed) {
    RateChoice choice(wish);
    for (const v4l2_frmivalenum& entry : listed) {
        choice.consider(entry);
    }
    return choice.rate();
}

TEST(ASizeChoice, IsNothingWhenNothingIsListed) {
    EXPECT_THAT(sizeFor(640, 480, true, {}), IsPoint(0, 0, 0, 1));
}

TEST(ASizeChoice, CarriesNoRate) {
    EXPECT_THAT(sizeFor(640, 480, true, {discreteSize(640, 480)}), IsPoint(640, 480, 0, 1));
}

TEST(ASizeChoice, TakesTheNearestDiscreteSizeOnEitherSide) {
    const auto listed = {discreteSize(640, 480), discreteSize(1280, 720), discreteSize(1920, 1080)};
    EXPECT_THAT(sizeFor(1280, 800, true, listed), IsSize(1280, 720));
    EXPECT_THAT(sizeFor(1500, 900, true, listed), IsSize(1280, 720));
    EXPECT_THAT(sizeFor(1700, 900, true, listed), IsSize(1920, 1080));
    EXPECT_THAT(sizeFor(1, 1, true, listed), IsSize(640, 480));
    EXPECT_THAT(sizeFor(10000, 10000, true, listed), IsSize(1920, 1080));
}

TEST(ASizeChoice, KeepsTheFirstOfTwoThatAreEquallyFar) {
    const auto listed = {discreteSize(800, 600), discreteSize(600, 800)};
    EXPECT_THAT(sizeFor(700, 700, true, listed), IsSize(800, 600));
    EXPECT_THAT(sizeFor(700, 700, false, listed), IsSize(800, 600));
}

TEST(ASizeChoice, LetsTheOtherDimensionSettleATie) {
    EXPECT_THAT(sizeFor(700, 700, true, {discreteSize(800, 600), discreteSize(600, 680)}),
                IsSize(600, 680));
    EXPECT_THAT(sizeFor(700, 700, false, {discreteSize(600, 800), discreteSize(680, 600)}),
                IsSize(680, 600));
}

TEST(ASizeChoice, LetsTheDecidingDimensionDecide) {
    const auto listed = {discreteSize(640, 300), discreteSize(500, 480)};
    EXPECT_THAT(sizeFor(640, 480, true, listed), IsSize(640, 300));
    EXPECT_THAT(sizeFor(640, 480, false, listed), IsSize(500, 480));
}

TEST(ASizeChoice, MeasuresDistancesOverTheWholeRangeOf32Bits) {
    EXPECT_THAT(sizeFor(0, 0, true, {discreteSize(largest, 5), discreteSize(largest - 1, 9)}),
                IsSize(largest - 1, 9));
    EXPECT_THAT(sizeFor(largest, 1, true, {discreteSize(1, 1), discreteSize(2, 9)}), IsSize(2, 9));
    // Nothing is nearer than as far as can be.
    EXPECT_THAT(sizeFor(0, 0, true, {discreteSize(largest, largest)}), IsSize(0, 0));
}

TEST(ASizeChoice, IgnoresEntriesOfUnknownType) {
    const auto unknown = sizeRange(unknownType, {1, 9999, 1, 1, 9999, 1});
    EXPECT_THAT(sizeFor(640, 480, true, {unknown}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(640, 480, true, {discreteSize(320, 240), unknown}), IsSize(320, 240));
}

TEST(ASizeChoice, TakesTheWishFromAContinuousRangeAsFarAsItReaches) {
    const auto range = continuousSizes({160, 1920, 0, 120, 1080, 0});
    EXPECT_THAT(sizeFor(641, 479, true, {range}), IsSize(641, 479));
    EXPECT_THAT(sizeFor(160, 1080, true, {range}), IsSize(160, 1080));
    EXPECT_THAT(sizeFor(159, 1081, true, {range}), IsSize(160, 1080));
    EXPECT_THAT(sizeFor(1921, 119, false, {range}), IsSize(1920, 120));
    EXPECT_THAT(sizeFor(0, largest, false, {range}), IsSize(160, 1080));
}

TEST(ASizeChoice, TakesTheBoundOfASteppedRangeForAWishBeyondIt) {
    const auto range = stepwiseSizes({160, 1920, 16, 120, 1080, 8});
    EXPECT_THAT(sizeFor(159, 119, true, {range}), IsSize(160, 120));
    EXPECT_THAT(sizeFor(1921, 1081, true, {range}), IsSize(1920, 1080));
    EXPECT_THAT(sizeFor(0, largest, false, {range}), IsSize(160, 1080));
}

TEST(ASizeChoice, RefusesAWishWithinASteppedRangeByAZero) {
    const auto range = stepwiseSizes({160, 1920, 16, 120, 1080, 8});
    EXPECT_THAT(sizeFor(640, 480, true, {range}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(641, 10, true, {range}), IsSize(0, 120));
    EXPECT_THAT(sizeFor(10, 481, true, {range}), IsSize(160, 0));
    // The bounds belong to the range.
    EXPECT_THAT(sizeFor(160, 120, true, {range}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(1920, 1080, true, {range}), IsSize(0, 0));
}

TEST(ASizeChoice, TakesOneStepOfARangeFromZeroForTheUpperHalfOfTheFirstStep) {
    const auto range = stepwiseSizes({0, 1000, 100, 0, 1000, 40});
    EXPECT_THAT(sizeFor(0, 0, true, {range}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(49, 19, true, {range}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(50, 20, true, {range}), IsSize(100, 40));
    EXPECT_THAT(sizeFor(99, 39, true, {range}), IsSize(100, 40));
    EXPECT_THAT(sizeFor(100, 40, true, {range}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(160, 60, true, {range}), IsSize(0, 0));
    // Half of an odd step is rounded down.
    const auto odd = stepwiseSizes({0, 1000, 15, 0, 1000, 1});
    EXPECT_THAT(sizeFor(6, 0, true, {odd}), IsSize(0, 1));
    EXPECT_THAT(sizeFor(7, 0, true, {odd}), IsSize(15, 1));
    // A range that begins above zero has no such step.
    EXPECT_THAT(sizeFor(60, 60, true, {stepwiseSizes({10, 1000, 100, 10, 1000, 100})}),
                IsSize(0, 0));
}

TEST(ASizeChoice, SurvivesAStepOfZero) {
    EXPECT_THAT(sizeFor(30, 30, true, {stepwiseSizes({10, 100, 0, 10, 100, 0})}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(30, 30, true, {stepwiseSizes({0, 100, 0, 0, 100, 0})}), IsSize(0, 0));
    EXPECT_THAT(sizeFor(5, 500, true, {stepwiseSizes({10, 100, 0, 10, 100, 0})}), IsSize(10, 100));
}

TEST(ASizeChoice, SetsARangeInPlaceOfAnyDiscreteSizeBeforeIt) {
    EXPECT_THAT(sizeFor(640, 480, true,
                        {discreteSize(640, 480), continuousSizes({160, 320, 0, 120, 240, 0})}),
                IsSize(320, 240));
    EXPECT_THAT(sizeFor(640, 480, true,
                        {discreteSize(640, 480), stepwiseSizes({160, 1920, 16, 120, 1080, 8})}),
                IsSize(0, 0));
}

TEST(ASizeChoice, MeasuresADiscreteSizeOnlyAgainstDiscreteOnesAlsoBehindARange) {
    const auto range = continuousSizes({160, 1920, 0, 120, 1080, 0});
    // Nothing discrete was there before: the farthest one takes the place of the range.
    EXPECT_THAT(sizeFor(640, 480, true, {range, discreteSize(8000, 6000)}), IsSize(8000, 6000));
    // One was, and it was nearer.
    EXPECT_THAT(sizeFor(640, 480, true, {discreteSize(640, 400), range, discreteSize(650, 480)}),
                IsSize(640, 480));
    EXPECT_THAT(sizeFor(640, 480, true, {discreteSize(660, 480), range, discreteSize(650, 480)}),
                IsSize(650, 480));
}

TEST(ASizeChoice, TakesTheLastOfTwoRanges) {
    EXPECT_THAT(sizeFor(640, 480, true,
                        {continuousSizes({160, 1920, 0, 120, 1080, 0}),
                         continuousSizes({160, 320, 0, 120, 240, 0})}),
                IsSize(320, 240));
}

TEST(ADistanceBetweenRates, IsTheDifferenceInLowestTerms) {
    EXPECT_THAT(distanceBetween({30, 1}, {15, 1}), IsRate(15, 1));
    EXPECT_THAT(distanceBetween({15, 1}, {30, 1}), IsRate(15, 1));
    EXPECT_THAT(distanceBetween({30, 1}, {60, 2}), IsRate(0, 1));
    EXPECT_THAT(distanceBetween({15, 2}, {5, 1}), IsRate(5, 2));
    EXPECT_THAT(distanceBetween({30, 1}, {30000, 1001}), IsRate(30, 1001));
}

TEST(ADistanceBetweenRates, WrapsAt32Bits) {
    EXPECT_THAT(distanceBetween({65536, 1}, {1, 65536}), IsRate(1, 65536));
}

TEST(ADistanceBetweenRates, IsInfiniteWhereOneOfThemIs) {
    EXPECT_THAT(distanceBetween({30, 1}, {30, 0}), IsRate(1, 0));
    EXPECT_THAT(distanceBetween({1, 0}, {30, 1}), IsRate(1, 0));
}

TEST(ARateChoice, IsZeroWhenNothingIsListed) {
    EXPECT_THAT(rateFor({30, 1}, {}), IsRate(0, 1));
}

TEST(ARateChoice, TakesTheNearestDiscreteInterval) {
    const auto listed = {discreteInterval(1, 30), discreteInterval(1, 15), discreteInterval(1, 5)};
    EXPECT_THAT(rateFor({20, 1}, listed), IsRate(15, 1));
    EXPECT_THAT(rateFor({30, 1}, listed), IsRate(30, 1));
    EXPECT_THAT(rateFor({1000, 1}, listed), IsRate(30, 1));
    EXPECT_THAT(rateFor({1, 10}, listed), IsRate(5, 1));
    EXPECT_THAT(rateFor({0, 1}, listed), IsRate(5, 1));
}

TEST(ARateChoice, KeepsTheFirstOfTwoThatAreEquallyFar) {
    EXPECT_THAT(rateFor({20, 1}, {discreteInterval(1, 10), discreteInterval(1, 30)}),
                IsRate(10, 1));
    EXPECT_THAT(rateFor({20, 1}, {discreteInterval(1, 30), discreteInterval(1, 10)}),
                IsRate(30, 1));
}

TEST(ARateChoice, LooksNoFurtherOnceTheWishIsMet) {
    EXPECT_THAT(rateFor({30, 1}, {discreteInterval(1, 30), discreteInterval(1, 60)}),
                IsRate(30, 1));
    EXPECT_THAT(rateFor({30, 1}, {discreteInterval(2, 60), discreteInterval(1, 30)}),
                IsRate(60, 2));
}

TEST(ARateChoice, TellsRatesApartThatDifferLittle) {
    const auto listed = {discreteInterval(1, 30), discreteInterval(1001, 30000),
                         discreteInterval(333333, 10000000)};
    EXPECT_THAT(rateFor({30000, 1001}, listed), IsRate(30000, 1001));
    EXPECT_THAT(rateFor({10000000, 333333}, listed), IsRate(10000000, 333333));
}

TEST(ARateChoice, NeverTakesAnIntervalOfNoTime) {
    EXPECT_THAT(rateFor({30, 1}, {discreteInterval(0, 30)}), IsRate(0, 1));
    EXPECT_THAT(rateFor({30, 1}, {discreteInterval(1, 5), discreteInterval(0, 1)}), IsRate(5, 1));
}

TEST(ARateChoice, IgnoresEntriesOfUnknownType) {
    const auto unknown = intervalRange(unknownType, {{1, 60}, {1, 5}, {1, 60}});
    EXPECT_THAT(rateFor({30, 1}, {unknown}), IsRate(0, 1));
    EXPECT_THAT(rateFor({30, 1}, {discreteInterval(1, 15), unknown}), IsRate(15, 1));
}

TEST(ARateChoice, TakesTheHighestRateOfAContinuousRangeThatHoldsTheWish) {
    const auto range = continuousIntervals({{1, 60}, {1, 5}, {1, 1}});
    EXPECT_THAT(rateFor({20, 1}, {range}), IsRate(60, 1));
    EXPECT_THAT(rateFor({60, 1}, {range}), IsRate(60, 1));
    EXPECT_THAT(rateFor({5, 1}, {range}), IsRate(60, 1));
    EXPECT_THAT(rateFor({10, 2}, {range}), IsRate(60, 1));
}

TEST(ARateChoice, SkipsARangeThatDoesNotHoldTheWish) {
    for (const auto& range : {continuousIntervals({{1, 60}, {1, 5}, {1, 1}}),
                              stepwiseIntervals({{1, 60}, {1, 5}, {1, 60}})}) {
        EXPECT_THAT(rateFor({61, 1}, {range}), IsRate(0, 1));
        EXPECT_THAT(rateFor({4, 1}, {range}), IsRate(0, 1));
        EXPECT_THAT(rateFor({499, 100}, {range}), IsRate(0, 1));
        EXPECT_THAT(rateFor({0, 1}, {range}), IsRate(0, 1));
        EXPECT_THAT(rateFor({100, 1}, {discreteInterval(1, 90), range}), IsRate(90, 1));
    }
}

TEST(ARateChoice, ComparesTheBoundsOfARangeExactly) {
    const auto range = continuousIntervals({{333333, 10000000}, {666666, 10000000}, {1, 1}});
    EXPECT_THAT(rateFor({10000000, 333333}, {range}), IsRate(10000000, 333333));
    EXPECT_THAT(rateFor({30000030, 1000000}, {range}), IsRate(10000000, 333333));
    EXPECT_THAT(rateFor({30000031, 1000000}, {range}), IsRate(0, 1));
    EXPECT_THAT(rateFor({15000016, 1000000}, {range}), IsRate(10000000, 333333));
    EXPECT_THAT(rateFor({15000014, 1000000}, {range}), IsRate(0, 1));
}

TEST(ARateChoice, TakesTheStepOfARangeWhenTheWishLiesWholeStepsFromItsShortestInterval) {
    const auto range = stepwiseIntervals({{1, 60}, {1, 5}, {1, 120}});
    EXPECT_THAT(rateFor({60, 1}, {range}), IsRate(120, 1));
    EXPECT_THAT(rateFor({40, 1}, {range}), IsRate(120, 1));
    EXPECT_THAT(rateFor({30, 1}, {range}), IsRate(120, 1));
    EXPECT_THAT(rateFor({5, 1}, {range}), IsRate(120, 1));
}

TEST(ARateChoice, IsZeroWhenTheWishLiesBetweenTheStepsOfARange) {
    const auto range = stepwiseIntervals({{1, 60}, {1, 5}, {1, 60}});
    EXPECT_THAT(rateFor({25, 1}, {range}), IsRate(0, 1));
    EXPECT_THAT(rateFor({40, 1}, {range}), IsRate(0, 1));
    EXPECT_THAT(rateFor({25, 1}, {discreteInterval(1, 25), range}), IsRate(0, 1));
}

TEST(ARateChoice, CountsStepsWhateverTermsTheyAreWrittenIn) {
    EXPECT_THAT(rateFor({30, 1}, {stepwiseIntervals({{2, 120}, {10, 50}, {2, 240}})}),
                IsRate(240, 2));
    EXPECT_THAT(rateFor({60, 2}, {stepwiseIntervals({{1, 60}, {1, 5}, {4, 240}})}), IsRate(240, 4));
    EXPECT_THAT(rateFor({40, 1}, {stepwiseIntervals({{1, 60}, {1, 5}, {4, 240}})}), IsRate(0, 1));
    EXPECT_THAT(rateFor({60, 9}, {stepwiseIntervals({{1, 60}, {1, 5}, {2, 15}})}), IsRate(15, 2));
    EXPECT_THAT(rateFor({12, 1}, {stepwiseIntervals({{1, 60}, {1, 5}, {2, 15}})}), IsRate(0, 1));
}

TEST(ARateChoice, CountsStepsExactlyAtAnyLength) {
    const auto ticks = stepwiseIntervals({{333333, 10000000}, {10000000, 10000000}, {1, 10000000}});
    EXPECT_THAT(rateFor({10000000, 333334}, {ticks}), IsRate(10000000, 1));
    EXPECT_THAT(rateFor({10000000, 9999999}, {ticks}), IsRate(10000000, 1));
    EXPECT_THAT(rateFor({20000000, 666667}, {ticks}), IsRate(0, 1));
    const auto finest = stepwiseIntervals({{1, largest}, {1, 1}, {1, largest}});
    EXPECT_THAT(rateFor({1, 1}, {finest}), IsRate(largest, 1));
    EXPECT_THAT(rateFor({largest, largest - 1}, {finest}), IsRate(largest, 1));
    EXPECT_THAT(rateFor({largest - 1, largest - 2}, {finest}), IsRate(0, 1));
}

TEST(ARateChoice, SurvivesRangesOfZeros) {
    EXPECT_THAT(rateFor({60, 1}, {stepwiseIntervals({{1, 60}, {1, 5}, {0, 1}})}), IsRate(1, 0));
    EXPECT_THAT(rateFor({30, 1}, {stepwiseIntervals({{1, 60}, {1, 5}, {0, 1}})}), IsRate(0, 1));
    EXPECT_THAT(rateFor({30, 1}, {stepwiseIntervals({{1, 60}, {1, 5}, {1, 0}})}), IsRate(0, 1));
    EXPECT_THAT(rateFor({0, 1}, {stepwiseIntervals({{1, 60}, {1, 0}, {1, 60}})}), IsRate(0, 1));
    EXPECT_THAT(rateFor({0, 1}, {continuousIntervals({{1, 60}, {1, 0}, {1, 60}})}), IsRate(0, 1));
    EXPECT_THAT(rateFor({30, 1}, {continuousIntervals({{0, 0}, {0, 0}, {0, 0}})}), IsRate(0, 0));
    EXPECT_THAT(rateFor({30, 1}, {continuousIntervals({{1, 0}, {1, 5}, {1, 1}})}), IsRate(0, 1));
}

TEST(ARateChoice, SetsARangeInPlaceOfAnyDiscreteIntervalBeforeIt) {
    const auto range = continuousIntervals({{1, 60}, {1, 5}, {1, 1}});
    EXPECT_THAT(rateFor({20, 1}, {discreteInterval(1, 20), range}), IsRate(60, 1));
    EXPECT_THAT(rateFor({20, 1}, {range, discreteInterval(1, 10)}), IsRate(10, 1));
    EXPECT_THAT(rateFor({20, 1}, {discreteInterval(1, 21), range, discreteInterval(1, 10)}),
                IsRate(60, 1));
}

}  // namespace
}  // namespace Nerio::Lumiq
