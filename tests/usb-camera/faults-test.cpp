// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A USB camera that misbehaves to order, and that comes and goes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/usb/ch9.h>

#include <fstream>

#include "frame-number.h"
#include "frame-painter.h"
#include "running-camera.h"

namespace UsbCameraTest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// So small that all transfers under way fit into the socket: the camera never waits for a test
/// that is busy telling it something.
constexpr std::uint32_t isoPacket = 512;
constexpr std::size_t whole = std::size_t{320} * 240 * 2;

class ADisturbedStream : public testing::Test {
protected:
    /// Starts streaming with faults as in a description.
    void start(const std::string& code, const std::string& faults) {
        m_camera.emplace(describedAs(code, R"("faults": [)" + faults + "]"));
        m_kernel.emplace(m_camera->kernel());
        begin();
    }
    void begin() {
        ASSERT_FALSE(m_kernel->agree({1, 1, 0}).empty());
        ASSERT_TRUE(m_kernel->selectAlternate(4));
        m_kernel->streamIso(isoPacket);
    }
    ReceivedFrame frame() {
        const auto next = m_kernel->nextFrame();
        if (!next) {
            throw std::runtime_error("the camera is gone");
        }
        return *next;
    }
    static std::optional<std::uint32_t> number(const ReceivedFrame& frame) {
        return frame.bytes.size() == whole
                   ? Simulator::readFrameNumber(frame.bytes.data(), 640, 320, 240, 2)
                   : std::nullopt;
    }

    std::optional<RunningCamera> m_camera;
    std::optional<KernelEnd> m_kernel;
};

TEST_F(ADisturbedStream, FlagsAFrameAndSendsHalfOfIt) {
    start("YUYV", R"({"frame": "error", "first": 2})");
    EXPECT_EQ(number(frame()), 0U);
    const ReceivedFrame bad = frame();
    EXPECT_TRUE(bad.flawed);
    EXPECT_EQ(bad.bytes.size(), whole / 2);
    const ReceivedFrame good = frame();
    EXPECT_FALSE(good.flawed);
    EXPECT_EQ(number(good), 2U);
}

TEST_F(ADisturbedStream, SendsAShortFrameUnflagged) {
    start("YUYV", R"({"frame": "short"})");
    const ReceivedFrame bad = frame();
    EXPECT_FALSE(bad.flawed);
    EXPECT_EQ(bad.bytes.size(), whole / 2);
    EXPECT_EQ(number(frame()), 1U);
}

TEST_F(ADisturbedStream, TruncatesAJpegBeforeItsEndMarker) {
    start("MJPG", R"({"frame": "truncated", "first": 2})");
    Bytes painted(2 * whole);
    const auto painter = Simulator::makeJpegPainter(320, 240, {});
    EXPECT_EQ(frame().bytes.size(), painter->paint(painted.data(), painted.size(), 0));
    const ReceivedFrame bad = frame();
    EXPECT_EQ(bad.bytes.size(), painter->paint(painted.data(), painted.size(), 1) / 2);
    EXPECT_EQ(bad.bytes.end()[-2], 0xff);
    EXPECT_EQ(bad.bytes.end()[-1], 0xd9);
}

TEST_F(ADisturbedStream, GarblesAFrameOfTheRightLength) {
    start("YUYV", R"({"frame": "garbled", "first": 2})");
    const ReceivedFrame good = frame(), bad = frame();
    ASSERT_EQ(bad.bytes.size(), whole);
    unsigned equal = 0;
    for (std::size_t i = whole / 2; i < whole; ++i) {
        equal += bad.bytes[i] == good.bytes[i] ? 1 : 0;
    }
    EXPECT_LT(equal, whole / 8);
}

TEST_F(ADisturbedStream, LeavesAGapForALostFrame) {
    start("YUYV", R"({"frame": "lost", "first": 3, "count": 2})");
    for (const std::uint32_t expected : {0U, 1U, 4U, 5U}) {
        const ReceivedFrame next = frame();
        EXPECT_EQ(next.sequence, expected);
        EXPECT_EQ(number(next), expected);
    }
}

TEST_F(ADisturbedStream, StallsForATimeAndGoesOn) {
    const auto begin = std::chrono::steady_clock::now();
    start("YUYV", R"({"frame": "stall", "first": 2, "milliseconds": 300})");
    EXPECT_EQ(number(frame()), 0U);
    EXPECT_EQ(number(frame()), 1U);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
    EXPECT_EQ(number(frame()), 2U);
}

TEST_F(ADisturbedStream, StallsUntilItIsTold) {
    start("YUYV", "");
    EXPECT_EQ(number(frame()), 0U);
    ASSERT_EQ(m_camera->tell("stall"), "ok");
    std::uint32_t sent = 0;
    // What was under way when it was told still comes.
    constexpr std::uint32_t manyFrames = 200;
    while (sent < manyFrames && m_kernel->next(200)) {
        ++sent;
        m_kernel->submitIso(32, isoPacket);
    }
    EXPECT_LT(sent, manyFrames);
    ASSERT_EQ(m_camera->tell("resume"), "ok");
    EXPECT_TRUE(m_kernel->next());
}

TEST_F(ADisturbedStream, EndsWhereTheCameraUnplugsItself) {
    start("YUYV", R"({"frame": "unplug", "first": 3})");
    EXPECT_EQ(number(frame()), 0U);
    EXPECT_EQ(number(frame()), 1U);
    EXPECT_FALSE(m_kernel->nextFrame());
    EXPECT_EQ(m_camera->tell("status"), "unplugged");
}

TEST_F(ADisturbedStream, EndsWhenToldToUnplugAndStreamsAgainWhenPluggedIn) {
    start("YUYV", "");
    EXPECT_EQ(number(frame()), 0U);
    EXPECT_EQ(m_camera->tell("unplug"), "ok");
    EXPECT_TRUE(m_kernel->seesHangUp());
    EXPECT_EQ(m_camera->tell("plug"), "ok");
    EXPECT_THAT(m_camera->tell("plug"), StartsWith("error: "));
    m_kernel.emplace(m_camera->kernel());
    begin();
    EXPECT_EQ(number(frame()), 0U);
}

TEST_F(ADisturbedStream, EndsDuringAStall) {
    start("YUYV", R"({"frame": "stall"})");
    m_kernel->submitIso(32, isoPacket);
    EXPECT_FALSE(m_kernel->next(100));
    EXPECT_EQ(m_camera->tell("unplug"), "ok");
    EXPECT_TRUE(m_kernel->seesHangUp());
}

TEST_F(ADisturbedStream, IsPutInOrderByClear) {
    start("YUYV", R"({"frame": "short", "count": "always"})");
    EXPECT_EQ(frame().bytes.size(), whole / 2);
    EXPECT_EQ(m_camera->tell("clear"), "ok");
    // One frame may have been made before.
    frame();
    EXPECT_EQ(frame().bytes.size(), whole);
}

TEST(AKernelThatLetsGo, LeavesACameraThatCanBePluggedInAgain) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    ASSERT_EQ(kernel.descriptor(USB_DT_DEVICE).size(), 18U);
    kernel.hangUp();
    while (camera.tell("status") != "unplugged") {
        std::this_thread::yield();
    }
    EXPECT_EQ(camera.tell("plug"), "ok");
    EXPECT_EQ(camera.kernel().descriptor(USB_DT_DEVICE).size(), 18U);
}

TEST(AKernelThatSendsNonsense, IsHungUpOn) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    kernel.sendRaw(Bytes(20, 0xee));
    EXPECT_THAT(camera.tell("status"), StartsWith("plugged"));
    kernel.sendRaw(Bytes(28, 0xee));
    EXPECT_TRUE(kernel.seesHangUp());
    EXPECT_EQ(camera.tell("status"), "unplugged");
}

TEST(ACommand, ThatCannotBeDoneSaysWhy) {
    RunningCamera camera(describedAs("YUYV"));
    EXPECT_THAT(camera.tell("dance"), HasSubstr("no command"));
    for (const char* const wrong : {"stall soon", "stall -5", "stall 0", "stall 5x", "stall 5 6"}) {
        EXPECT_THAT(camera.tell(wrong), HasSubstr("milliseconds")) << wrong;
    }
    EXPECT_THAT(camera.tell("refuse commit -1"), HasSubstr("a number from 1"));
    EXPECT_THAT(camera.tell("refuse dinner"), HasSubstr("probe, commit, interface"));
    EXPECT_THAT(camera.tell(R"(fault {"frame": "sad"})"), HasSubstr("not a fault of frames"));
    EXPECT_THAT(camera.tell(R"(fault {"call": "mmap", "errno": "EIO"})"), HasSubstr("refuse"));
    EXPECT_THAT(camera.tell(R"(fault {"frame": "broken"})"), HasSubstr("queue"));
    EXPECT_THAT(camera.tell(R"(fault {"frame": "unflagged"})"), HasSubstr("\"short\""));
    EXPECT_EQ(camera.tell(R"(fault {"frame": "short"})"), "ok");
}

TEST(AControlSocket, IsTakenOverFromACameraThatDiedOnly) {
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.path() / "control";
    std::ofstream(path) << "not a socket";
    EXPECT_THROW(UsbCamera::ControlSocket{path}, std::system_error) << "a file of another kind";
    std::filesystem::remove(path);
    {
        const UsbCamera::ControlSocket living(path);
        EXPECT_THROW(UsbCamera::ControlSocket{path}, std::system_error);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THROW(UsbCamera::tellCamera(path, "status", std::chrono::seconds(1)),
                 std::runtime_error);
}

}  // namespace
}  // namespace UsbCameraTest
