// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Questions in the middle of which a stop on another thread closes the device.

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>

#include "capture-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormat;
using Simulator::TracedCall;
using TestSupport::CaptureFixture;
using TestSupport::HostThread;
using TestSupport::vga;
using TestSupport::waitUntil;

// Whatever is listed, the entry that counts comes last.
constexpr const char* cutCamera = R"({"name": "Cut", "intervals": ["1/5", "1/15", "1/30"],
    "formats": [
        {"fourcc": "MJPG", "sizes": ["160x120", "320x240", "1280x720"]},
        {"fourcc": "YUYV", "sizes": ["160x120", "320x240", "640x480"]},
        {"fourcc": "YU12", "sizes": ["800x600"]}]})";

std::string sizeText(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string formatsOf(Camera& camera) {
    std::string text;
    for (const auto& each : camera.getSupportedFormats()) {
        text += (text.empty() ? "" : " ") + toString(each.format);
    }
    return text;
}

std::string capabilitiesOf(Camera& camera) {
    std::vector<CameraCapability> capabilities;
    if (!camera.queryCapabilities(capabilities)) {
        return "none";
    }
    std::string text;
    for (const CameraCapability& each : capabilities) {
        text += (text.empty() ? "" : " ") + sizeText(each.width, each.height);
    }
    return text;
}

// A question that has no answer must not touch what it was given.
template <PixelFormat Format>
std::string rangesOf(Camera& camera) {
    CameraCapabilityRanges ranges;
    ranges.maxWidth = 1;
    ranges.maxHeight = 2;
    ranges.maxFps = {3, 1};
    const bool found = camera.queryCapabilityRanges(Format, ranges);
    return (found ? "" : "none but ") + sizeText(ranges.maxWidth, ranges.maxHeight) + " at " +
           std::to_string(ranges.maxFps.numerator);
}

template <CameraCapabilityPriority Priority>
std::string closestOf(Camera& camera) {
    CameraCapabilityEx closest{1, 2, {3, 1}};
    const bool found = camera.findClosestCapability(PixelFormat::YUYV, vga, closest, Priority);
    return (found ? "" : "none but ") + sizeText(closest.width, closest.height) + " at " +
           std::to_string(closest.fps.numerator);
}

struct Question {
    const char* name;
    const char* cutAt;  ///< Its second request of this kind is held until the stop has come.
    std::string (*ask)(Camera&);
    const char* wholeAnswer;
    const char* noAnswer;
};

void PrintTo(const Question& question, std::ostream* stream) {
    *stream << question.name;
}

class AQuestionCutShort : public CaptureFixture, public ::testing::WithParamInterface<Question> {
protected:
    std::shared_ptr<Camera> camera;
    std::string answer;

    /// Asks while the camera captures and closes the device in the middle. Before the question can
    /// notice, `meanwhile` happens.
    void askAndCut(const std::function<void()>& meanwhile) {
        camera = plugAndOpen(cutCamera);
        ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
        // A request that is interrupted again and again goes on asking, and keeps a close waiting.
        const std::string call = GetParam().cutAt;
        device().setFault(R"({"call": ")" + call +
                          R"(", "errno": "EINTR", "first": 2, "count": "always"})");
        Simulator::startTrace();
        HostThread asking([this] { answer = GetParam().ask(*camera); });
        EXPECT_TRUE(waitUntil([&] { return hasSeen(call, EINTR); }));
        HostThread stopping([this] { EXPECT_TRUE(camera->stopCapture()); });
        EXPECT_TRUE(waitUntil([&] { return hasSeen("VIDIOC_STREAMOFF", 0); }));
        Simulator::stopTrace();
        EXPECT_TRUE(stopping.fallsAsleep()) << "the close, the last that a stop does";
        meanwhile();
        device().clearFaults();
    }

    /// The service does not know the camera any more.
    void leave() {
        service->remove(path(onlyCamera));
        EXPECT_TRUE(managerListener.waitFor("removed " + path(onlyCamera)));
    }

private:
    static bool hasSeen(const std::string& name, int error) {
        const auto calls = Simulator::tracedCalls();
        return std::any_of(calls.begin(), calls.end(), [&](const TracedCall& call) {
            return call.name == name && call.error == error;
        });
    }
};

TEST_P(AQuestionCutShort, IsPutAgainAndGivesTheWholeAnswer) {
    askAndCut([] {});
    EXPECT_EQ(answer, GetParam().wholeAnswer);
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 2);
    EXPECT_FALSE(camera->captureStarted());
}

TEST_P(AQuestionCutShort, HasNoAnswerWhenTheDeviceCannotBeOpenedAgain) {
    askAndCut([this] { leave(); });
    EXPECT_EQ(answer, GetParam().noAnswer);
    EXPECT_TRUE(log.waitForPrefix("openDevice: Can't open a camera: "));
}

TEST_P(AQuestionCutShort, LeavesNothingHalfRemembered) {
    askAndCut([this] { leave(); });
    plug(onlyCamera, cutCamera);
    EXPECT_EQ(GetParam().ask(*camera), GetParam().wholeAnswer);
}

constexpr const char* sizes = "VIDIOC_ENUM_FRAMESIZES";
constexpr const char* intervals = "VIDIOC_ENUM_FRAMEINTERVALS";
constexpr const char* formats = "VIDIOC_ENUM_FMT";
constexpr const char* untouched = "none but 1x2 at 3";

INSTANTIATE_TEST_SUITE_P(
    For, AQuestionCutShort,
    ::testing::Values(
        Question{"Formats", formats, formatsOf,
                 "YUV420Planar YCbCrFlexible Raw Encoded Preferred MJPG YUYV", ""},
        Question{"Capabilities", sizes, capabilitiesOf, "160x120 320x240 1280x720", "none"},
        Question{"Sizes", sizes, rangesOf<PixelFormat::YUYV>, "640x480 at 30", untouched},
        Question{"Rates", intervals, rangesOf<PixelFormat::YUYV>, "640x480 at 30", untouched},
        Question{"PlanarSizes", formats, rangesOf<PixelFormat::YUV420Planar>, "800x600 at 30",
                 untouched},
        Question{"TheClosestSize", sizes, closestOf<CameraCapabilityPriority::SizeWidth>,
                 "640x480 at 30", untouched},
        Question{"TheRateOfTheClosestSize", intervals,
                 closestOf<CameraCapabilityPriority::SizeHeight>, "640x480 at 30", untouched},
        Question{"TheClosestRate", intervals, closestOf<CameraCapabilityPriority::FpsWidth>,
                 "640x480 at 30", untouched}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
