// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How a capture is negotiated, started and stopped, call by call.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>

#include "capture-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraParameter;
using Nerio::Lumiq::PixelFormat;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::CaptureFixture;
using TestSupport::qvga;
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

constexpr const char* yuyvCamera = R"({"name": "YUYV", "formats": [
    {"fourcc": "YUYV", "sizes": ["640x480", "320x240"]}]})";
constexpr const char* everyFormat = R"({"name": "All", "formats": [
    {"fourcc": "MJPG", "sizes": ["640x480", "1280x720", "320x240"]},
    {"fourcc": "UYVY", "sizes": ["640x480"]}, {"fourcc": "YUYV", "sizes": ["640x480"]},
    {"fourcc": "NV12", "sizes": ["640x480"]}, {"fourcc": "YU12", "sizes": ["640x480"]},
    {"fourcc": "JPEG", "sizes": ["640x480"]}, {"fourcc": "VP80", "sizes": ["640x480"]},
    {"fourcc": "H264", "sizes": ["640x480", "1280x720"]}]})";

class ACameraThatStarts : public CaptureFixture {};

TEST_F(ACameraThatStarts, NegotiatesMapsAndStreamsInThisOrder) {
    const auto camera = plugAndOpen(yuyvCamera);
    Simulator::startTrace();
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(camera->captureStarted());
    std::vector<std::string> calls = withoutEnumeration(Simulator::stopTrace());
    calls.resize(std::min<std::size_t>(calls.size(), 17));
    EXPECT_THAT(calls,
                ElementsAre("VIDIOC_S_FMT", "VIDIOC_G_PARM", "VIDIOC_S_PARM", "VIDIOC_REQBUFS",
                            "VIDIOC_QUERYBUF", "mmap", "VIDIOC_QBUF", "VIDIOC_QUERYBUF", "mmap",
                            "VIDIOC_QBUF", "VIDIOC_QUERYBUF", "mmap", "VIDIOC_QBUF",
                            "VIDIOC_QUERYBUF", "mmap", "VIDIOC_QBUF", "VIDIOC_STREAMON"));
    EXPECT_TRUE(camera->stopCapture());
}

/// How the process may use the memory at this address: "r--s" (proc(5), /proc/pid/maps).
std::string accessTo(std::uint64_t address) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        char dash = 0;
        std::string access;
        fields >> std::hex >> begin >> dash >> end >> access;
        if (begin <= address && address < end) {
            return access;
        }
    }
    return "";
}

TEST_F(ACameraThatStarts, AsksForFourBuffersAndSharesThemToReadOnly) {
    // Without a number of its own the camera grants what it is asked for.
    const auto camera = plugAndOpen(yuyvCamera);
    Simulator::startTrace();
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    std::vector<std::string> access;
    for (const Simulator::TracedCall& call : Simulator::stopTrace()) {
        if (call.name == "VIDIOC_REQBUFS") {
            EXPECT_EQ(call.index, 4U);
        } else if (call.name == "mmap") {
            access.push_back(accessTo(call.result));
        }
    }
    EXPECT_THAT(access, ElementsAre("r--s", "r--s", "r--s", "r--s"));
    camera->stopCapture();
}

TEST_F(ACameraThatStarts, SaysWhatItWasAskedForAndWhatItChose) {
    const auto camera = plugAndOpen(yuyvCamera);
    (void)camera->getSupportedFormats();
    log.clear();
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUV420Planar));
    camera->stopCapture();
    std::vector<std::string> messages = log.messages();
    std::erase_if(messages,
                  [](const std::string& each) { return each.rfind("startCapture: ", 0) != 0; });
    EXPECT_THAT(messages, ElementsAre("startCapture: Desired format: YUV420Planar",
                                      "startCapture: Selected format: YUYV",
                                      "startCapture: Selected size: 640x480"));
}

TEST_F(ACameraThatStarts, UnmapsThenStreamsOffThenClosesWhenItStops) {
    const auto camera = plugAndOpen(yuyvCamera);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    Simulator::startTrace();
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_FALSE(camera->captureStarted());
    std::vector<std::string> calls = withoutEnumeration(Simulator::stopTrace());
    std::erase(calls, "VIDIOC_QBUF");
    EXPECT_THAT(calls,
                ElementsAre("munmap", "munmap", "munmap", "munmap", "VIDIOC_STREAMOFF", "close"));
    EXPECT_TRUE(closesEverything());
}

TEST_F(ACameraThatStarts, OpensTheDeviceAgainForEveryStart) {
    const auto camera = plugAndOpen(yuyvCamera);
    for (int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
        EXPECT_EQ(service->openCalls(path(onlyCamera)), round);
        ASSERT_TRUE(camera->stopCapture());
    }
}

TEST_F(ACameraThatStarts, RefusesAFormatItDoesNotOfferWithoutTouchingTheStream) {
    const auto camera = plugAndOpen(yuyvCamera);
    for (const auto format :
         {PixelFormat::MJPG, PixelFormat::HEVC, PixelFormat::VP90, PixelFormat::YU12,
          PixelFormat::Invalid, PixelFormat::Mappable, static_cast<PixelFormat>(3)}) {
        log.clear();
        Simulator::startTrace();
        EXPECT_FALSE(camera->startCapture(vga, format));
        EXPECT_THAT(withoutEnumeration(Simulator::stopTrace()), IsEmpty());
        for (const std::string& message : log.messages()) {
            EXPECT_NE(message.rfind("startCapture: ", 0), 0U) << message;
        }
    }
}

TEST_F(ACameraThatStarts, PassesAPlainCapabilityOnWithItsRateOverOne) {
    // The one rate that the camera would take by itself is another.
    const auto camera = plugAndOpen(R"({"name": "Plain", "formats": [
        {"fourcc": "YUYV", "sizes": ["320x240"], "intervals": ["1/5", "1/100"]}]})");
    RecordingCameraListener listener;
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapability{320, 240, 100}, PixelFormat::YUYV));
    EXPECT_TRUE(log.has("startCapture: Selected size: 320x240"));
    ASSERT_TRUE(listener.waitForFrames(20));
    const auto times = listener.timestamps();
    EXPECT_LT(times[19] - times[0], 2'000'000) << "at five a second it would be four seconds";
    camera->setListener(nullptr);
    camera->stopCapture();
}

TEST_F(ACameraThatStarts, TakesRawForPreferredUpToVgaAndEncodedAbove) {
    const auto camera = plugAndOpen(everyFormat);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::Preferred));
    EXPECT_TRUE(log.has("startCapture: Desired format: Raw"));
    EXPECT_EQ(selected(), "YU12");
    camera->stopCapture();
    for (const CameraCapabilityEx& large :
         {CameraCapabilityEx{641, 480, {30, 1}}, CameraCapabilityEx{1280, 720, {30, 1}}}) {
        log.clear();
        ASSERT_TRUE(camera->startCapture(large, PixelFormat::Preferred));
        EXPECT_TRUE(log.has("startCapture: Desired format: Encoded"));
        EXPECT_EQ(selected(), "H264");
        camera->stopCapture();
    }
}

struct Choice {
    const char* name;
    std::vector<std::string> offered;  ///< In the device's order.
    PixelFormat wish;
    std::string chosen;  ///< Empty: no start.
};

class TheChoiceOfACode : public ACameraThatStarts, public ::testing::WithParamInterface<Choice> {};

TEST_P(TheChoiceOfACode, FollowsThePreferenceNotTheDevice) {
    std::string formats;
    for (const std::string& code : GetParam().offered) {
        formats += (formats.empty() ? "" : ",") +
                   (R"({"fourcc": ")" + code + R"(", "sizes": ["640x480"]})");
    }
    const auto camera = plugAndOpen(R"({"name": "C", "formats": [)" + formats + "]}");
    const bool started = camera->startCapture(vga, GetParam().wish);
    EXPECT_EQ(started, !GetParam().chosen.empty());
    EXPECT_EQ(selected(), GetParam().chosen);
    camera->stopCapture();
    EXPECT_EQ(log.has("startCapture: No supported video formats found"), !started);
}

INSTANTIATE_TEST_SUITE_P(
    Captures, TheChoiceOfACode,
    ::testing::Values(
        Choice{
            "PlanarBeforeAll", {"MJPG", "UYVY", "YUYV", "YU12"}, PixelFormat::YUV420Planar, "YU12"},
        Choice{"PlanarFromYuyv", {"MJPG", "YUYV"}, PixelFormat::YUV420Planar, "YUYV"},
        Choice{"PlanarFromUyvy", {"MJPG", "UYVY"}, PixelFormat::YUV420Planar, "UYVY"},
        Choice{"PlanarFromJpeg", {"MJPG"}, PixelFormat::YUV420Planar, "MJPG"},
        Choice{"SemiPlanar", {"YUYV", "NV12"}, PixelFormat::YUV420SemiPlanar, "NV12"},
        Choice{
            "FlexibleTakesJpegFirst", {"YU12", "NV12", "MJPG"}, PixelFormat::YCbCrFlexible, "MJPG"},
        Choice{"FlexibleThenPlanar", {"YUYV", "NV12", "YU12"}, PixelFormat::YCbCrFlexible, "YU12"},
        Choice{"FlexibleThenSemiPlanar", {"YUYV", "NV12"}, PixelFormat::YCbCrFlexible, "NV12"},
        Choice{"FlexibleLast", {"UYVY"}, PixelFormat::YCbCrFlexible, "UYVY"},
        Choice{"RawOrder", {"UYVY", "YUYV", "NV12"}, PixelFormat::Raw, "NV12"},
        Choice{"RawWithoutRaw", {"MJPG"}, PixelFormat::Raw, ""},
        Choice{"EncodedOrder", {"JPEG", "MJPG", "VP80"}, PixelFormat::Encoded, "VP80"},
        Choice{"EncodedH264First", {"MJPG", "H264"}, PixelFormat::Encoded, "H264"},
        Choice{"EncodedJpegLast", {"YUYV", "JPEG"}, PixelFormat::Encoded, "JPEG"},
        Choice{"EncodedWithoutEncoded", {"YUYV"}, PixelFormat::Encoded, ""},
        Choice{"PreferredSmallWithoutRaw", {"MJPG"}, PixelFormat::Preferred, ""},
        Choice{"ItselfOnly", {"YU12", "UYVY"}, PixelFormat::UYVY, "UYVY"},
        Choice{"MotionJpegItself", {"YU12", "MJPG"}, PixelFormat::MJPG, "MJPG"},
        Choice{"H264Itself", {"YU12", "H264"}, PixelFormat::H264, "H264"}),
    [](const auto& test) { return test.param.name; });

TEST_F(ACameraThatStarts, LeavesARunningCaptureOfTheSameSizeAlone) {
    const auto camera = plugAndOpen(everyFormat);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    Simulator::startTrace();
    EXPECT_TRUE(camera->startCapture({640, 480, {5, 1}}, PixelFormat::MJPG));
    const auto calls = withoutEnumeration(Simulator::stopTrace());
    EXPECT_THAT(calls, Not(Contains("VIDIOC_S_FMT")));
    EXPECT_THAT(calls, Not(Contains("VIDIOC_STREAMOFF")));
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1);
    camera->stopCapture();
}

TEST_F(ACameraThatStarts, RestartsARunningCaptureOfAnotherSize) {
    const auto camera = plugAndOpen(yuyvCamera);
    RecordingCameraListener listener;
    std::atomic<int> width{0};
    listener.onFrame = [&](const auto& buffer) { width = buffer->width; };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(1));
    EXPECT_EQ(width, 640);
    ASSERT_TRUE(camera->startCapture(qvga, PixelFormat::YUYV));
    const std::size_t before = listener.frameCount();
    ASSERT_TRUE(listener.waitForFrames(before + 2));
    EXPECT_EQ(width, 320);
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 2);
    camera->stopCapture();
    camera->setListener(nullptr);
}

TEST_F(ACameraThatStarts, RestartsARunningCaptureThatDiffersInOneSideOnly) {
    const auto camera = plugAndOpen(R"({"name": "YUYV", "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480", "640x360", "320x360"]}]})");
    int opened = 0;
    for (const auto& [width, height] : {std::pair{640U, 480U}, {640U, 360U}, {320U, 360U}}) {
        ASSERT_TRUE(
            camera->startCapture(CameraCapabilityEx{width, height, {30, 1}}, PixelFormat::YUYV));
        EXPECT_EQ(service->openCalls(path(onlyCamera)), ++opened);
    }
    camera->stopCapture();
}

TEST_F(ACameraThatStarts, StopsWithoutTouchingTheDeviceWhenNothingRuns) {
    const auto camera = plugAndOpen(yuyvCamera);
    Simulator::startTrace();
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_THAT(TestSupport::ofThisThread(Simulator::stopTrace()), IsEmpty());
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 0);
}

TEST_F(ACameraThatStarts, OffersNoControls) {
    const auto camera = plugAndOpen(yuyvCamera);
    const CameraParameter any{0};
    EXPECT_EQ(camera->getParameterRange(any), "");
    EXPECT_EQ(camera->getParameter(any), "");
    EXPECT_FALSE(camera->setParameter(any, "1"));
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 0);
}

TEST_F(ACameraThatStarts, AsksForTheRateInverted) {
    const auto camera = plugAndOpen(R"({"name": "Rates", "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"], "intervals": ["1/100", "1/5"]}]})");
    RecordingCameraListener listener;
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture({640, 480, {100, 1}}, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(20));
    camera->stopCapture();
    const auto times = listener.timestamps();
    // Nineteen intervals of a hundredth of a second; at five frames a second it would be four
    // seconds.
    EXPECT_LT(times[19] - times[0], 2'000'000);
    EXPECT_GT(times[19] - times[0], 100'000);
    camera->setListener(nullptr);
}

TEST_F(ACameraThatStarts, SurvivesTwoHundredStartsWithoutALeak) {
    const auto camera = plugAndOpen(yuyvCamera);
    RecordingCameraListener listener;
    camera->setListener(&listener);
    for (int round = 0; round < 200; ++round) {
        ASSERT_TRUE(camera->startCapture(round % 2 == 0 ? vga : qvga, PixelFormat::YUYV)) << round;
        ASSERT_TRUE(camera->stopCapture());
    }
    camera->setListener(nullptr);
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
    EXPECT_TRUE(closesEverything());
    EXPECT_THAT(listener.errors(), IsEmpty());
}

TEST_F(ACameraThatStarts, TearsDownOnceWhenTwoThreadsStopIt) {
    const auto camera = plugAndOpen(yuyvCamera);
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
        Simulator::startTrace();
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] { EXPECT_TRUE(camera->stopCapture()); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        const auto calls = withoutEnumeration(Simulator::stopTrace());
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "VIDIOC_STREAMOFF"), 1);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "munmap"), 4);
    }
}

TEST_F(ACameraThatStarts, StartsAndStopsFromManyThreadsAtOnce) {
    const auto camera = plugAndOpen(yuyvCamera);
    RecordingCameraListener listener;
    camera->setListener(&listener);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 25; ++round) {
                EXPECT_TRUE(
                    camera->startCapture((i + round) % 2 == 0 ? vga : qvga, PixelFormat::YUYV))
                    << log.text();
                EXPECT_TRUE(camera->stopCapture());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    camera->stopCapture();
    camera->setListener(nullptr);
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
    EXPECT_TRUE(closesEverything());
}

}  // namespace
