// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// From the user's wish to what the camera is asked for.
#include "operating-point.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "exit-code.h"
#include "fake-camera.h"

namespace {

using LumiqCam::chooseOperatingPoint;
using LumiqCam::FrameRate;
using LumiqCam::FrameSize;
using LumiqCam::PixelFormat;
using LumiqCam::Wish;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormatDescription;
using testing::HasSubstr;
using testing::IsEmpty;

CameraCapabilityRanges stepwise() {
    CameraCapabilityRanges ranges;
    ranges.minWidth = 160;
    ranges.minHeight = 120;
    ranges.maxWidth = 1280;
    ranges.maxHeight = 720;
    ranges.widthStep = 16;
    ranges.heightStep = 8;
    ranges.maxFps = {5, 1};
    return ranges;
}

std::vector<PixelFormatDescription> offering(std::vector<PixelFormat> direct) {
    std::vector<PixelFormatDescription> formats{
        {PixelFormat::Raw, 0}, {PixelFormat::Encoded, 0}, {PixelFormat::Preferred, 0}};
    for (const PixelFormat format : direct) {
        formats.push_back({format, 0});
    }
    return formats;
}

LumiqCam::OperatingPoint choose(const FakePlugin::CameraScript& script, const Wish& wish) {
    FakePlugin::FakeCamera camera(script, [] {});
    return chooseOperatingPoint(camera, script.formats, wish);
}

bool same(FrameSize size, std::uint32_t width, std::uint32_t height) {
    return size.width == width && size.height == height;
}

TEST(AnOperatingPoint, IsTheClosestThatTheBackEndFinds) {
    FakePlugin::CameraScript script;
    script.formats = offering({PixelFormat::YUYV});
    script.closest = CameraCapabilityEx(800, 600, {15, 1});
    const auto point = choose(script, {});
    EXPECT_TRUE(point.foundByBackEnd);
    EXPECT_TRUE(same(point.size, 800, 600));
    EXPECT_EQ(point.fps.numerator, 15U);
    EXPECT_THAT(point.notes, IsEmpty());
}

TEST(AnOperatingPoint, ComesFromTheRangesWhereTheBackEndFindsNone) {
    FakePlugin::CameraScript script;
    script.formats = offering({PixelFormat::YUYV});
    script.findsClosest = false;
    script.ranges = stepwise();
    Wish wish;
    wish.size = {500, 301};
    const auto point = choose(script, wish);
    EXPECT_FALSE(point.foundByBackEnd);
    EXPECT_TRUE(same(point.size, 496, 304));
    EXPECT_EQ(point.fps.numerator, 30U);
    ASSERT_EQ(point.notes.size(), 1U);
    EXPECT_THAT(point.notes[0], HasSubstr("496x304"));
}

TEST(AnOperatingPoint, IsTheWishWhereNothingIsKnown) {
    FakePlugin::CameraScript script;
    script.formats = offering({PixelFormat::YUYV});
    script.findsClosest = false;
    Wish wish;
    wish.size = {500, 300};
    const auto point = choose(script, wish);
    EXPECT_TRUE(same(point.size, 500, 300));
    EXPECT_EQ(point.fps.numerator, 30U);
}

TEST(AnOperatingPoint, IsTheWishWhenItIsToBeExact) {
    FakePlugin::CameraScript script;
    script.formats = offering({PixelFormat::YUYV});
    script.closest = CameraCapabilityEx(800, 600, {15, 1});
    Wish wish;
    wish.exact = true;
    EXPECT_TRUE(same(choose(script, wish).size, 640, 480));
}

TEST(AnOperatingPoint, IsRefusedForAFormatThatTheCameraDoesNotOffer) {
    FakePlugin::CameraScript script;
    script.formats = offering({PixelFormat::YUYV});
    Wish wish;
    wish.format = PixelFormat::MJPG;
    try {
        choose(script, wish);
        FAIL() << "nothing was thrown";
    } catch (const LumiqCam::Failure& failure) {
        EXPECT_EQ(failure.code(), LumiqCam::ExitCode::CaptureFailed);
        EXPECT_THAT(failure.what(), HasSubstr("MJPG"));
        EXPECT_THAT(failure.advice(), HasSubstr("YUYV"));
    }
}

TEST(AnOperatingPoint, NamesTheFormatOutrightWhenTheSizeFoundWouldChangeWhatPreferredMeans) {
    FakePlugin::CameraScript script;
    script.formats = offering({PixelFormat::YUYV, PixelFormat::MJPG});
    script.closest = CameraCapabilityEx(1280, 720, {10, 1});
    EXPECT_EQ(choose(script, {}).format, PixelFormat::Raw);
    script.closest = CameraCapabilityEx(320, 240, {10, 1});
    EXPECT_EQ(choose(script, {}).format, PixelFormat::Preferred);
}

TEST(Preferred, StaysWhereTheCameraHasWhatItWouldTake) {
    const auto both = offering({PixelFormat::YUYV, PixelFormat::MJPG});
    EXPECT_EQ(LumiqCam::settlePreferred(both, {640, 480}), PixelFormat::Preferred);
    EXPECT_EQ(LumiqCam::settlePreferred(both, {641, 480}), PixelFormat::Preferred);
    const auto raw = offering({PixelFormat::UYVY});
    EXPECT_EQ(LumiqCam::settlePreferred(raw, {640, 480}), PixelFormat::Preferred);
    const auto encoded = offering({PixelFormat::H264});
    EXPECT_EQ(LumiqCam::settlePreferred(encoded, {1280, 720}), PixelFormat::Preferred);
}

TEST(Preferred, BecomesTheOnlyKindThatTheCameraHas) {
    EXPECT_EQ(LumiqCam::settlePreferred(offering({PixelFormat::YUYV}), {1280, 720}),
              PixelFormat::Raw);
    EXPECT_EQ(LumiqCam::settlePreferred(offering({PixelFormat::MJPG}), {640, 480}),
              PixelFormat::Encoded);
}

TEST(Preferred, IsNotTalkedOutOfByAConvertedFormat) {
    auto formats = offering({PixelFormat::MJPG});
    formats.push_back({PixelFormat::YUV420Planar, PixelFormatDescription::SupportedWithConverting});
    EXPECT_EQ(LumiqCam::settlePreferred(formats, {640, 480}), PixelFormat::Encoded);
}

TEST(Preferred, StaysWhereTheListSaysNothing) {
    EXPECT_EQ(LumiqCam::settlePreferred(offering({}), {640, 480}), PixelFormat::Preferred);
}

TEST(FittingASize, GoesToTheNearestStep) {
    const auto ranges = stepwise();
    EXPECT_TRUE(same(LumiqCam::fitSize({500, 300}, ranges), 496, 296));
    EXPECT_TRUE(same(LumiqCam::fitSize({505, 301}, ranges), 512, 304));
    EXPECT_TRUE(same(LumiqCam::fitSize({1, 1}, ranges), 160, 120));
    EXPECT_TRUE(same(LumiqCam::fitSize({60000, 60000}, ranges), 1280, 720));
}

TEST(FittingASize, NeverLeavesTheRangeForAStep) {
    auto ranges = stepwise();
    ranges.maxWidth = 1279;
    EXPECT_TRUE(same(LumiqCam::fitSize({1279, 720}, ranges), 1264, 720));
}

TEST(FittingASize, IsNotBoundByRangesOfZero) {
    EXPECT_TRUE(same(LumiqCam::fitSize({33, 44}, {}), 33, 44));
}

}  // namespace
