// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam, the real plug-in, the device-access service and simulated cameras, from end to end:
// what happens when something goes wrong, or away.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "camera-desk.h"
#include "picture-file.h"

namespace {

using namespace ToolTest;
using testing::HasSubstr;
using testing::Not;

TEST(Unplugging, EndsTheCaptureOfThatCameraOnly) {
    CameraDesk desk({"yuyv-webcam", "unplugs-while-streaming"});
    Folder folder;
    auto beside = desk.start({"capture", "0", "--size", "320x240", "--duration", "3", "--json"});
    const auto result =
        desk.run({"capture", "1", "--size", "320x240", "-o", folder.path("a.y4m"), "--json"});
    EXPECT_EQ(result.code, 5) << result.err;
    EXPECT_EQ(result.json()["end"], "removed");
    EXPECT_GE(parseY4m(readFile(folder.path("a.y4m"))).frames.size(), 1U);
    const auto other = finish(beside);
    EXPECT_EQ(other.code, 0) << other.err;
    EXPECT_EQ(other.json()["end"], "duration");
    EXPECT_THAT(desk.run({"list"}).out, Not(HasSubstr("Loose cable")));
}

TEST(Unplugging, IsNoticedByWatch) {
    CameraDesk desk({"yuyv-webcam"});
    auto watch = desk.start({"watch", "--json", "--count", "3"});
    ASSERT_TRUE(waitForError(watch, "watching"));
    ASSERT_EQ(desk.control({"plug", CameraDesk::description("planar")}), 0);
    ASSERT_EQ(desk.control({"unplug", "sim0"}), 0);
    ASSERT_EQ(desk.control({"unplug", "sim1"}), 0);
    const auto result = finish(watch);
    EXPECT_EQ(result.code, 0) << result.err;
    const auto lines = result.jsonLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0]["event"], "present");
    EXPECT_EQ(lines[1]["event"], "added");
    EXPECT_EQ(lines[1]["camera"]["name"], "Planar camera");
    EXPECT_EQ(lines[2]["camera"]["id"], CameraDesk::idOf("sim0"));
    EXPECT_EQ(lines[3]["event"], "removed");
}

// The writer of the first frame shows that the capture runs.
TestSupport::ChildProcess startCapturing(const CameraDesk& desk, const Folder& folder,
                                         std::vector<std::string> more) {
    more.insert(more.begin(),
                {"capture", "0", "--size", "320x240", "--json", "-o", folder.path("a.y4m")});
    auto process = desk.start(more);
    while (folder.names().empty() && process.running()) {
    }
    return process;
}

TEST(AStall, TimesOut) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    auto process = startCapturing(desk, folder, {"--timeout", "1"});
    ASSERT_EQ(desk.control({"fault", "sim0", R"({"frame": "stall"})"}), 0);
    const auto result = finish(process);
    EXPECT_EQ(result.code, 6) << result.err;
    EXPECT_EQ(result.json()["end"], "timed-out");
}

TEST(ABrokenStream, IsNotTakenForARemoval) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    auto process = startCapturing(desk, folder, {});
    ASSERT_EQ(desk.control({"fault", "sim0", R"({"frame": "broken"})"}), 0);
    const auto result = finish(process);
    EXPECT_EQ(result.code, 7) << result.err;
    EXPECT_THAT(result.err, HasSubstr("error revents: 8"));
    EXPECT_EQ(desk.run({"capture", "0", "--count", "3"}).code, 0);
}

TEST(LostFrames, AreCounted) {
    CameraDesk desk({"yuyv-webcam"});
    ASSERT_EQ(desk.control({"fault", "sim0", R"({"frame": "lost", "first": 10, "count": 3})"}), 0);
    const auto result = desk.run({"capture", "0", "--size", "320x240", "--count", "40", "--json"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_GE(result.json()["frames"]["lost"].get<int>(), 3);
}

TEST(ARefusal, IsShownInTheDriversWords) {
    CameraDesk desk({"yuyv-webcam"});
    ASSERT_EQ(
        desk.control({"fault", "sim0",
                      R"({"call": "VIDIOC_STREAMON", "errno": "ENOSPC", "count": "always"})"}),
        0);
    const auto result = desk.run({"capture", "0", "--count", "3", "--json"});
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("Failed to turn on a stream: No space left on device (28)"));
    EXPECT_THAT(result.json()["error"]["log"].dump(), HasSubstr("(28)"));
}

TEST(BuffersShorterThanTheImage, AreNotRead) {
    CameraDesk desk({"yuyv-webcam"});
    ASSERT_EQ(
        desk.control({"fault", "sim0",
                      R"({"call": "VIDIOC_REQBUFS", "bufferBytes": 1000, "count": "always"})"}),
        0);
    Folder folder;
    for (const char* name : {"a.raw", "a.png"}) {
        const auto result = desk.run({"capture", "0", "-o", folder.path(name)});
        EXPECT_EQ(result.code, 7) << result.err;
        EXPECT_THAT(result.err, HasSubstr("none can be used"));
    }
}

TEST(ASizeThatTheDriverReplaces, IsNotReadBeyondItsBuffers) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    const auto result = desk.run({"capture", "0", "--exact", "--format", "YUYV", "--size",
                                  "1920x1080", "-o", folder.path("a.raw")});
    EXPECT_EQ(result.code, 7) << result.err;
    EXPECT_THAT(result.err, HasSubstr("does not hold the whole image"));
}

TEST(DamagedPictures, DoNotEndACapture) {
    CameraDesk desk({"mjpeg-720p"});
    ASSERT_EQ(desk.control(
                  {"fault", "sim0", R"({"frame": "garbled", "first": 2, "every": 2, "count": 3})"}),
              0);
    Folder folder;
    const auto result = desk.run(
        {"capture", "0", "--size", "640x480", "--count", "8", "-o", folder.path("%d.png")});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(folder.names().size(), 8U);
}

TEST(ASignal, EndsACaptureWithItsSummary) {
    CameraDesk desk({"yuyv-webcam"});
    for (const int signal : {SIGINT, SIGTERM}) {
        Folder folder;
        auto process = startCapturing(desk, folder, {});
        process.signal(signal);
        const auto result = finish(process);
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(result.json()["end"], "stopped");
        const Y4m video = parseY4m(readFile(folder.path("a.y4m")));
        EXPECT_EQ(result.json()["output"]["frames"], video.frames.size());
    }
}

TEST(WithoutAService, TheToolSaysSo) {
    const TestSupport::PrivateBus bus;
    const auto result =
        runTool({"list"}, {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}, {"LUMIQ_PLUGIN", ""}});
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr("Can't init gatehold"));
    EXPECT_THAT(result.err, HasSubstr("lumiq-gatehold"));
}

TEST(WithoutABus, TheToolSaysSo) {
    const auto result =
        runTool({"list", "--json"},
                {{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"}, {"LUMIQ_PLUGIN", ""}});
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(result.json()["error"]["name"], "no-service");
    EXPECT_THAT(result.err, HasSubstr("/nonexistent/bus"));
}

TEST(AServiceThatDies, LeavesACaptureAlone) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    auto process = startCapturing(desk, folder, {"--count", "20"});
    desk.service().process().signal(SIGKILL);
    const auto result = finish(process);
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.json()["output"]["frames"], 20);
}

TEST(ABusThatDies, LeavesACaptureAlone) {
    CameraDesk desk({"yuyv-webcam"});
    Folder folder;
    auto process = startCapturing(desk, folder, {"--count", "20"});
    desk.bus().stop();
    const auto result = finish(process);
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.json()["output"]["frames"], 20);
}

TEST(ABusThatDies, IsReportedByWatch) {
    CameraDesk desk({"yuyv-webcam"});
    auto process = desk.start({"watch"});
    ASSERT_TRUE(waitForError(process, "watching"));
    desk.bus().stop();
    EXPECT_TRUE(waitForError(process, "[lumiq-v4l2-camera]"));
    process.signal(SIGTERM);
    EXPECT_EQ(finish(process).code, 0);
}

TEST(TheLog, IsThePluginsOwn) {
    CameraDesk desk({"yuyv-webcam"});
    const auto result = desk.run({"capture", "0", "--count", "1", "--verbose"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.err, HasSubstr("Selected size: 640x480"));
}

}  // namespace
