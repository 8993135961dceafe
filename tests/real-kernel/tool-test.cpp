// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam with real cameras: what it says, against v4l2-ctl; the pictures it leaves; how it ends
// when the cable is pulled. The pictures stay in the exchange folder, to be looked at.

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include "desk.h"
#include "frame-number.h"
#include "kernel-answers.h"
#include "picture-file.h"
#include "tool-run.h"
#include "wait-until.h"

namespace {

using namespace RealKernel;
using ToolTest::Json;
using ToolTest::ToolResult;

std::filesystem::path pictureFolder() {
    const char* const folder = std::getenv("LUMIQ_EXCHANGE");
    const std::filesystem::path pictures =
        std::filesystem::path(folder != nullptr ? folder : "/tmp") / "pictures";
    std::filesystem::create_directories(pictures);
    return pictures;
}

// The number that the USB camera wrote into a picture.
std::optional<std::uint32_t> numberIn(const ToolTest::Picture& picture) {
    std::vector<std::uint8_t> green;
    for (std::size_t i = 1; i < picture.rgb.size(); i += 3) {
        green.push_back(picture.rgb[i]);
    }
    return Simulator::readFrameNumber(green.data(), static_cast<std::size_t>(picture.width),
                                      static_cast<std::size_t>(picture.width),
                                      static_cast<std::size_t>(picture.height));
}

void expectYellowRedBlue(const ToolTest::Picture& picture, int yellowColumn, int redColumn,
                         int blueColumn, const char* format) {
    const auto yellow = picture.at(yellowColumn, 400);
    EXPECT_TRUE(yellow.red > 160 && yellow.green > 160 && yellow.blue < 40) << format;
    const auto red = picture.at(redColumn, 400);
    EXPECT_TRUE(red.red > 160 && red.green < 40 && red.blue < 40) << format;
    const auto blue = picture.at(blueColumn, 400);
    EXPECT_TRUE(blue.red < 40 && blue.green < 40 && blue.blue > 160) << format;
}

class TheTool : public AtTheDesk {
protected:
    static ToolResult run(const std::vector<std::string>& arguments) {
        return ToolTest::runTool(arguments, {{"LUMIQ_PLUGIN", ""}});
    }

    /// Takes three pictures; returns the last.
    static ToolTest::Picture lastPictureOf(const RealCamera& camera, const std::string& format,
                                           const std::string& stem) {
        const std::string pattern = (pictureFolder() / (stem + "-%d.png")).string();
        const ToolResult result = run({"capture", camera.id(), "--format", format, "--fps", "25",
                                       "--count", "3", "-o", pattern});
        EXPECT_EQ(result.code, 0) << result.err;
        return ToolTest::decodePng(
            ToolTest::readFile((pictureFolder() / (stem + "-3.png")).string()));
    }
};

TEST_F(TheTool, ListsTheCamerasThatTheKernelHas) {
    const UsbCamera& usb = usbCamera();
    std::vector<std::string> ids;
    const ToolResult result = run({"list", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const Json list = result.json();
    for (const Json& camera : list.at("cameras")) {
        ids.push_back(camera.at("id"));
    }
    // A USB camera's second node carries metadata and is no camera.
    EXPECT_THAT(ids, ::testing::UnorderedElementsAre(VividCamera(0).id(), VividCamera(1).id(),
                                                     VividCamera(2).id(), usb.id()));
}

TEST_F(TheTool, ShowsTheRangesOfTheHdmiInput) {
    const VividCamera camera(2);
    const KernelSteps steps = formatsOf(camera.node()).front().steps.value();
    std::size_t seen = 0;
    const Json shown = run({"show", camera.id(), "--json"}).json();
    for (const Json& format : shown.at("formats")) {
        if (format.at("format").at("name") == "YUYV") {
            const Json& ranges = format.at("ranges");
            EXPECT_EQ(ranges.at("minWidth"), steps.minWidth);
            EXPECT_EQ(ranges.at("maxWidth"), steps.maxWidth);
            EXPECT_EQ(ranges.at("widthStep"), steps.widthStep);
            EXPECT_EQ(ranges.at("maxHeight"), steps.maxHeight);
            ++seen;
        }
    }
    EXPECT_EQ(seen, 1U);
}

TEST_F(TheTool, TakesPicturesInEachOfTheVirtualDriversFormats) {
    for (const char* const format : {"YUYV", "UYVY", "YUV420SemiPlanar", "YUV420Planar"}) {
        const auto picture = lastPictureOf(VividCamera(0), format, std::string("vivid-") + format);
        ASSERT_EQ(picture.width, 640) << format;
        ASSERT_EQ(picture.height, 480) << format;
        // The second of eight bars is yellow, the sixth red, the last but one blue.
        expectYellowRedBlue(picture, 120, 440, 520, format);
    }
}

TEST_F(TheTool, TakesPicturesWithTheUsbCamera) {
    const UsbCamera& camera = usbCamera();
    for (const char* const format : {"YUYV", "UYVY", "YUV420SemiPlanar", "MJPG"}) {
        const auto picture = lastPictureOf(camera, format, std::string("usb-") + format);
        ASSERT_EQ(picture.width, 640) << format;
        ASSERT_EQ(picture.height, 480) << format;
        const auto number = numberIn(picture);
        ASSERT_TRUE(number) << format;
        const int begin =
            static_cast<int>(*number % barCycle(camera.kind()) * 640 / barCycle(camera.kind()));
        // From where the bars begin, the second of eight is yellow, the sixth red, the seventh
        // blue.
        expectYellowRedBlue(picture, (120 + 640 - begin) % 640, (440 + 640 - begin) % 640,
                            (520 + 640 - begin) % 640, format);
    }
    const std::string file = (pictureFolder() / "usb.h264").string();
    const ToolResult result =
        run({"capture", camera.id(), "--count", "5", "--size", "640x480", "-o", file});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_GT(std::filesystem::file_size(file), 100U);
}

TEST_F(TheTool, EndsWithACodeOfItsOwnWhenTheCableIsPulled) {
    UsbCamera& camera = usbCamera();
    const ToolTest::Folder folder;
    const std::string file = folder.path("film.y4m");
    auto tool = ToolTest::startTool(
        {"capture", camera.id(), "--format", "YUYV", "--size", "320x240", "-o", file},
        {{"LUMIQ_PLUGIN", ""}});
    ASSERT_TRUE(TestSupport::waitUntil([&] {
        std::error_code none;
        const auto size = std::filesystem::file_size(file, none);
        return !none && size > 1'000'000;
    }));
    const std::string id = camera.id();
    camera.unplug();
    EXPECT_EQ(ToolTest::finish(tool).code, 5);
    EXPECT_TRUE(desk.cameras().waitUntilGone(id));
}

}  // namespace
