// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reading and writing sizes, rates, formats and priorities.
#include "text-values.h"

#include <gtest/gtest.h>

#include "exit-code.h"

namespace {

using namespace LumiqCam;

TEST(ASize, IsWidthAndHeight) {
    const FrameSize size = parseSize("1280x720");
    EXPECT_EQ(size.width, 1280U);
    EXPECT_EQ(size.height, 720U);
    EXPECT_EQ(parseSize("65535X1").width, 65535U);
    EXPECT_EQ(toText(size), "1280x720");
}

TEST(ASize, IsRefusedWhenItIsNone) {
    for (const char* text : {"", "x", "640", "640x", "x480", "0x480", "640x0", "-1x5", "65536x1",
                             "1x65536", "640x480x3", " 640x480", "640*480", "99999999999x1"}) {
        EXPECT_THROW(parseSize(text), Failure) << text;
    }
}

TEST(ARate, IsAWholeADecimalOrAFraction) {
    const auto expect = [](const char* text, unsigned numerator, unsigned denominator) {
        const FrameRate rate = parseFrameRate(text);
        EXPECT_EQ(rate.numerator, numerator) << text;
        EXPECT_EQ(rate.denominator, denominator) << text;
    };
    expect("30", 30, 1);
    expect("30000/1001", 30000, 1001);
    expect("29.97", 30000, 1001);
    expect("23.976", 24000, 1001);
    expect("7.5", 15, 2);
    expect("0.1", 1, 10);
    expect("25.0", 25, 1);
}

TEST(ARate, IsRefusedWhenItIsNone) {
    for (const char* text : {"", "0", "0/1", "1/0", "-5", "x", "30fps", "1e3", "inf", "nan", "30/",
                             "/1", "0.0001", "1/2/3"}) {
        EXPECT_THROW(parseFrameRate(text), Failure) << text;
    }
}

TEST(ARate, IsWrittenAsPeopleSayIt) {
    EXPECT_EQ(toText(FrameRate{30, 1}), "30");
    EXPECT_EQ(toText(FrameRate{60, 2}), "30");
    EXPECT_EQ(toText(FrameRate{30000, 1001}), "29.97 (30000/1001)");
    EXPECT_EQ(toText(FrameRate{0, 1}), "none");
    EXPECT_EQ(toText(FrameRate{1, 0}), "none");
}

TEST(AFormat, IsANameACodeOrANumber) {
    EXPECT_EQ(parseFormat("Preferred"), PixelFormat::Preferred);
    EXPECT_EQ(parseFormat("raw"), PixelFormat::Raw);
    EXPECT_EQ(parseFormat("yuv420planar"), PixelFormat::YUV420Planar);
    EXPECT_EQ(parseFormat("MJPG"), PixelFormat::MJPG);
    EXPECT_EQ(parseFormat("mjpg"), PixelFormat::MJPG);
    EXPECT_EQ(parseFormat("0x47504A4D"), PixelFormat::MJPG);
    EXPECT_EQ(parseFormat("GREY"), static_cast<PixelFormat>(0x59455247));
}

TEST(AFormat, HasCommonNamesForTheTwoPlanarLayouts) {
    EXPECT_EQ(parseFormat("I420"), PixelFormat::YUV420Planar);
    EXPECT_EQ(parseFormat("YU12"), PixelFormat::YUV420Planar);
    EXPECT_EQ(parseFormat("nv12"), PixelFormat::YUV420SemiPlanar);
}

TEST(AFormat, IsRefusedWhenItIsNone) {
    for (const char* text : {"", "Invalid", "YUY", "YUYV2", "0x", "0xZZ", "0x0"}) {
        EXPECT_THROW(parseFormat(text), Failure) << text;
    }
}

TEST(APriority, HasAName) {
    EXPECT_EQ(parsePriority("fps-height"), CameraCapabilityPriority::FpsHeight);
    EXPECT_STREQ(toText(CameraCapabilityPriority::SizeHeight), "size-height");
    EXPECT_THROW(parsePriority("colour"), Failure);
}

TEST(Text, FromADeviceCannotSteerTheTerminal) {
    EXPECT_EQ(printable("a\x1B[2Jb\nc\x7F"), "a?[2Jb?c?");
    EXPECT_EQ(printable("Kamera \xC3\xBC"), "Kamera \xC3\xBC");
}

}  // namespace
