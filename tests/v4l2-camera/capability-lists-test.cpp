// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How listed sizes and intervals become lists of capabilities and ranges.

#include <gmock/gmock.h>

#include <limits>
#include <vector>

#include "capability-selection.h"
#include "listed-entries.h"

namespace Nerio::Lumiq {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::AreSizes;
using TestSupport::continuousIntervals;
using TestSupport::continuousSizes;
using TestSupport::discreteInterval;
using TestSupport::discreteSize;
using TestSupport::intervalRange;
using TestSupport::IsCapability;
using TestSupport::IsRate;
using TestSupport::IsSize;
using TestSupport::sizeRange;
using TestSupport::stepwiseIntervals;
using TestSupport::stepwiseSizes;
using TestSupport::unknownType;

constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();

std::vector<CameraCapability> capabilitiesOf(std::initializer_list<v4l2_frmsizeenum> listed) {
    std::vector<CameraCapability> capabilities;
    for (const v4l2_frmsizeenum& entry : listed) {
        appendCapabilities(entry, capabilities);
    }
    return capabilities;
}

CameraCapabilityRanges rangesOf(std::initializer_list<v4l2_frmsizeenum> listed) {
    CameraCapabilityRanges ranges;
    for (const v4l2_frmsizeenum& entry : listed) {
        widenBySize(ranges, entry);
    }
    return ranges;
}

CameraCapabilityRanges ratesOf(std::initializer_list<v4l2_frmivalenum> listed) {
    CameraCapabilityRanges ranges;
    for (const v4l2_frmivalenum& entry : listed) {
        widenByInterval(ranges, entry);
    }
    return ranges;
}

TEST(TheCapabilities, AreTheDiscreteSizesAtThirtyFramesPerSecond) {
    EXPECT_THAT(capabilitiesOf({discreteSize(1280, 720), discreteSize(640, 480)}),
                ElementsAre(IsCapability(1280, 720, 30), IsCapability(640, 480, 30)));
}

// A stepped size walks the width by the height's step, and only as far as the heights go.
TEST(TheCapabilities, OfASteppedSizeMixWidthsAndHeights) {
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({320, 640, 160, 240, 480, 120})}),
                ElementsAre(IsCapability(320, 240, 30), IsCapability(440, 240, 30)));
}

TEST(TheCapabilities, OfASteppedSizeGoOnBehindTheWidthStep) {
    // 100, 200 and 300 by the height's step; then 400 is above every height, and so is all that
    // follows.
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({100, 2000, 50, 30, 300, 100})}),
                ElementsAre(IsCapability(100, 30, 30), IsCapability(200, 30, 30),
                            IsCapability(300, 30, 30)));
}

TEST(TheCapabilities, OfASteppedSizeAreNoneWhenEveryWidthIsAboveEveryHeight) {
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({320, 640, 16, 120, 240, 8})}), IsEmpty());
}

TEST(TheCapabilities, OfASteppedSizeReachBeyondTheWidthsWhenTheHeightsDo) {
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({320, 400, 160, 240, 700, 120})}),
                ElementsAre(IsCapability(320, 240, 30), IsCapability(440, 240, 30),
                            IsCapability(560, 240, 30), IsCapability(680, 240, 30)));
}

TEST(TheCapabilities, OfASteppedSizeWithoutStepsAreItsLeast) {
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({2, 4, 0, 3, 4, 0})}),
                ElementsAre(IsCapability(2, 3, 30)));
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({2, 9, 4, 3, 4, 0})}),
                ElementsAre(IsCapability(2, 3, 30)));
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({0, 0, 0, 0, 0, 0})}),
                ElementsAre(IsCapability(0, 0, 30)));
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({5, 9, 0, 3, 4, 0})}), IsEmpty());
}

TEST(TheCapabilities, EndAlsoAtTheLargestNumbers) {
    EXPECT_THAT(capabilitiesOf({stepwiseSizes({largest - 2, largest, 1, 1, largest, 1})}),
                SizeIs(3));
    EXPECT_THAT(
        capabilitiesOf({stepwiseSizes({largest - 2, largest, largest, 1, largest, largest})}),
        SizeIs(1));
}

TEST(TheCapabilities, OfOtherSizesAreNone) {
    EXPECT_THAT(capabilitiesOf({continuousSizes({160, 320, 1, 120, 480, 1}),
                                sizeRange(unknownType, {160, 320, 1, 120, 480, 1})}),
                IsEmpty());
}

TEST(TheCapabilities, KeepTheDriversOrderAcrossTypes) {
    EXPECT_THAT(capabilitiesOf({discreteSize(800, 600), stepwiseSizes({100, 100, 1, 50, 100, 1}),
                                discreteSize(640, 480)}),
                ElementsAre(IsCapability(800, 600, 30), IsCapability(100, 50, 30),
                            IsCapability(640, 480, 30)));
}

TEST(TheRanges, OfDiscreteSizesAreTheirBoundsWithoutSteps) {
    EXPECT_THAT(rangesOf({discreteSize(640, 480), discreteSize(1280, 240), discreteSize(320, 720)}),
                AreSizes(320, 1280, 0, 240, 720, 0));
}

TEST(TheRanges, OfASteppedSizeTakeItsSteps) {
    EXPECT_THAT(rangesOf({stepwiseSizes({160, 1920, 16, 120, 1080, 8})}),
                AreSizes(160, 1920, 16, 120, 1080, 8));
}

TEST(TheRanges, OfAContinuousSizeHaveStepsOfOne) {
    EXPECT_THAT(rangesOf({continuousSizes({160, 1920, 77, 120, 1080, 78})}),
                AreSizes(160, 1920, 1, 120, 1080, 1));
}

TEST(TheRanges, TakeTheStepsOfTheLastRange) {
    EXPECT_THAT(rangesOf({stepwiseSizes({160, 320, 16, 120, 240, 8}),
                          continuousSizes({320, 640, 0, 240, 480, 0})}),
                AreSizes(160, 640, 1, 120, 480, 1));
    EXPECT_THAT(rangesOf({continuousSizes({320, 640, 0, 240, 480, 0}),
                          stepwiseSizes({160, 320, 16, 120, 240, 8}), discreteSize(100, 900)}),
                AreSizes(100, 640, 16, 120, 900, 8));
}

TEST(TheRanges, TakeABoundOfZeroForNoneFoundYet) {
    EXPECT_THAT(rangesOf({discreteSize(0, 0), discreteSize(640, 480)}),
                AreSizes(640, 640, 0, 480, 480, 0));
    EXPECT_THAT(rangesOf({discreteSize(640, 480), discreteSize(0, 0)}),
                AreSizes(0, 640, 0, 0, 480, 0));
}

TEST(TheRanges, IgnoreSizesOfUnknownType) {
    EXPECT_TRUE(isEmpty(rangesOf({sizeRange(unknownType, {160, 1920, 16, 120, 1080, 8})})));
}

TEST(TheRanges, OfIntervalsTellTheHighestRateOnly) {
    const auto ranges = ratesOf({discreteInterval(1, 15), discreteInterval(1, 30)});
    EXPECT_THAT(ranges.maxFps, IsRate(30, 1));
    EXPECT_THAT(ranges.minFps, IsRate(0, 1));
    EXPECT_THAT(ranges.fpsStep, IsRate(0, 1));
    EXPECT_THAT(ratesOf({discreteInterval(1, 30), discreteInterval(1, 15)}).maxFps, IsRate(30, 1));
}

TEST(TheRanges, KeepTheFirstOfEqualRatesInItsTerms) {
    EXPECT_THAT(ratesOf({discreteInterval(2, 60), discreteInterval(1, 30)}).maxFps, IsRate(60, 2));
}

TEST(TheRanges, OfAnIntervalRangeTakeTheRateOfItsLongestInterval) {
    for (const auto& range : {stepwiseIntervals({{1, 60}, {1, 5}, {1, 60}}),
                              continuousIntervals({{1, 60}, {1, 5}, {1, 1}})}) {
        const auto ranges = ratesOf({range});
        EXPECT_THAT(ranges.maxFps, IsRate(5, 1));
        EXPECT_THAT(ranges.minFps, IsRate(0, 1));
        EXPECT_THAT(ranges.fpsStep, IsRate(0, 1));
        EXPECT_THAT(ratesOf({discreteInterval(1, 4), range}).maxFps, IsRate(5, 1));
        EXPECT_THAT(ratesOf({discreteInterval(1, 6), range}).maxFps, IsRate(6, 1));
    }
}

TEST(TheRanges, IgnoreIntervalsOfUnknownType) {
    EXPECT_TRUE(isEmpty(ratesOf({intervalRange(unknownType, {{1, 60}, {1, 5}, {1, 60}})})));
}

TEST(TheRanges, AreEmptyUntilAnyBoundIsFound) {
    EXPECT_TRUE(isEmpty({}));
    CameraCapabilityRanges stepsOnly;
    stepsOnly.widthStep = stepsOnly.heightStep = 1;
    stepsOnly.fpsStep = {1, 1};
    EXPECT_TRUE(isEmpty(stepsOnly));
    for (std::uint32_t CameraCapabilityRanges::*field :
         {&CameraCapabilityRanges::minWidth, &CameraCapabilityRanges::maxWidth,
          &CameraCapabilityRanges::minHeight, &CameraCapabilityRanges::maxHeight}) {
        CameraCapabilityRanges one;
        one.*field = 1;
        EXPECT_FALSE(isEmpty(one));
    }
    for (FrameRate CameraCapabilityRanges::*field :
         {&CameraCapabilityRanges::minFps, &CameraCapabilityRanges::maxFps}) {
        CameraCapabilityRanges one;
        one.*field = {1, 1};
        EXPECT_FALSE(isEmpty(one));
    }
}

TEST(TheBoundsOfASize, AreItselfOrTheEndsOfItsRange) {
    EXPECT_THAT(boundsOf(discreteSize(640, 480)), ElementsAre(IsSize(640, 480)));
    for (const auto& range : {stepwiseSizes({160, 1920, 16, 120, 1080, 8}),
                              continuousSizes({160, 1920, 0, 120, 1080, 0})}) {
        EXPECT_THAT(boundsOf(range), ElementsAre(IsSize(160, 120), IsSize(1920, 1080)));
    }
    EXPECT_THAT(boundsOf(sizeRange(unknownType, {160, 1920, 16, 120, 1080, 8})), IsEmpty());
}

}  // namespace
}  // namespace Nerio::Lumiq
