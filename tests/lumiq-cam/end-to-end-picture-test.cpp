// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam, the real plug-in, the device-access service and simulated cameras, from end to end:
// what is seen of the cameras, and the pictures that come out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera-desk.h"
#include "frame-number.h"
#include "picture-file.h"

namespace {

using namespace ToolTest;
using testing::ElementsAre;
using testing::HasSubstr;

const std::uint8_t* bytesOf(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::optional<std::uint32_t> numberIn(const Picture& picture) {
    std::vector<std::uint8_t> green;
    for (std::size_t i = 1; i < picture.rgb.size(); i += 3) {
        green.push_back(picture.rgb[i]);
    }
    const auto width = static_cast<std::size_t>(picture.width);
    return Simulator::readFrameNumber(green.data(), width, width,
                                      static_cast<std::size_t>(picture.height));
}

std::vector<std::uint32_t> numbersIn(const Y4m& video) {
    std::vector<std::uint32_t> numbers;
    const auto width = static_cast<std::size_t>(video.width);
    for (const Y4mFrame& frame : video.frames) {
        const auto number = Simulator::readFrameNumber(bytesOf(frame.luma), width, width,
                                                       static_cast<std::size_t>(video.height));
        EXPECT_TRUE(number.has_value());
        numbers.push_back(number.value_or(0));
    }
    return numbers;
}

void expectRising(const std::vector<std::uint32_t>& numbers) {
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_LT(numbers[i - 1], numbers[i]);
    }
}

// Whether a colour has just these of red, green and blue, with room for any range and compression.
bool has(const Pixel& pixel, bool red, bool green, bool blue) {
    const auto fits = [](int value, bool full) { return full ? value > 170 : value < 85; };
    return fits(pixel.red, red) && fits(pixel.green, green) && fits(pixel.blue, blue);
}

// Eight bars from white to black, which move by a sixteenth of the width with every frame.
void expectBars(const Picture& picture, std::uint32_t number, const std::string& what) {
    const bool expected[8][3] = {{true, true, true},   {true, true, false},  {false, true, true},
                                 {false, true, false}, {true, false, true},  {true, false, false},
                                 {false, false, true}, {false, false, false}};
    const int y = picture.height * 3 / 4;
    const int moved = picture.width * static_cast<int>(number % 16) / 16;
    for (int bar = 0; bar < 8; ++bar) {
        const int middle = picture.width * (2 * bar + 1) / 16;
        const int x = (middle - moved + picture.width) % picture.width;
        EXPECT_TRUE(has(picture.at(x, y), expected[bar][0], expected[bar][1], expected[bar][2]))
            << what << ", bar " << bar << " of frame " << number;
    }
}

TEST(TheTool, ListsTheServicesCameras) {
    CameraDesk desk({"yuyv-webcam", "mjpeg-720p"});
    const auto result = desk.run({"list", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const Json cameras = result.json()["cameras"];
    ASSERT_EQ(cameras.size(), 2U);
    EXPECT_EQ(cameras[0]["name"], "Desk webcam");
    EXPECT_EQ(cameras[0]["id"], CameraDesk::idOf("sim0"));
    EXPECT_EQ(cameras[0]["provider"], "v4l2");
    EXPECT_EQ(cameras[1]["name"], "Conference camera");
}

Json formatNamed(const Json& document, const std::string& name) {
    for (const Json& item : document["formats"]) {
        if (item["format"]["name"] == name) {
            return item;
        }
    }
    return {};
}

TEST(TheTool, ShowsWhatACameraCanDo) {
    CameraDesk desk({"yuyv-webcam"});
    const auto result = desk.run({"show", "desk", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const Json document = result.json();
    EXPECT_EQ(formatNamed(document, "YUV420Planar")["obtained"], "converted");
    EXPECT_EQ(formatNamed(document, "YUYV")["obtained"], "direct");
    EXPECT_EQ(formatNamed(document, "YUYV")["ranges"]["maxWidth"], 1280);
    EXPECT_EQ(formatNamed(document, "MJPG")["ranges"]["maxWidth"], 1920);
    EXPECT_EQ(document["capabilities"][0], Json({{"width", 640}, {"height", 480}, {"fps", 30}}));
}

TEST(TheTool, FindsTheClosest) {
    CameraDesk desk({"yuyv-webcam"});
    const auto result =
        desk.run({"closest", "0", "--format", "YUYV", "--size", "1280x800", "--fps", "30"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "1280x720 at 10 fps\n");
    const auto byRate = desk.run({"closest", "0", "--format", "YUYV", "--size", "1280x720", "--fps",
                                  "30", "--priority", "fps-width"});
    EXPECT_THAT(byRate.out, HasSubstr("at 30 fps"));
}

TEST(Pictures, ShowTheBarsAndTheFramesNumber) {
    CameraDesk desk({"yuyv-webcam", "mjpeg-720p", "planar"});
    const std::vector<std::vector<std::string>> wishes{
        {"0", "YUYV"},      {"0", "MJPG"},         {"0", "YUV420Planar"},
        {"1", "Preferred"}, {"2", "YUV420Planar"}, {"2", "YUV420SemiPlanar"},
        {"2", "UYVY"}};
    for (const auto& wish : wishes) {
        Folder folder;
        for (const std::string name : {"a.png", "a.jpg"}) {
            const auto result = desk.run(
                {"capture", wish[0], "--format", wish[1], "-o", folder.path(name), "--json"});
            const std::string what = wish[0] + " " + wish[1] + " " + name;
            ASSERT_EQ(result.code, 0) << what << result.err;
            const std::string file = readFile(folder.path(name));
            const Picture picture = name == "a.png" ? decodePng(file) : decodeJpeg(file);
            EXPECT_EQ(picture.width, 640) << what;
            EXPECT_EQ(picture.height, 480) << what;
            ASSERT_TRUE(numberIn(picture).has_value()) << what;
            expectBars(picture, *numberIn(picture), what);
        }
    }
}

TEST(Pictures, AreNumberedInTheOrderOfTheFrames) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    const auto result =
        desk.run({"capture", "0", "--count", "8", "-o", folder.path("frame-%04d.png")});
    ASSERT_EQ(result.code, 0) << result.err;
    std::vector<std::uint32_t> numbers;
    for (const std::string& name : folder.names()) {
        const Picture picture = decodePng(readFile(folder.path(name)));
        numbers.push_back(numberIn(picture).value_or(0));
        expectBars(picture, numbers.back(), name);
    }
    EXPECT_EQ(numbers.size(), 8U);
    expectRising(numbers);
}

TEST(Video, HasEveryFrameOnce) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    const auto result = desk.run({"capture", "0", "--size", "320x240", "--count", "30", "-o",
                                  folder.path("a.y4m"), "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const Y4m video = parseY4m(readFile(folder.path("a.y4m")));
    EXPECT_THAT(video.header, HasSubstr("W320 H240 F30:1"));
    ASSERT_EQ(video.frames.size(), 30U);
    expectRising(numbersIn(video));
    EXPECT_EQ(result.json()["frames"]["converted"], 30);
}

TEST(Video, GoesThroughAPipe) {
    CameraDesk desk({"yuyv-webcam"});
    const auto result =
        desk.run({"capture", "0", "--size", "320x240", "--count", "5", "--as", "y4m", "-o", "-"});
    ASSERT_EQ(result.code, 0) << result.err;
    const auto numbers = numbersIn(parseY4m(result.out));
    EXPECT_EQ(numbers.size(), 5U);
    expectRising(numbers);
}

TEST(RawVideo, IsWhatTheCameraSent) {
    CameraDesk desk({"yuyv-webcam", "encoded"});
    Folder folder;
    ASSERT_EQ(desk.run({"capture", "0", "--count", "2", "-o", folder.path("a.raw")}).code, 0);
    const std::string packed = readFile(folder.path("a.raw"));
    ASSERT_EQ(packed.size(), 2U * 640 * 480 * 2);
    EXPECT_TRUE(Simulator::readFrameNumber(bytesOf(packed), 1280, 640, 480, 2).has_value());
    const auto encoded = desk.run({"capture", "1", "--count", "1", "-o", folder.path("a.h264")});
    ASSERT_EQ(encoded.code, 0) << encoded.err;
    const std::string opaque = readFile(folder.path("a.h264"));
    EXPECT_TRUE(Simulator::readOpaqueFrameNumber(bytesOf(opaque), opaque.size()).has_value());
}

TEST(RawVideo, OfMotionJpegHasNoBytesBetweenThePictures) {
    CameraDesk desk({"mjpeg-720p"});
    Folder folder;
    ASSERT_EQ(desk.run({"capture", "0", "--count", "1", "-o", folder.path("a.mjpg")}).code, 0);
    // The decoder of the test refuses bytes behind the picture.
    EXPECT_TRUE(numberIn(decodeJpeg(readFile(folder.path("a.mjpg")))).has_value());
}

TEST(ACameraWithSteps, IsUsedAtASizeThatFits) {
    CameraDesk desk({"stepwise"});
    Folder folder;
    const auto result =
        desk.run({"capture", "0", "--size", "401x301", "-o", folder.path("a.png"), "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.json()["found"], false);
    const Picture picture = decodePng(readFile(folder.path("a.png")));
    EXPECT_EQ(picture.width, 416);
    EXPECT_EQ(picture.height, 312);
    EXPECT_TRUE(numberIn(picture).has_value());
}

TEST(AnEncodingCamera, CannotBecomeAPicture) {
    CameraDesk desk({"encoded"});
    Folder folder;
    const auto result = desk.run({"capture", "0", "-o", folder.path("a.png")});
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("H264 frames cannot be converted"));
    EXPECT_THAT(folder.names(), ElementsAre());
}

}  // namespace
