// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What capture writes, decoded and looked at.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "fake-run.h"
#include "picture-file.h"

namespace {

using namespace ToolTest;
using testing::ElementsAre;
using testing::HasSubstr;

// How far a colour may be off: rounding for the uncompressed formats, compression for JPEG.
constexpr int kNear = 6;

bool near(const Pixel& pixel, int red, int green, int blue) {
    return std::abs(pixel.red - red) <= kNear && std::abs(pixel.green - green) <= kNear &&
           std::abs(pixel.blue - blue) <= kNear;
}

// The fake cameras' picture: red, green, blue and white quarters.
void expectQuarters(const Picture& picture, const std::string& what) {
    const int left = picture.width / 4, right = picture.width * 3 / 4;
    const int top = picture.height * 3 / 8, bottom = picture.height * 3 / 4;
    EXPECT_TRUE(near(picture.at(left, top), 255, 0, 0)) << what;
    EXPECT_TRUE(near(picture.at(right, top), 0, 255, 0)) << what;
    EXPECT_TRUE(near(picture.at(left, bottom), 0, 0, 255)) << what;
    EXPECT_TRUE(near(picture.at(right, bottom), 255, 255, 255)) << what;
}

// The number that the squares along the top show.
int numberIn(const Picture& picture) {
    int number = 0;
    for (int bit = 0; bit < 8; ++bit) {
        number |= picture.at(bit * 8 + 4, 4).green > 128 ? 1 << bit : 0;
    }
    return number;
}

// A camera that delivers this format and offers everything.
Json delivering(const std::string& format, Json more = Json::object()) {
    more["delivers"] = format;
    more["formats"] = {"YUV420Planar",  "YUV420SemiPlanar",
                       "YCbCrFlexible", "Raw",
                       "Encoded",       "Preferred",
                       "H264",          "MJPG",
                       "YUYV",          "UYVY"};
    return oneCamera(more);
}

ToolResult captureTo(const std::string& path, const Json& script,
                     std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"capture", "0", "-o", path};
    if (std::find(more.begin(), more.end(), "--size") == more.end()) {
        more.insert(more.end(), {"--size", "128x96"});
    }
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runFake(arguments, script);
}

const char* const kFormats[]{"YUYV", "UYVY", "YUV420Planar", "YUV420SemiPlanar", "MJPG"};

TEST(APngFile, ShowsTheColoursOfEveryFormat) {
    for (const std::string format : kFormats) {
        Folder folder;
        const auto result = captureTo(folder.path("a.png"), delivering(format));
        ASSERT_EQ(result.code, 0) << format << result.err;
        const Picture picture = decodePng(readFile(folder.path("a.png")));
        EXPECT_EQ(picture.width, 128);
        EXPECT_EQ(picture.height, 96);
        expectQuarters(picture, format);
        EXPECT_EQ(numberIn(picture), 0) << format;
        EXPECT_FALSE(brokeTheContract(result)) << result.err;
    }
}

TEST(APngFile, ShowsOddSizesUpToTheirEdges) {
    for (const std::string format : {"YUYV", "YUV420Planar", "MJPG"}) {
        Folder folder;
        const auto result =
            captureTo(folder.path("a.png"), delivering(format), {"--size", "127x95"});
        ASSERT_EQ(result.code, 0) << result.err;
        const Picture picture = decodePng(readFile(folder.path("a.png")));
        EXPECT_EQ(picture.width, 127);
        EXPECT_EQ(picture.height, 95);
        expectQuarters(picture, format);
        EXPECT_TRUE(near(picture.at(126, 20), 0, 255, 0)) << format;
        EXPECT_TRUE(near(picture.at(30, 94), 0, 0, 255)) << format;
    }
}

TEST(AJpegFile, IsTheCamerasOwnWhereItDeliversJpeg) {
    Folder folder;
    ASSERT_EQ(captureTo(folder.path("a.jpg"), delivering("MJPG")).code, 0);
    ASSERT_EQ(captureTo(folder.path("a.mjpg"), delivering("MJPG"), {"--count", "1"}).code, 0);
    const std::string file = readFile(folder.path("a.jpg"));
    expectQuarters(decodeJpeg(file), "MJPG");
    EXPECT_EQ(file, readFile(folder.path("a.mjpg")));
    EXPECT_EQ(file.substr(file.size() - 2), "\xFF\xD9");
}

TEST(AJpegFile, GetsTheTablesThatTheCameraLeftOut) {
    Folder folder;
    const Json script = delivering("MJPG", {{"withoutHuffmanTables", true}});
    ASSERT_EQ(captureTo(folder.path("a.jpg"), script).code, 0);
    ASSERT_EQ(captureTo(folder.path("a.mjpg"), script, {"--count", "1"}).code, 0);
    const std::string tables = "\xFF\xC4";
    EXPECT_THAT(readFile(folder.path("a.jpg")), HasSubstr(tables));
    EXPECT_THAT(readFile(folder.path("a.mjpg")), Not(HasSubstr(tables)));
    expectQuarters(decodeJpeg(readFile(folder.path("a.jpg"))), "MJPG");
}

TEST(AJpegFile, IsMadeOfUncompressedFrames) {
    for (const std::string format : {"YUYV", "YUV420SemiPlanar"}) {
        Folder folder;
        ASSERT_EQ(captureTo(folder.path("a.jpg"), delivering(format)).code, 0);
        expectQuarters(decodeJpeg(readFile(folder.path("a.jpg"))), format);
    }
}

TEST(AY4mFile, HoldsEveryFrameInOrder) {
    Folder folder;
    ASSERT_EQ(captureTo(folder.path("a.y4m"), delivering("YUYV"), {"--count", "5"}).code, 0);
    const Y4m video = parseY4m(readFile(folder.path("a.y4m")));
    EXPECT_EQ(video.header, "YUV4MPEG2 W128 H96 F30:1 Ip A1:1 C420mpeg2 XCOLORRANGE=LIMITED");
    ASSERT_EQ(video.frames.size(), 5U);
    for (std::size_t number = 0; number < 5; ++number) {
        const std::string& luma = video.frames[number].luma;
        EXPECT_EQ(luma[4 * 128 + 4], (number & 1) != 0 ? '\xEB' : '\x10') << number;
        EXPECT_EQ(luma[4 * 128 + 12], (number & 2) != 0 ? '\xEB' : '\x10') << number;
        EXPECT_EQ(video.frames[number].cr[10 * 64 + 10], '\xF0');  // Red.
        EXPECT_EQ(video.frames[number].cb[40 * 64 + 10], '\xF0');  // Blue.
    }
}

TEST(AY4mFile, SaysThatJpegHasFullRange) {
    Folder folder;
    ASSERT_EQ(captureTo(folder.path("a.y4m"), delivering("MJPG"), {"--count", "1"}).code, 0);
    const Y4m video = parseY4m(readFile(folder.path("a.y4m")));
    EXPECT_THAT(video.header, HasSubstr("C420jpeg XCOLORRANGE=FULL"));
    EXPECT_EQ(video.frames.at(0).luma[4], '\0');
}

TEST(AY4mFile, RoundsTheChromaOfOddSizesUp) {
    Folder folder;
    const auto result =
        captureTo(folder.path("a.y4m"), delivering("YUYV"), {"--count", "2", "--size", "65x49"});
    ASSERT_EQ(result.code, 0) << result.err;
    const Y4m video = parseY4m(readFile(folder.path("a.y4m")));
    EXPECT_EQ(video.frames.size(), 2U);
    EXPECT_EQ(video.frames.at(0).cb.size(), 33U * 25U);
}

TEST(RawOutput, IsTheFrameAsTheCameraDeliversIt) {
    Folder folder;
    const std::vector<std::string> two{"--count", "2"};
    ASSERT_EQ(captureTo(folder.path("a.raw"), delivering("YUYV"), two).code, 0);
    const std::string packed = readFile(folder.path("a.raw"));
    EXPECT_EQ(packed.size(), 2U * 128 * 96 * 2);
    // A row of red: luma 81, Cb 90, Cr 240.
    EXPECT_EQ(packed.substr(20 * 256, 4), "\x51\x5A\x51\xF0");
    ASSERT_EQ(captureTo(folder.path("b.raw"), delivering("UYVY"), two).code, 0);
    EXPECT_EQ(readFile(folder.path("b.raw")).substr(20 * 256, 4), "\x5A\x51\xF0\x51");
    ASSERT_EQ(captureTo(folder.path("c.raw"), delivering("YUV420SemiPlanar"), two).code, 0);
    EXPECT_EQ(readFile(folder.path("c.raw")).size(), 2U * 128 * 96 * 3 / 2);
}

TEST(RawOutput, IsConvertedWhereAPlanarFormatIsAskedFor) {
    Folder folder;
    const std::vector<std::string> one{"--count", "1"};
    const auto result = captureTo(folder.path("a.yuv"), delivering("YUYV"), one);
    ASSERT_EQ(result.code, 0) << result.err;
    const std::string planar = readFile(folder.path("a.yuv"));
    ASSERT_EQ(planar.size(), 128U * 96 * 3 / 2);
    EXPECT_EQ(planar[128 * 96 + 10 * 64 + 10], '\x5A');  // Cb of red ...
    EXPECT_EQ(planar[128 * 96 + 40 * 64 + 10], '\xF0');  // ... and of blue.
    ASSERT_EQ(
        captureTo(folder.path("b.yuv"), delivering("YUYV"), {"--count", "1", "--format", "NV12"})
            .code,
        0);
    const std::string semiPlanar = readFile(folder.path("b.yuv"));
    ASSERT_EQ(semiPlanar.size(), planar.size());
    EXPECT_EQ(semiPlanar.substr(0, 128 * 96), planar.substr(0, 128 * 96));
    for (const std::size_t at : {0U, 64U * 20U + 7U, 64U * 48U - 1U}) {
        EXPECT_EQ(semiPlanar[128 * 96 + 2 * at], planar[128 * 96 + at]);
        EXPECT_EQ(semiPlanar[128 * 96 + 2 * at + 1], planar[128 * 96 * 5 / 4 + at]);
    }
}

TEST(RawOutput, OfMotionJpegIsOnePictureBehindTheOther) {
    Folder folder;
    ASSERT_EQ(captureTo(folder.path("a.mjpg"), delivering("MJPG"), {"--count", "3"}).code, 0);
    const std::string file = readFile(folder.path("a.mjpg"));
    std::size_t pictures = 0;
    for (std::size_t at = 0; at < file.size(); ++pictures) {
        const std::size_t end = file.find("\xFF\xD9", at);
        ASSERT_NE(end, std::string::npos);
        const Picture picture = decodeJpeg(file.substr(at, end + 2 - at));
        EXPECT_EQ(numberIn(picture), static_cast<int>(pictures));
        at = end + 2;
    }
    EXPECT_EQ(pictures, 3U);
}

TEST(RawOutput, OfH264LeavesOutTheUnusedEndOfTheBuffer) {
    Folder folder;
    ASSERT_EQ(captureTo(folder.path("a.h264"), delivering("H264"), {"--count", "2"}).code, 0);
    const std::string frame("\0\0\0\1\x65\0\0\x80", 8);
    const std::string next("\0\0\0\1\x65\1\0\x80", 8);
    EXPECT_EQ(readFile(folder.path("a.h264")), frame + next);
}

TEST(RawOutput, GoesToStandardOutput) {
    const auto result = captureTo("-", delivering("YUYV"), {"--count", "3"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out.size(), 3U * 128 * 96 * 2);
    EXPECT_THAT(result.err, HasSubstr("3 frames"));
    const auto video = captureTo("-", delivering("YUYV"), {"--count", "3", "--as", "y4m"});
    EXPECT_EQ(parseY4m(video.out).frames.size(), 3U);
}

TEST(APattern, MakesAFileForEachFrame) {
    Folder folder;
    const auto result =
        captureTo(folder.path("f-%03d.png"), delivering("YUYV"), {"--count", "4", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(folder.names(), ElementsAre("f-001.png", "f-002.png", "f-003.png", "f-004.png"));
    for (int number = 0; number < 4; ++number) {
        const std::string name = "f-00" + std::to_string(number + 1) + ".png";
        EXPECT_EQ(numberIn(decodePng(readFile(folder.path(name)))), number);
    }
    EXPECT_EQ(result.json()["output"]["files"], 4);
    EXPECT_EQ(result.json()["output"]["frames"], 4);
    EXPECT_EQ(result.json()["frames"]["converted"], 4);
}

TEST(ASinglePicture, IsOneFrameWithoutBeingTold) {
    Folder folder;
    const auto result = captureTo(folder.path("a.png"), delivering("YUYV"), {"--json"});
    EXPECT_EQ(result.json()["output"]["frames"], 1);
    EXPECT_EQ(result.json()["end"], "count");
}

TEST(AFormatThatCannotBeAPicture, IsRefusedWithAWordOnWhatCan) {
    Folder folder;
    const auto result = captureTo(folder.path("a.png"), delivering("H264"));
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("H264"));
    EXPECT_THAT(result.err, HasSubstr(".h264"));
    EXPECT_THAT(folder.names(), ElementsAre());
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(BuffersThatAreTooShort, AreNotRead) {
    Folder folder;
    for (const char* name : {"a.raw", "a.png", "a.y4m"}) {
        const auto result =
            captureTo(folder.path(name), delivering("YUYV", {{"bufferTooShort", true}}));
        EXPECT_EQ(result.code, 7) << name;
        EXPECT_THAT(result.err, HasSubstr("none can be used")) << name;
    }
    EXPECT_THAT(folder.names(), ElementsAre());
}

TEST(FramesWithoutAView, CannotBeWritten) {
    Folder folder;
    const auto result = captureTo(folder.path("a.raw"), delivering("Invalid"));
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("no view"));
}

}  // namespace
