// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The capabilities and ranges that a camera tells, and what it is asked for them.

#include <gmock/gmock.h>

#include "camera-fixture.h"
#include "listed-entries.h"

namespace {

using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::AreSizes;
using TestSupport::CameraFixture;
using TestSupport::IsCapability;
using TestSupport::IsRate;
using TestSupport::requestsOf;

std::string cameraWith(const std::string& formats) {
    return R"({"name": "Sizes", "formats": [)" + formats + "]}";
}

const std::string yuyvOnly =
    cameraWith(R"({"fourcc": "YUYV", "sizes": ["640x480"], "intervals": ["1/30", "1/15"]})");
const std::string twoMotionJpegSizes = cameraWith(R"({"fourcc": "YUYV", "sizes": ["800x600"]},
                  {"fourcc": "MJPG", "sizes": ["640x480", "1280x720"]})");
const std::string steppedMotionJpeg = cameraWith(
    R"({"fourcc": "MJPG", "sizes": {"min": "320x240", "max": "640x480", "step": "160x120"}})");

class ACamera : public CameraFixture {
protected:
    void failAlways(const std::string& call, const std::string& error) {
        device().setFault(R"({"call": ")" + call + R"(", "errno": ")" + error +
                          R"(", "count": "always"})");
    }
};

TEST_F(ACamera, ListsItsMotionJpegSizesAtThirtyFramesPerSecond) {
    const auto camera = plugAndOpen(twoMotionJpegSizes);
    std::vector<CameraCapability> capabilities{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, ElementsAre(IsCapability(640, 480, 30), IsCapability(1280, 720, 30)));
}

TEST_F(ACamera, ListsItsCapabilitiesInTheOrderOfTheDriver) {
    const auto camera =
        plugAndOpen(cameraWith(R"({"fourcc": "MJPG", "sizes": ["1280x720", "160x120", "640x480"],
                       "intervals": ["1/5"]})"));
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, ElementsAre(IsCapability(1280, 720, 30), IsCapability(160, 120, 30),
                                          IsCapability(640, 480, 30)));
}

TEST_F(ACamera, ListsSteppedMotionJpegSizesByTheHeightsStepAtTheLeastHeight) {
    const auto camera = plugAndOpen(steppedMotionJpeg);
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, ElementsAre(IsCapability(320, 240, 30), IsCapability(440, 240, 30)));
}

TEST_F(ACamera, ListsNoCapabilitiesWithoutMotionJpeg) {
    const auto camera = plugAndOpen(yuyvOnly);
    std::vector<CameraCapability> capabilities{{1, 2, 3}};
    EXPECT_FALSE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, IsEmpty());
}

TEST_F(ACamera, ListsNoCapabilitiesOfContinuousSizes) {
    const auto camera = plugAndOpen(
        cameraWith(R"({"fourcc": "MJPG", "sizes": {"min": "320x240", "max": "640x480"}})"));
    std::vector<CameraCapability> capabilities{{1, 2, 3}};
    EXPECT_FALSE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, IsEmpty());
}

TEST_F(ACamera, IsAskedForMotionJpegSizesAndNothingElseToListItsCapabilities) {
    const auto camera = plugAndOpen(twoMotionJpegSizes);
    std::vector<CameraCapability> capabilities;
    Simulator::startTrace();
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(
        requestsOf(Simulator::stopTrace()),
        ElementsAre("VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMESIZES"));
}

TEST_F(ACamera, ListsWhatItGotBeforeTheDriverFailed) {
    const auto camera = plugAndOpen(twoMotionJpegSizes);
    device().setFault(R"({"call": "VIDIOC_ENUM_FRAMESIZES", "errno": "EIO", "first": 2})");
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, ElementsAre(IsCapability(640, 480, 30)));
}

TEST_F(ACamera, TellsTheHighestRateOfDiscreteIntervalsOnly) {
    const auto camera = plugAndOpen(yuyvOnly);
    CameraCapabilityRanges ranges;
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_THAT(ranges.maxFps, IsRate(30, 1));
    EXPECT_THAT(ranges.minFps, IsRate(0, 1));
    EXPECT_THAT(ranges.fpsStep, IsRate(0, 1));
}

TEST_F(ACamera, TellsTheBoundsOfAllDiscreteSizesAndRates) {
    const auto camera = plugAndOpen(cameraWith(R"({"fourcc": "YUYV", "sizes": [
        {"size": "640x480", "intervals": ["1/15"]}, {"size": "1280x240", "intervals": ["1/30"]},
        {"size": "320x720", "intervals": ["1/5", "1/10"]}]})"));
    CameraCapabilityRanges ranges;
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_THAT(ranges, AreSizes(320, 1280, 0, 240, 720, 0));
    EXPECT_THAT(ranges.maxFps, IsRate(30, 1));
}

TEST_F(ACamera, TellsTheStepsOfSteppedSizes) {
    const auto camera = plugAndOpen(cameraWith(R"({"fourcc": "NV12", "sizes":
        {"min": "160x120", "max": "1920x1080", "step": "16x8"}, "intervals": ["1/25"]})"));
    CameraCapabilityRanges ranges;
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUV420SemiPlanar, ranges));
    EXPECT_THAT(ranges, AreSizes(160, 1920, 16, 120, 1080, 8));
    EXPECT_THAT(ranges.maxFps, IsRate(25, 1));
}

TEST_F(ACamera, TellsStepsOfOneForContinuousSizes) {
    const auto camera = plugAndOpen(
        cameraWith(R"({"fourcc": "UYVY", "sizes": {"min": "160x120", "max": "1920x1080"}})"));
    CameraCapabilityRanges ranges;
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::UYVY, ranges));
    EXPECT_THAT(ranges, AreSizes(160, 1920, 1, 120, 1080, 1));
}

TEST_F(ACamera, TellsTheRateOfTheLongestIntervalOfARange) {
    for (const std::string step : {"", R"(, "step": "1/60")"}) {
        const std::string leaf = step.empty() ? "continuous" : "stepwise";
        const auto camera = plugAndOpen(cameraWith(R"({"fourcc": "YUYV", "sizes": ["640x480"],
                           "intervals": {"min": "1/60", "max": "1/5")" +
                                                   step + "}}"),
                                        leaf);
        CameraCapabilityRanges ranges;
        ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
        EXPECT_THAT(ranges.maxFps, IsRate(5, 1));
        EXPECT_THAT(ranges.minFps, IsRate(0, 1));
        EXPECT_THAT(ranges.fpsStep, IsRate(0, 1));
    }
}

TEST_F(ACamera, TellsItsSizesAlsoWithoutIntervals) {
    const auto camera =
        plugAndOpen(cameraWith(R"({"fourcc": "H264", "sizes": ["1920x1080"], "intervals": []})"));
    CameraCapabilityRanges ranges;
    ranges.maxFps = {99, 1};
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::H264, ranges));
    EXPECT_EQ(ranges.maxWidth, 1920U);
    EXPECT_THAT(ranges.maxFps, IsRate(0, 1));
}

TEST_F(ACamera, IsAskedForTheIntervalsOfEachDiscreteSize) {
    const auto camera = plugAndOpen(cameraWith(
        R"({"fourcc": "YUYV", "sizes": ["640x480", "320x240"], "intervals": ["1/30", "1/15"]})"));
    CameraCapabilityRanges ranges;
    Simulator::startTrace();
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_THAT(requestsOf(Simulator::stopTrace()),
                ElementsAre("VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FRAMESIZES",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMESIZES",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMESIZES"));
}

TEST_F(ACamera, IsAskedForTheIntervalsAtBothEndsOfASizeRange) {
    const auto camera = plugAndOpen(cameraWith(
        R"({"fourcc": "YUYV", "sizes": {"min": "160x120", "max": "1920x1080", "step": "16x8"}})"));
    CameraCapabilityRanges ranges;
    Simulator::startTrace();
    ASSERT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_THAT(requestsOf(Simulator::stopTrace()),
                ElementsAre("VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FRAMESIZES",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS",
                            "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS",
                            "VIDIOC_ENUM_FRAMESIZES"));
}

TEST_F(ACamera, LeavesTheRangesAloneWhenItHasNothingToTell) {
    const auto camera = plugAndOpen(yuyvOnly);
    CameraCapabilityRanges ranges;
    ranges.minWidth = 77;
    for (const PixelFormat format :
         {PixelFormat::Invalid, PixelFormat::MJPG, PixelFormat::Encoded, PixelFormat::Preferred,
          PixelFormat::YUV420SemiPlanar, PixelFormat::Mappable}) {
        EXPECT_FALSE(camera->queryCapabilityRanges(format, ranges)) << toString(format);
    }
    failAlways("VIDIOC_ENUM_FRAMESIZES", "EIO");
    EXPECT_FALSE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_EQ(ranges.minWidth, 77U);
}

TEST_F(ACamera, TellsNoRatesWhenItsIntervalsCannotBeRead) {
    const auto camera = plugAndOpen(yuyvOnly);
    failAlways("VIDIOC_ENUM_FRAMEINTERVALS", "EIO");
    CameraCapabilityRanges ranges;
    EXPECT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_EQ(ranges.minWidth, 640U);
    EXPECT_THAT(ranges.maxFps, IsRate(0, 1));
}

TEST_F(ACamera, TellsTheSameAlsoWhenSignalsInterrupt) {
    const auto camera = plugAndOpen(yuyvOnly);
    device().setFault(R"({"call": "VIDIOC_ENUM_FRAMESIZES", "errno": "EINTR", "count": 2})");
    device().setFault(R"({"call": "VIDIOC_ENUM_FRAMEINTERVALS", "errno": "EINTR", "count": 2})");
    CameraCapabilityRanges ranges;
    EXPECT_TRUE(camera->queryCapabilityRanges(PixelFormat::YUYV, ranges));
    EXPECT_EQ(ranges.minWidth, 640U);
    EXPECT_THAT(ranges.maxFps, IsRate(30, 1));
}

TEST_F(ACamera, SaysNothingInTheLogWhileItIsAskedForCapabilitiesAndRanges) {
    const auto camera = plugAndOpen(twoMotionJpegSizes);
    std::vector<CameraCapability> capabilities;
    CameraCapabilityRanges ranges;
    EXPECT_TRUE(camera->queryCapabilities(capabilities));
    EXPECT_TRUE(camera->queryCapabilityRanges(PixelFormat::Raw, ranges));
    EXPECT_FALSE(camera->queryCapabilityRanges(PixelFormat::Invalid, ranges));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ACamera, AnswersTheSameThroughTheManager) {
    plug(onlyCamera, twoMotionJpegSizes);
    connect();
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(manager.queryCapabilities(path(onlyCamera), capabilities));
    EXPECT_THAT(capabilities, ElementsAre(IsCapability(640, 480, 30), IsCapability(1280, 720, 30)));
    CameraCapabilityRanges ranges;
    EXPECT_TRUE(manager.queryCapabilityRanges(path(onlyCamera), PixelFormat::Raw, ranges));
    EXPECT_EQ(ranges.minWidth, 800U);
    EXPECT_FALSE(manager.queryCapabilityRanges(path(onlyCamera), PixelFormat::Invalid, ranges));
    EXPECT_FALSE(manager.queryCapabilityRanges(path("gone"), PixelFormat::Raw, ranges));
}

}  // namespace
