// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What --output and --as mean.
#include "output-target.h"

#include <gtest/gtest.h>

#include "exit-code.h"

namespace {

using LumiqCam::Container;
using LumiqCam::defaultFormatFor;
using LumiqCam::parseOutput;
using LumiqCam::PixelFormat;

TEST(AnOutput, IsWhatItsEndingSays) {
    EXPECT_EQ(parseOutput("a.png", "").container, Container::Png);
    EXPECT_EQ(parseOutput("a.JPG", "").container, Container::Jpeg);
    EXPECT_EQ(parseOutput("a.jpeg", "").container, Container::Jpeg);
    EXPECT_EQ(parseOutput("a.y4m", "").container, Container::Y4m);
    EXPECT_EQ(parseOutput("a.yuv", "").container, Container::Bytes);
    EXPECT_EQ(parseOutput("a", "").container, Container::Bytes);
    EXPECT_EQ(parseOutput("b.png/a", "").container, Container::Bytes);
    EXPECT_EQ(parseOutput("", "").container, Container::None);
}

TEST(AnOutput, CanBeStandardOutput) {
    EXPECT_TRUE(parseOutput("-", "").standardOutput);
    EXPECT_EQ(parseOutput("-", "").container, Container::Bytes);
    EXPECT_EQ(parseOutput("-", "y4m").container, Container::Y4m);
    EXPECT_FALSE(parseOutput("./-", "").standardOutput);
}

TEST(AnOutput, IsWhatAsSaysWhateverItsEnding) {
    EXPECT_EQ(parseOutput("a.png", "raw").container, Container::Bytes);
    EXPECT_EQ(parseOutput("a.dat", "PNG").container, Container::Png);
    EXPECT_THROW(parseOutput("a", "gif"), LumiqCam::Failure);
    EXPECT_THROW(parseOutput("", "png"), LumiqCam::Failure);
}

TEST(AnOutputPattern, NumbersTheFiles) {
    const auto plain = parseOutput("f-%d.png", "");
    EXPECT_TRUE(plain.filePerFrame);
    EXPECT_FALSE(plain.holdsOneFrame());
    EXPECT_EQ(plain.pathFor(7), "f-7.png");
    EXPECT_EQ(plain.pathFor(12345), "f-12345.png");
    EXPECT_EQ(parseOutput("f-%04d.png", "").pathFor(7), "f-0007.png");
    EXPECT_EQ(parseOutput("f-%04d.png", "").pathFor(12345), "f-12345.png");
    EXPECT_EQ(parseOutput("100%%-%02d-%%.raw", "").pathFor(3), "100%-03-%.raw");
}

TEST(AnOutputPattern, IsNotNeeded) {
    const auto single = parseOutput("100%%.png", "");
    EXPECT_FALSE(single.filePerFrame);
    EXPECT_TRUE(single.holdsOneFrame());
    EXPECT_EQ(single.pathFor(1), "100%.png");
    EXPECT_FALSE(parseOutput("a.y4m", "").holdsOneFrame());
}

TEST(AnOutputPattern, IsRefusedWhenItHoldsAnythingElse) {
    for (const char* pattern : {"%s.png", "%n.png", "%", "a%", "%d-%d.png", "%1000d.png", "%5.png",
                                "%*d.png", "%ld.png", "% d.png"}) {
        EXPECT_THROW(parseOutput(pattern, ""), LumiqCam::Failure) << pattern;
    }
}

TEST(TheDefaultFormat, IsWhatTheEndingStandsFor) {
    EXPECT_EQ(defaultFormatFor(parseOutput("a.mjpg", "")), PixelFormat::MJPG);
    EXPECT_EQ(defaultFormatFor(parseOutput("a.h264", "")), PixelFormat::H264);
    EXPECT_EQ(defaultFormatFor(parseOutput("a.yuv", "")), PixelFormat::YUV420Planar);
    EXPECT_EQ(defaultFormatFor(parseOutput("a.png", "")), PixelFormat::Preferred);
    EXPECT_EQ(defaultFormatFor(parseOutput("", "")), PixelFormat::Preferred);
    EXPECT_EQ(defaultFormatFor(parseOutput("a.mjpg", "png")), PixelFormat::Preferred);
}

}  // namespace
