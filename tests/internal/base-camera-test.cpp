// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The generic half of a camera, asked through the interface as a host does. One thread.

#include "lumiq/internal/base-camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "scripted-camera.h"

namespace Nerio::Lumiq::Internal {
namespace {

using testing::AllOf;
using testing::DoAll;
using testing::Field;
using testing::IsEmpty;
using testing::Matcher;
using testing::Return;
using testing::SetArgReferee;
using testing::StrictMock;
using testing::Throw;

constexpr std::uint64_t converted = 2;
constexpr std::uint32_t highest = 4294967295U;
using Rate = Fraction<unsigned int>;
using Capabilities = std::vector<CameraCapability>;

class ABaseCamera : public testing::Test {
protected:
    void offerFormats(const std::vector<PixelFormatDescription>& formats) {
        EXPECT_CALL(scripted, getSupportedFormats).WillRepeatedly(Return(formats));
    }

    // The vector is empty when the camera gets to fill it.
    void offerCapabilities(const Capabilities& capabilities) {
        EXPECT_CALL(scripted, queryCapabilities(IsEmpty()))
            .WillRepeatedly(DoAll(SetArgReferee<0>(capabilities), Return(true)));
    }

    static void expectClosest(const CameraCapabilityEx& result, const CameraCapability& expected) {
        EXPECT_EQ(result.width, expected.width);
        EXPECT_EQ(result.height, expected.height);
        EXPECT_EQ(result.fps.numerator, expected.fps);
        EXPECT_EQ(result.fps.denominator, 1U);
    }

    // The closest to the wish, of the capabilities offered.
    CameraCapabilityEx closest(const CameraCapabilityEx& wish, CameraCapabilityPriority priority) {
        CameraCapabilityEx result;
        EXPECT_TRUE(camera.findClosestCapability(PixelFormat::YUYV, wish, result, priority));
        return result;
    }

    StrictMock<ScriptedCamera> scripted;
    Camera& camera = scripted;
};

TEST_F(ABaseCamera, ListsTheFormatsInOrderWithNothingRemovedOrMerged) {
    offerFormats({{PixelFormat::YUYV, 0},
                  {PixelFormat::YUV420Planar, converted},
                  {PixelFormat::Raw, 0},
                  {PixelFormat::YUYV, converted}});
    EXPECT_EQ(camera.getSupportedPixelFormats(),
              (std::vector{PixelFormat::YUYV, PixelFormat::YUV420Planar, PixelFormat::Raw,
                           PixelFormat::YUYV}));
}

TEST_F(ABaseCamera, ListsNoFormatsWhenThereAreNone) {
    offerFormats({});
    EXPECT_TRUE(camera.getSupportedPixelFormats().empty());
    EXPECT_FALSE(camera.isFormatSupported(PixelFormat::YUYV));
    EXPECT_FALSE(camera.isFormatSupported(PixelFormatDescription{PixelFormat::Invalid, 0}));
}

TEST_F(ABaseCamera, KnowsAFormatWhateverItsFlagsButADescriptionOnlyWithThem) {
    offerFormats({{PixelFormat::YUYV, 0}, {PixelFormat::YUV420Planar, converted}});
    EXPECT_TRUE(camera.isFormatSupported(PixelFormat::YUV420Planar));
    EXPECT_FALSE(camera.isFormatSupported(PixelFormatDescription{PixelFormat::YUV420Planar, 0}));
    EXPECT_TRUE(
        camera.isFormatSupported(PixelFormatDescription{PixelFormat::YUV420Planar, converted}));
    EXPECT_FALSE(camera.isFormatSupported(PixelFormatDescription{PixelFormat::YUYV, 1}));
    EXPECT_FALSE(camera.isFormatSupported(
        PixelFormatDescription{PixelFormat::YUV420Planar, converted | (std::uint64_t{1} << 63U)}));
    EXPECT_FALSE(camera.isFormatSupported(PixelFormat::UYVY));
}

class TheRangesOfABaseCamera : public ABaseCamera {
protected:
    void SetUp() override {
        offerFormats({{PixelFormat::YUYV, 0}, {PixelFormat::YUV420Planar, converted}});
        ranges.widthStep = 4711;
    }

    void expectFailure(PixelFormat format) {
        EXPECT_FALSE(camera.queryCapabilityRanges(format, ranges));
        EXPECT_EQ(ranges.widthStep, 4711U) << "the output changed";
        EXPECT_EQ(ranges.maxWidth, 0U) << "the output changed";
    }

    void expectRates(std::uint32_t lowest, std::uint32_t highestRate) const {
        EXPECT_EQ(ranges.minFps.numerator, lowest);
        EXPECT_EQ(ranges.maxFps.numerator, highestRate);
        EXPECT_EQ(ranges.fpsStep.numerator, 0U);
        for (const Rate& rate : {ranges.minFps, ranges.maxFps, ranges.fpsStep}) {
            EXPECT_EQ(rate.denominator, 1U);
        }
    }

    CameraCapabilityRanges ranges;
};

TEST_F(TheRangesOfABaseCamera, AreTheBoundsOfAllCapabilitiesWithoutSteps) {
    offerCapabilities({{640, 480, 30}, {1280, 360, 15}, {320, 720, 60}});
    ASSERT_TRUE(camera.queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_EQ(ranges.minWidth, 320U);
    EXPECT_EQ(ranges.maxWidth, 1280U);
    EXPECT_EQ(ranges.widthStep, 0U);
    EXPECT_EQ(ranges.minHeight, 360U);
    EXPECT_EQ(ranges.maxHeight, 720U);
    EXPECT_EQ(ranges.heightStep, 0U);
    expectRates(15, 60);
}

TEST_F(TheRangesOfABaseCamera, AreTheSameForEveryFormatTheCameraHasWhateverItsFlags) {
    offerCapabilities({{640, 480, 30}});
    ASSERT_TRUE(camera.queryCapabilityRanges(PixelFormat::YUV420Planar, ranges));
    EXPECT_EQ(ranges.minWidth, 640U);
    EXPECT_EQ(ranges.maxWidth, 640U);
    expectRates(30, 30);
}

TEST_F(TheRangesOfABaseCamera, TakeAZeroForNothingSeenYet) {
    offerCapabilities({{0, 480, 0}, {640, 0, 30}, {1280, 720, 0}, {800, 600, 10}});
    ASSERT_TRUE(camera.queryCapabilityRanges(PixelFormat::YUYV, ranges));
    // The first value after a zero becomes the minimum, and a zero is smaller than any.
    EXPECT_EQ(ranges.minWidth, 640U);
    EXPECT_EQ(ranges.maxWidth, 1280U);
    EXPECT_EQ(ranges.minHeight, 600U);
    EXPECT_EQ(ranges.maxHeight, 720U);
    expectRates(10, 30);
}

TEST_F(TheRangesOfABaseCamera, TakeNumbersForUnsigned) {
    offerCapabilities({{highest, 1, 1}, {1, highest, highest}});
    ASSERT_TRUE(camera.queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_EQ(ranges.minWidth, 1U);
    EXPECT_EQ(ranges.maxWidth, highest);
    EXPECT_EQ(ranges.minHeight, 1U);
    EXPECT_EQ(ranges.maxHeight, highest);
    expectRates(1, highest);
}

TEST_F(TheRangesOfABaseCamera, AreNotThereForAFormatTheCameraDoesNotHave) {
    // The capabilities are not even asked for.
    EXPECT_CALL(scripted, queryCapabilities).Times(0);
    expectFailure(PixelFormat::MJPG);
}

TEST_F(TheRangesOfABaseCamera, AreNotThereWithoutCapabilities) {
    offerCapabilities({});
    expectFailure(PixelFormat::YUYV);
}

TEST_F(TheRangesOfABaseCamera, AreNotThereWhenTheCapabilitiesFailEvenIfSomeWereFilledIn) {
    EXPECT_CALL(scripted, queryCapabilities)
        .WillOnce(DoAll(SetArgReferee<0>(Capabilities{{640, 480, 30}}), Return(false)));
    expectFailure(PixelFormat::YUYV);
}

using Priority = CameraCapabilityPriority;

class TheClosestCapability : public ABaseCamera {
protected:
    const Capabilities usual = {{640, 480, 30}, {1280, 720, 30}, {1280, 720, 15}};
};

TEST_F(TheClosestCapability, KeepsTheSizeAndThenTheNearestRateWithSizeWidth) {
    offerCapabilities(usual);
    expectClosest(closest({1280, 720, {20, 1}}, Priority::SizeWidth), {1280, 720, 15});
}

TEST_F(TheClosestCapability, KeepsTheRateAndThenTheNearestWidthWithFpsWidth) {
    offerCapabilities(usual);
    expectClosest(closest({1000, 700, {30, 1}}, Priority::FpsWidth), {1280, 720, 30});
}

// For each order of the three filters exactly one of these is chosen.
TEST_F(TheClosestCapability, NarrowsInTheOrderOfThePriority) {
    offerCapabilities({{100, 900, 90},
                       {100, 300, 90},
                       {900, 100, 90},
                       {300, 100, 90},
                       {900, 300, 10},
                       {300, 900, 10}});
    const CameraCapabilityEx wish(100, 100, {10, 1});
    expectClosest(closest(wish, Priority::SizeWidth), {100, 300, 90});
    expectClosest(closest(wish, Priority::SizeHeight), {300, 100, 90});
    expectClosest(closest(wish, Priority::FpsWidth), {300, 900, 10});
    expectClosest(closest(wish, Priority::FpsHeight), {900, 300, 10});
}

TEST_F(TheClosestCapability, HasTheRateDecideLastWithASizePriority) {
    offerCapabilities({{100, 100, 90}, {100, 100, 11}, {100, 100, 30}});
    const CameraCapabilityEx wish(100, 100, {10, 1});
    expectClosest(closest(wish, Priority::SizeWidth), {100, 100, 11});
    expectClosest(closest(wish, Priority::SizeHeight), {100, 100, 11});
}

TEST_F(TheClosestCapability, HasTheOtherDimensionDecideLastWithARatePriority) {
    offerCapabilities({{100, 500, 10}, {100, 200, 10}, {500, 200, 10}});
    const CameraCapabilityEx wish(100, 200, {10, 1});
    expectClosest(closest(wish, Priority::FpsWidth), {100, 200, 10});
    expectClosest(closest(wish, Priority::FpsHeight), {100, 200, 10});
}

TEST_F(TheClosestCapability, IsTheFirstListedWhenNothingSeparatesTwo) {
    // 960 lies in the middle; the later filters see no difference.
    offerCapabilities({{1280, 480, 30}, {640, 480, 30}});
    expectClosest(closest({960, 480, {30, 1}}, Priority::SizeWidth), {1280, 480, 30});
    offerCapabilities({{640, 480, 30}, {1280, 480, 30}});
    expectClosest(closest({960, 480, {30, 1}}, Priority::SizeWidth), {640, 480, 30});
}

TEST_F(TheClosestCapability, IsChosenByTheLaterFiltersWhenTheFirstSeesATie) {
    offerCapabilities({{640, 480, 30}, {1280, 720, 30}});
    expectClosest(closest({960, 720, {30, 1}}, Priority::SizeWidth), {1280, 720, 30});
}

TEST_F(TheClosestCapability, IsTheFirstOfAllWithAnUnknownPriority) {
    offerCapabilities({{1, 2, 3}, {1280, 720, 30}});
    for (const std::uint32_t priority : {4U, 7U, highest}) {
        expectClosest(closest({1280, 720, {30, 1}}, static_cast<Priority>(priority)), {1, 2, 3});
    }
}

TEST_F(TheClosestCapability, TakesARateThatIsNotSetForZero) {
    offerCapabilities({{640, 480, 30}, {640, 480, 1}, {640, 480, 60}});
    expectClosest(closest({640, 480, {0, 1}}, Priority::FpsWidth), {640, 480, 1});
    expectClosest(closest({640, 480, {0, 0}}, Priority::FpsWidth), {640, 480, 1});
}

TEST_F(TheClosestCapability, TakesARateOverZeroForTheHighestNumber) {
    // From 4294967295, across the end of the range, 5 is 6 away and 4294967285 is 10 away.
    offerCapabilities({{640, 480, 4294967285U}, {640, 480, 5}});
    expectClosest(closest({640, 480, {1, 0}}, Priority::FpsWidth), {640, 480, 5});
    offerCapabilities({{640, 480, 4294967285U}, {640, 480, highest}});
    expectClosest(closest({640, 480, {7, 0}}, Priority::FpsWidth), {640, 480, highest});
}

TEST_F(TheClosestCapability, MeasuresDistancesAsSigned32BitNumbers) {
    // 3000000000 away counts as 1294967296 away: less than 2000000000.
    offerCapabilities({{2000000000U, 1, 1}, {3000000000U, 1, 1}});
    expectClosest(closest({0, 1, {1, 1}}, Priority::SizeWidth), {3000000000U, 1, 1});
    // The same the other way round, and 2147483647 is farther than both.
    offerCapabilities({{2147483647U, 1, 1}, {2000000000U, 1, 1}, {3000000000U, 1, 1}});
    expectClosest(closest({0, 1, {1, 1}}, Priority::SizeHeight), {3000000000U, 1, 1});
}

TEST_F(TheClosestCapability, IgnoresTheFormat) {
    // No list of formats is asked for: the strict camera would say so.
    offerCapabilities(usual);
    CameraCapabilityEx result;
    EXPECT_TRUE(camera.findClosestCapability(PixelFormat::Invalid, {640, 480, {30, 1}}, result,
                                             Priority::SizeWidth));
    expectClosest(result, {640, 480, 30});
}

TEST_F(TheClosestCapability, CanBeWrittenOverTheWish) {
    offerCapabilities(usual);
    CameraCapabilityEx both(1280, 720, {20, 1});
    EXPECT_TRUE(camera.findClosestCapability(PixelFormat::YUYV, both, both, Priority::SizeWidth));
    expectClosest(both, {1280, 720, 15});
}

TEST_F(TheClosestCapability, IsNotThereWithoutCapabilitiesAndTheOutputStays) {
    EXPECT_CALL(scripted, queryCapabilities)
        .WillOnce(Return(true))
        .WillOnce(DoAll(SetArgReferee<0>(usual), Return(false)));
    for (int attempt = 0; attempt < 2; ++attempt) {
        CameraCapabilityEx result(1, 2, {3, 4});
        EXPECT_FALSE(camera.findClosestCapability(PixelFormat::YUYV, {640, 480, {30, 1}}, result,
                                                  Priority::SizeWidth));
        EXPECT_EQ(result.width, 1U);
        EXPECT_EQ(result.height, 2U);
        EXPECT_EQ(result.fps.numerator, 3U);
        EXPECT_EQ(result.fps.denominator, 4U);
    }
}

struct Rounding {
    Rate rate;
    std::uint32_t wholeFrames;
};

class AnExtendedStart : public ABaseCamera, public testing::WithParamInterface<Rounding> {};

TEST_P(AnExtendedStart, RoundsTheRateToWholeFramesHalvesUpwards) {
    const auto& [rate, wholeFrames] = GetParam();
    const Matcher<const CameraCapability&> plain =
        AllOf(Field(&CameraCapability::width, 640), Field(&CameraCapability::height, 480),
              Field(&CameraCapability::fps, wholeFrames));
    for (const bool result : {true, false}) {
        EXPECT_CALL(scripted, startCapture(plain, PixelFormat::MJPG)).WillOnce(Return(result));
        EXPECT_EQ(camera.startCapture(CameraCapabilityEx(640, 480, rate), PixelFormat::MJPG),
                  result);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rates, AnExtendedStart,
    testing::Values(Rounding{{30, 1}, 30}, Rounding{{59, 2}, 30}, Rounding{{15, 2}, 8},
                    Rounding{{1, 2}, 1}, Rounding{{1, 3}, 0}, Rounding{{2, 3}, 1},
                    Rounding{{29, 2}, 15}, Rounding{{30000, 1001}, 30}, Rounding{{60, 4}, 15},
                    Rounding{{118, 4}, 30}, Rounding{{74, 5}, 15}, Rounding{{72, 5}, 14},
                    Rounding{{0, 1}, 0}, Rounding{{0, 0}, 0}, Rounding{{0, 5}, 0},
                    Rounding{{1, 0}, highest}, Rounding{{highest, 0}, highest},
                    Rounding{{highest, 1}, highest}, Rounding{{highest, highest}, 1},
                    Rounding{{highest, 2}, 2147483648U}, Rounding{{1, highest}, 0},
                    Rounding{{2147483649U, 1}, 2147483649U}));

TEST_F(ABaseCamera, LetsExceptionsOfTheCameraThrough) {
    EXPECT_CALL(scripted, getSupportedFormats).WillRepeatedly(Throw(std::runtime_error("formats")));
    EXPECT_CALL(scripted, queryCapabilities)
        .WillRepeatedly(Throw(std::runtime_error("capabilities")));
    CameraCapabilityRanges ranges;
    CameraCapabilityEx result;
    EXPECT_THROW((void)camera.getSupportedPixelFormats(), std::runtime_error);
    EXPECT_THROW((void)camera.isFormatSupported(PixelFormat::YUYV), std::runtime_error);
    EXPECT_THROW(camera.queryCapabilityRanges(PixelFormat::YUYV, ranges), std::runtime_error);
    EXPECT_THROW(camera.findClosestCapability(PixelFormat::YUYV, {}, result, Priority::SizeWidth),
                 std::runtime_error);
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
