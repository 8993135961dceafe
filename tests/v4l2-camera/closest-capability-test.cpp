// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The operating point that a camera finds for a wish, and what it is asked on the way.

#include <gmock/gmock.h>

#include "camera-fixture.h"
#include "listed-entries.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::PixelFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::CameraFixture;
using TestSupport::IsPoint;
using TestSupport::requestsOf;

constexpr auto sizeWidth = CameraCapabilityPriority::SizeWidth;
constexpr auto sizeHeight = CameraCapabilityPriority::SizeHeight;
constexpr auto fpsWidth = CameraCapabilityPriority::FpsWidth;
constexpr auto fpsHeight = CameraCapabilityPriority::FpsHeight;
constexpr auto everyPriority = {sizeWidth, sizeHeight, fpsWidth, fpsHeight};

constexpr CameraCapabilityEx untouched{11, 22, {33, 44}};
auto isUntouched() {
    return IsPoint(11, 22, 33, 44);
}

std::string yuyv(const std::string& sizes, const std::string& intervals = R"(["1/30"])") {
    return R"({"name": "Closest", "formats": [{"fourcc": "YUYV", "sizes": )" + sizes +
           R"(, "intervals": )" + intervals + "}]}";
}

class TheClosestCapability : public CameraFixture {
protected:
    /// What the camera finds; `untouched` when it fails, or an impossible point when it fails and
    /// touched the result.
    static CameraCapabilityEx closest(Camera& camera, const CameraCapabilityEx& wish,
                                      CameraCapabilityPriority priority,
                                      PixelFormat format = PixelFormat::YUYV) {
        CameraCapabilityEx result = untouched;
        const bool found = camera.findClosestCapability(format, wish, result, priority);
        const bool changed = result.width != untouched.width || result.height != untouched.height ||
                             result.fps.numerator != untouched.fps.numerator ||
                             result.fps.denominator != untouched.fps.denominator;
        return found == changed ? result : CameraCapabilityEx(0, 0, {0, 0});
    }

    static std::vector<std::string> requestsFor(Camera& camera, const CameraCapabilityEx& wish,
                                                CameraCapabilityPriority priority,
                                                PixelFormat format = PixelFormat::YUYV) {
        Simulator::startTrace();
        (void)closest(camera, wish, priority, format);
        return requestsOf(Simulator::stopTrace());
    }
};

TEST_F(TheClosestCapability, HasTheNearestWidthAndThenTheNearestHeight) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480", "1280x720", "1920x1080"])"));
    EXPECT_THAT(closest(*camera, {1280, 800, {30, 1}}, sizeWidth), IsPoint(1280, 720, 30, 1));
    EXPECT_THAT(closest(*camera, {1600, 500, {30, 1}}, sizeWidth), IsPoint(1280, 720, 30, 1));
    EXPECT_THAT(closest(*camera, {1600, 500, {30, 1}}, sizeHeight), IsPoint(640, 480, 30, 1));
    EXPECT_THAT(closest(*camera, {9999, 9999, {30, 1}}, sizeHeight), IsPoint(1920, 1080, 30, 1));
}

TEST_F(TheClosestCapability, IsTheFirstListedWhenAllDistancesTie) {
    const auto camera = plugAndOpen(yuyv(R"(["800x600", "600x800"])"));
    EXPECT_THAT(closest(*camera, {700, 700, {30, 1}}, sizeWidth), IsPoint(800, 600, 30, 1));
    EXPECT_THAT(closest(*camera, {700, 700, {30, 1}}, sizeHeight), IsPoint(800, 600, 30, 1));
}

TEST_F(TheClosestCapability, IsSettledByTheOtherDimensionWhenTheDecidingOneTies) {
    const auto camera = plugAndOpen(yuyv(R"(["800x600", "600x680"])"));
    EXPECT_THAT(closest(*camera, {700, 700, {30, 1}}, sizeWidth), IsPoint(600, 680, 30, 1));
}

TEST_F(TheClosestCapability, HasTheNearestRateOfItsSize) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])", R"(["1/30", "1/15", "1/5"])"));
    EXPECT_THAT(closest(*camera, {640, 480, {20, 1}}, sizeWidth), IsPoint(640, 480, 15, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {0, 1}}, sizeWidth), IsPoint(640, 480, 5, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {1000, 3}}, sizeHeight), IsPoint(640, 480, 30, 1));
}

TEST_F(TheClosestCapability, MeetsARateExactly) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])", R"(["1/30", "1001/30000", "1/60"])"));
    EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, sizeWidth), IsPoint(640, 480, 30, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {30000, 1001}}, sizeWidth),
                IsPoint(640, 480, 30000, 1001));
}

TEST_F(TheClosestCapability, PutsTheSizeBeforeTheRateOrTheRateBeforeTheSize) {
    const auto camera = plugAndOpen(yuyv(R"([{"size": "640x480", "intervals": ["1/15"]},
                                             {"size": "320x240", "intervals": ["1/30"]}])"));
    const CameraCapabilityEx wish{640, 480, {30, 1}};
    EXPECT_THAT(closest(*camera, wish, sizeWidth), IsPoint(640, 480, 15, 1));
    EXPECT_THAT(closest(*camera, wish, sizeHeight), IsPoint(640, 480, 15, 1));
    EXPECT_THAT(closest(*camera, wish, fpsWidth), IsPoint(320, 240, 30, 1));
    EXPECT_THAT(closest(*camera, wish, fpsHeight), IsPoint(320, 240, 30, 1));
}

TEST_F(TheClosestCapability, HasTheNearestSizeAmongThoseOfTheNearestRate) {
    const auto camera = plugAndOpen(yuyv(R"(["640x300", "500x480"])"));
    EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, fpsWidth), IsPoint(640, 300, 30, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, fpsHeight), IsPoint(500, 480, 30, 1));
}

TEST_F(TheClosestCapability, IsNeverLookedForAboveTheWishWhenTheRateComesFirst) {
    const auto camera = plugAndOpen(yuyv(R"([{"size": "320x240", "intervals": ["1/15"]},
                                             {"size": "640x480", "intervals": ["1/30"]}])"));
    EXPECT_THAT(closest(*camera, {320, 240, {30, 1}}, fpsWidth), IsPoint(320, 240, 15, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, fpsWidth), IsPoint(640, 480, 30, 1));
}

TEST_F(TheClosestCapability, StartsAtTheSmallestSizeForASmallerWish) {
    const auto camera = plugAndOpen(yuyv(R"(["320x240", "640x480"])"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        EXPECT_THAT(closest(*camera, {1, 1, {30, 1}}, priority), IsPoint(320, 240, 30, 1));
        EXPECT_THAT(closest(*camera, {0, 0, {30, 1}}, priority), IsPoint(320, 240, 30, 1));
    }
}

TEST_F(TheClosestCapability, IsTheWishItselfWithinContinuousSizes) {
    const auto camera = plugAndOpen(yuyv(R"({"min": "160x120", "max": "1920x1080"})"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        EXPECT_THAT(closest(*camera, {645, 483, {25, 1}}, priority), IsPoint(645, 483, 30, 1));
        EXPECT_THAT(closest(*camera, {100, 100, {25, 1}}, priority), IsPoint(160, 120, 30, 1));
    }
    EXPECT_THAT(closest(*camera, {5000, 100, {25, 1}}, sizeWidth), IsPoint(1920, 120, 30, 1));
}

TEST_F(TheClosestCapability, IsABoundOfSteppedSizesOrNothing) {
    const auto camera =
        plugAndOpen(yuyv(R"({"min": "160x120", "max": "1920x1080", "step": "16x8"})"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, priority), isUntouched());
        EXPECT_THAT(closest(*camera, {160, 120, {30, 1}}, priority), isUntouched());
        EXPECT_THAT(closest(*camera, {1920, 1080, {30, 1}}, priority), isUntouched());
        EXPECT_THAT(closest(*camera, {1921, 1081, {30, 1}}, priority), IsPoint(1920, 1080, 30, 1));
    }
    EXPECT_THAT(closest(*camera, {159, 119, {30, 1}}, sizeWidth), IsPoint(160, 120, 30, 1));
    // The walk begins at the smallest size, which lies within the range.
    EXPECT_THAT(closest(*camera, {159, 119, {30, 1}}, fpsWidth), isUntouched());
}

TEST_F(TheClosestCapability, HasTheHighestRateOfAContinuousIntervalThatHoldsTheWish) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])", R"({"min": "1/60", "max": "1/5"})"));
    EXPECT_THAT(closest(*camera, {640, 480, {20, 1}}, sizeWidth), IsPoint(640, 480, 60, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {5, 1}}, fpsWidth), IsPoint(640, 480, 60, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {61, 1}}, sizeWidth), isUntouched());
    EXPECT_THAT(closest(*camera, {640, 480, {4, 1}}, fpsWidth), isUntouched());
}

TEST_F(TheClosestCapability, HasTheStepOfAnIntervalRangeThatMeetsTheWish) {
    const auto camera =
        plugAndOpen(yuyv(R"(["640x480"])", R"({"min": "1/60", "max": "1/5", "step": "1/120"})"));
    EXPECT_THAT(closest(*camera, {640, 480, {40, 1}}, sizeWidth), IsPoint(640, 480, 120, 1));
    EXPECT_THAT(closest(*camera, {640, 480, {25, 1}}, sizeWidth), isUntouched());
    EXPECT_THAT(closest(*camera, {640, 480, {61, 1}}, sizeWidth), isUntouched());
}

TEST_F(TheClosestCapability, IsNothingWithoutIntervals) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])", "[]"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, priority), isUntouched());
    }
}

TEST_F(TheClosestCapability, IsNothingInAFormatThatTheCameraLacks) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        for (const PixelFormat format :
             {PixelFormat::Invalid, PixelFormat::YUV420SemiPlanar, PixelFormat::Encoded,
              PixelFormat::Preferred, PixelFormat::MJPG, PixelFormat::Mappable}) {
            EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, priority, format), isUntouched());
        }
    }
}

TEST_F(TheClosestCapability, IsFoundInFormatsThatTheCameraServesWithAnother) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        for (const PixelFormat format :
             {PixelFormat::YUV420Planar, PixelFormat::YCbCrFlexible, PixelFormat::Raw}) {
            EXPECT_THAT(closest(*camera, {600, 400, {30, 1}}, priority, format),
                        IsPoint(640, 480, 30, 1));
        }
    }
}

TEST_F(TheClosestCapability, IsNothingForAnUnknownPriorityAndOnlyFormatsAreAskedFor) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    const auto unknown = static_cast<CameraCapabilityPriority>(4);
    const std::vector<std::string> formatRequests(2, "VIDIOC_ENUM_FMT");
    EXPECT_EQ(requestsFor(*camera, {640, 480, {30, 1}}, unknown), formatRequests);
    EXPECT_THAT(requestsFor(*camera, {640, 480, {30, 1}}, unknown), IsEmpty());
    EXPECT_EQ(requestsFor(*camera, {640, 480, {30, 1}}, unknown, PixelFormat::Raw), formatRequests);
    EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, unknown), isUntouched());
    EXPECT_THAT(
        closest(*camera, {640, 480, {30, 1}}, static_cast<CameraCapabilityPriority>(0xFFFFFFFFU)),
        isUntouched());
}

TEST_F(TheClosestCapability, IsLookedForAmongTheSizesAndThenTheIntervalsOfTheSizeTaken) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480", "320x240"])", R"(["1/30", "1/15"])"));
    (void)closest(*camera, {640, 480, {30, 1}}, sizeWidth);
    EXPECT_THAT(requestsFor(*camera, {640, 480, {30, 1}}, sizeWidth),
                ElementsAre("VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMESIZES",
                            "VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMEINTERVALS",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS"));
    EXPECT_THAT(requestsFor(*camera, {640, 480, {30, 1}}, sizeWidth, PixelFormat::H264),
                ElementsAre("VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMEINTERVALS"));
}

TEST_F(TheClosestCapability, AsksForTheFormatsTwiceWhereTheyDecideByPreference) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    (void)closest(*camera, {640, 480, {30, 1}}, sizeWidth);
    EXPECT_THAT(requestsFor(*camera, {640, 480, {30, 1}}, sizeWidth, PixelFormat::Raw),
                ElementsAre("VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT",
                            "VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMESIZES",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS"));
}

TEST_F(TheClosestCapability, IsNothingForNoRateWhenTheRateComesFirstAndNothingIsAskedFor) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    EXPECT_THAT(closest(*camera, {640, 480, {0, 1}}, fpsWidth), isUntouched());
    EXPECT_THAT(requestsFor(*camera, {640, 480, {0, 1}}, fpsWidth), IsEmpty());
    EXPECT_THAT(requestsFor(*camera, {640, 480, {0, 0}}, fpsHeight), IsEmpty());
}

TEST_F(TheClosestCapability, TriesEverySizeOfTheWalkAfterAskingForTheRanges) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    (void)closest(*camera, {640, 480, {30, 1}}, sizeWidth);
    std::vector<std::string> ranges{"VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMEINTERVALS",
                                    "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMESIZES"};
    const std::vector<std::string> trial{"VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMESIZES",
                                         "VIDIOC_ENUM_FRAMEINTERVALS",
                                         "VIDIOC_ENUM_FRAMEINTERVALS"};
    std::vector<std::string> oneTrial = ranges;
    oneTrial.insert(oneTrial.end(), trial.begin(), trial.end());
    EXPECT_EQ(requestsFor(*camera, {655, 495, {30, 1}}, fpsWidth), oneTrial);
    std::vector<std::string> twoTrials = oneTrial;
    twoTrials.insert(twoTrials.end(), trial.begin(), trial.end());
    EXPECT_EQ(requestsFor(*camera, {656, 496, {30, 1}}, fpsWidth), twoTrials);
}

TEST_F(TheClosestCapability, IsNothingWhenTheSizesCannotBeRead) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    device().setFault(R"({"call": "VIDIOC_ENUM_FRAMESIZES", "errno": "EIO", "count": "always"})");
    for (const CameraCapabilityPriority priority : everyPriority) {
        EXPECT_THAT(closest(*camera, {640, 480, {30, 1}}, priority), isUntouched());
    }
}

TEST_F(TheClosestCapability, IsTheSameThroughTheManager) {
    plug(onlyCamera, yuyv(R"(["640x300", "500x480"])"));
    connect();
    CameraCapabilityEx result = untouched;
    const CameraCapabilityEx wish{640, 480, {30, 1}};
    EXPECT_TRUE(manager.findClosestCapability(path(onlyCamera), PixelFormat::YUYV, wish, result,
                                              fpsHeight));
    EXPECT_THAT(result, IsPoint(500, 480, 30, 1));
    EXPECT_TRUE(manager.findClosestCapability(path(onlyCamera), PixelFormat::YUYV, wish, result,
                                              sizeWidth));
    EXPECT_THAT(result, IsPoint(640, 300, 30, 1));
    EXPECT_FALSE(
        manager.findClosestCapability(path("gone"), PixelFormat::YUYV, wish, result, sizeWidth));
    EXPECT_THAT(result, IsPoint(640, 300, 30, 1));
}

TEST_F(TheClosestCapability, IsFoundWithoutAWordInTheLog) {
    const auto camera = plugAndOpen(yuyv(R"(["640x480"])"));
    for (const CameraCapabilityPriority priority : everyPriority) {
        (void)closest(*camera, {640, 480, {30, 1}}, priority);
        (void)closest(*camera, {640, 480, {30, 1}}, priority, PixelFormat::Encoded);
    }
    EXPECT_THAT(log.messages(), IsEmpty());
}

}  // namespace
