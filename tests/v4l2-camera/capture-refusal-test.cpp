// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starts and stops of cameras that refuse something, or give something else than they were asked
// for.

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>

#include "capture-fixture.h"

namespace {

using Nerio::Lumiq::PixelFormat;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::CaptureFixture;
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

std::string withFault(const std::string& fault, const std::string& more = "") {
    return R"({"name": "Faulty", )" + more +
           R"("formats": [{"fourcc": "YUYV", "sizes": ["640x480", "320x240"]}], "faults": [)" +
           fault + "]}";
}

std::string failing(const std::string& call, const std::string& error, int first = 1) {
    return withFault(R"({"call": ")" + call + R"(", "errno": ")" + error +
                     R"(", "count": "always", "first": )" + std::to_string(first) + "}");
}

class ACameraThatRefuses : public CaptureFixture {};

TEST_F(ACameraThatRefuses, SetsNoRateOnADeviceThatHasNone) {
    const auto camera = plugAndOpen(withFault("", R"("timePerFrame": false, )"));
    Simulator::startTrace();
    EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_THAT(withoutEnumeration(Simulator::stopTrace()), Not(Contains("VIDIOC_S_PARM")));
    camera->stopCapture();
}

struct RateRefusal {
    const char* name;
    const char* call;
};
class ARefusedRate : public ACameraThatRefuses,
                     public ::testing::WithParamInterface<RateRefusal> {};

TEST_P(ARefusedRate, IsLoggedAndDoesNotStopTheStart) {
    const std::string call = GetParam().call;
    const auto camera = plugAndOpen(failing(call, "EIO"));
    EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_EQ(log.count("startCapture: " + call + " error: 5"), 1U);
    camera->stopCapture();
}

INSTANTIATE_TEST_SUITE_P(Asked, ARefusedRate,
                         ::testing::Values(RateRefusal{"WhenRead", "VIDIOC_G_PARM"},
                                           RateRefusal{"WhenSet", "VIDIOC_S_PARM"}),
                         [](const auto& test) { return test.param.name; });

struct Refusal {
    const char* name;
    const char* call;
    int first;         ///< Which call of it fails, and all after it.
    const char* line;  ///< With TEXT and NUMBER in place of the error's.
    std::size_t mappingsLeft;
};
struct Errno {
    const char* name;
    int number;
};

class ARefusedStart : public ACameraThatRefuses,
                      public ::testing::WithParamInterface<std::tuple<Refusal, Errno>> {
protected:
    const Refusal refusal = std::get<0>(GetParam());
    const Errno error = std::get<1>(GetParam());

    [[nodiscard]] std::string line() const {
        std::string text = refusal.line;
        if (const auto at = text.find("TEXT"); at != std::string::npos) {
            text.replace(at, 4, std::strerror(error.number));
        }
        return text.replace(text.find("NUMBER"), 6, std::to_string(error.number));
    }
};

TEST_P(ARefusedStart, SaysWhyOnceAndLeavesWhatIsMapped) {
    const auto camera = plugAndOpen(failing(refusal.call, error.name, refusal.first));
    log.clear();
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_FALSE(camera->captureStarted());
    std::vector<std::string> errors = log.messages();
    std::erase_if(errors, [](const std::string& each) {
        return each.find("fail") == std::string::npos && each.find("error") == std::string::npos &&
               each.find("Failed") == std::string::npos;
    });
    EXPECT_THAT(errors, ElementsAre(line()));
    EXPECT_EQ(Simulator::liveCount().mappings, refusal.mappingsLeft);
    EXPECT_EQ(device().openHandles(), 1U) << "the device stays open for the next start";

    // A stop has nothing to stop, and the camera's end lets go of everything.
    Simulator::startTrace();
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_THAT(TestSupport::ofThisThread(Simulator::stopTrace()), IsEmpty());
}

TEST_P(ARefusedStart, LeavesNothingBehindWhenTheCameraGoes) {
    auto camera = plugAndOpen(failing(refusal.call, error.name, refusal.first));
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1) << "the next start uses the open device";
    camera.reset();
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
    EXPECT_TRUE(closesEverything());
}

INSTANTIATE_TEST_SUITE_P(
    At, ARefusedStart,
    ::testing::Combine(
        ::testing::Values(
            Refusal{"SFmt", "VIDIOC_S_FMT", 1, "startCapture: VIDIOC_S_FMT error: NUMBER", 0},
            Refusal{"ReqBufs", "VIDIOC_REQBUFS", 1,
                    "allocBuffers: VIDIOC_REQBUFS failed: TEXT(NUMBER)", 0},
            Refusal{"QueryBuf", "VIDIOC_QUERYBUF", 3,
                    "allocBuffers: VIDIOC_QUERYBUF failed: TEXT(NUMBER)", 2},
            Refusal{"Mmap", "mmap", 3, "allocBuffers: mmap failed: TEXT(NUMBER)", 0},
            Refusal{"QBuf", "VIDIOC_QBUF", 3, "allocBuffers: VIDIOC_QBUF failed: TEXT(NUMBER)", 3},
            Refusal{"StreamOn", "VIDIOC_STREAMON", 1,
                    "startCapture: Failed to turn on a stream: TEXT (NUMBER)", 0}),
        ::testing::Values(Errno{"EPERM", EPERM}, Errno{"EINVAL", EINVAL}, Errno{"EBUSY", EBUSY},
                          Errno{"EIO", EIO}, Errno{"ENODEV", ENODEV}, Errno{"ENOTTY", ENOTTY},
                          Errno{"EAGAIN", EAGAIN}, Errno{"ENOMEM", ENOMEM},
                          Errno{"ENOSPC", ENOSPC})),
    [](const auto& test) {
        return std::string(std::get<0>(test.param).name) + "By" + std::get<1>(test.param).name;
    });

struct LateRefusal {
    const char* name;
    const char* call;
};
class AStartThatFailedLate : public ACameraThatRefuses,
                             public ::testing::WithParamInterface<LateRefusal> {};

TEST_P(AStartThatFailedLate, LeavesTheDriverWithItsBuffersSoThatTheNextOneIsRefused) {
    auto camera = plugAndOpen(withFault(std::string(R"({"call": ")") + GetParam().call +
                                        R"(", "errno": "EPERM", "count": 1})"));
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_FALSE(log.has("startCapture: VIDIOC_S_FMT error: 16"));
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_EQ(log.count("startCapture: VIDIOC_S_FMT error: 16"), 1U);
    EXPECT_FALSE(camera->captureStarted());
    // Another camera object for the same device has a handle of its own, and no buffers.
    camera.reset();
    ASSERT_TRUE(closesEverything());
    camera = manager.openCamera(path(onlyCamera));
    EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    camera->stopCapture();
}

INSTANTIATE_TEST_SUITE_P(At, AStartThatFailedLate,
                         ::testing::Values(LateRefusal{"QueryBuf", "VIDIOC_QUERYBUF"},
                                           LateRefusal{"Mmap", "mmap"},
                                           LateRefusal{"QBuf", "VIDIOC_QBUF"},
                                           LateRefusal{"StreamOn", "VIDIOC_STREAMON"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(ACameraThatRefuses, UnmapsAndStreamsOffAfterAStreamThatDidNotStart) {
    const auto camera = plugAndOpen(failing("VIDIOC_STREAMON", "ENOSPC"));
    Simulator::startTrace();
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    std::vector<std::string> calls = withoutEnumeration(Simulator::stopTrace());
    calls.erase(calls.begin(), std::find(calls.begin(), calls.end(), "VIDIOC_STREAMON"));
    EXPECT_THAT(calls, ElementsAre("VIDIOC_STREAMON", "munmap", "munmap", "munmap", "munmap",
                                   "VIDIOC_STREAMOFF"));
}

TEST_F(ACameraThatRefuses, UsesFourOfMoreBuffers) {
    const auto camera = plugAndOpen(withFault("", R"("buffers": 8, )"));
    RecordingCameraListener listener;
    camera->setListener(&listener);
    Simulator::startTrace();
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(6));
    camera->stopCapture();
    const auto calls = withoutEnumeration(Simulator::stopTrace());
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "mmap"), 4);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "munmap"), 4);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "VIDIOC_QUERYBUF"), 4);
    camera->setListener(nullptr);
}

TEST_F(ACameraThatRefuses, UsesFewerBuffersWhenItGetsNoMore) {
    const auto camera = plugAndOpen(withFault("", R"("buffers": 2, )"));
    RecordingCameraListener listener;
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_EQ(Simulator::liveCount().mappings, 2U);
    EXPECT_TRUE(listener.waitForFrames(6));
    camera->stopCapture();
    camera->setListener(nullptr);
}

TEST_F(ACameraThatRefuses, LeavesADeviceThatGrantsNoBuffersToTheDriversRefusal) {
    const auto camera =
        plugAndOpen(withFault(R"({"call": "VIDIOC_REQBUFS", "granted": 0, "count": "always"})"));
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(log.has("startCapture: Failed to turn on a stream: Invalid argument (22)"));
}

TEST_F(ACameraThatRefuses, ReportsAStreamOffThatFailsAndClosesAllTheSame) {
    const auto camera = plugAndOpen(failing("VIDIOC_STREAMOFF", "EINVAL"));
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(camera->stopCapture());
    EXPECT_EQ(log.count("freeBuffers: VIDIOC_STREAMOFF failed: Invalid argument(22)"), 1U);
    EXPECT_TRUE(closesEverything());
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
}

TEST_F(ACameraThatRefuses, StartsAfterAFailureThatHasPassed) {
    const auto camera =
        plugAndOpen(withFault(R"({"call": "VIDIOC_S_FMT", "errno": "EBUSY", "count": 1})"));
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(log.has("startCapture: VIDIOC_S_FMT error: 16"));
    EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1);
    camera->stopCapture();
}

}  // namespace
