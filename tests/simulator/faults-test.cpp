// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A simulated camera that misbehaves as its description or someone outside demands.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "camera-handle.h"
#include "frame-number.h"

namespace SimulatorTest {
namespace {

using Clock = std::chrono::steady_clock;

class AFaultyCamera : public testing::Test {
protected:
    Simulator::SimulatedDevice m_device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle m_camera{m_device};
};

TEST_F(AFaultyCamera, FailsTheCallsItIsToldTo) {
    m_device.setFault(R"({"call": "VIDIOC_QUERYCAP", "errno": "EIO", "first": 2, "count": 2})");
    v4l2_capability answer{};
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), 0);
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), EIO);
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), EIO);
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), 0);
}

TEST_F(AFaultyCamera, FailsMmapAndPoll) {
    m_device.setFault(R"({"call": "mmap", "errno": "ENOMEM", "first": 2})");
    m_device.setFault(R"({"call": "poll", "errno": "EINTR"})");
    m_device.setFault(R"({"call": "poll", "revents": ["POLLERR", "POLLHUP"], "first": 2})");
    ASSERT_EQ(m_camera.requestBuffers(2), 0);
    EXPECT_EQ(m_camera.map(0), 0);
    EXPECT_EQ(m_camera.map(1), ENOMEM);
    EXPECT_EQ(m_camera.map(1), 0);
    ASSERT_EQ(m_camera.stream(true), 0);
    EXPECT_EQ(m_camera.poll(), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(m_camera.poll(), POLLERR | POLLHUP);
}

TEST_F(AFaultyCamera, GrantsAnotherNumberOfBuffersAndAnotherLength) {
    m_device.setFault(R"({"call": "VIDIOC_REQBUFS", "granted": 2})");
    m_device.setFault(R"({"call": "VIDIOC_REQBUFS", "granted": 0, "first": 2})");
    m_device.setFault(R"({"call": "VIDIOC_REQBUFS", "bufferBytes": 100, "first": 3})");
    EXPECT_EQ(m_camera.requestBuffers(4), 0);
    EXPECT_EQ(m_camera.granted(), 2U);
    EXPECT_EQ(m_camera.requestBuffers(4), 0);
    EXPECT_EQ(m_camera.granted(), 0U);
    EXPECT_EQ(m_camera.start(4), 0);
    v4l2_buffer asked = CameraHandle::buffer();
    ASSERT_EQ(m_camera.query(asked), 0);
    EXPECT_EQ(asked.length, 100U);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().bytesused, 100U);
}

TEST_F(AFaultyCamera, DequeuesAnIndexThatIsNone) {
    m_device.setFault(R"({"call": "VIDIOC_DQBUF", "index": 40})");
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().index, 40U);
}

TEST_F(AFaultyCamera, FlagsShortensAndLosesFrames) {
    m_device.setFault(R"({"frame": "error", "first": 2})");
    m_device.setFault(R"({"frame": "short", "first": 3})");
    m_device.setFault(R"({"frame": "lost", "first": 4})");
    ASSERT_EQ(m_camera.start(16), 0);
    ASSERT_EQ(m_camera.take(), 0);
    EXPECT_EQ(m_camera.last().bytesused, 8192U);
    ASSERT_EQ(m_camera.take(), 0);
    EXPECT_EQ(m_camera.last().bytesused, 4096U);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().sequence, 2U);
    EXPECT_EQ(m_camera.last().bytesused, 4096U);
    EXPECT_NE(m_camera.last().flags & V4L2_BUF_FLAG_ERROR, 0U);
    ASSERT_EQ(m_camera.queue(m_camera.last().index), 0);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().sequence, 4U);
}

TEST_F(AFaultyCamera, ShortensAFrameUnnoticed) {
    m_device.setFault(R"({"frame": "unflagged"})");
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().bytesused, 4096U);
    EXPECT_EQ(m_camera.last().flags & V4L2_BUF_FLAG_ERROR, 0U);
}

TEST_F(AFaultyCamera, FlagsAFrameOnce) {
    m_device.setFault(R"({"frame": "error", "first": 2})");
    ASSERT_EQ(m_camera.start(16), 0);
    const std::uint32_t flags[] = {0, V4L2_BUF_FLAG_ERROR, 0};
    for (const std::uint32_t expected : flags) {
        ASSERT_EQ(m_camera.next(), 0);
        EXPECT_EQ(m_camera.last().flags & V4L2_BUF_FLAG_ERROR, expected);
        ASSERT_EQ(m_camera.queue(m_camera.last().index), 0);
    }
}

TEST_F(AFaultyCamera, StallsForAWhile) {
    m_device.setFault(R"({"frame": "stall", "first": 2, "milliseconds": 200})");
    ASSERT_EQ(m_camera.start(16), 0);
    ASSERT_EQ(m_camera.take(), 0);
    const auto begin = Clock::now();
    ASSERT_EQ(m_camera.take(), 0);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(180));
    EXPECT_EQ(m_camera.last().sequence, 1U) << "a pause, not a loss";
    ASSERT_EQ(m_camera.take(), 0);
}

TEST_F(AFaultyCamera, StallsUntilItsFaultsAreCleared) {
    m_device.setFault(R"({"frame": "stall"})");
    ASSERT_EQ(m_camera.start(16), 0);
    EXPECT_EQ(m_camera.poll(POLLIN, 100), 0);
    m_device.clearFaults();
    EXPECT_EQ(m_camera.poll(), POLLIN);
}

TEST_F(AFaultyCamera, BreaksUntilItIsStopped) {
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(m_camera.take(), 0);
    m_device.setFault(R"({"frame": "broken"})");
    while (m_camera.poll() == POLLIN) {
        (void)m_camera.take();
    }
    EXPECT_EQ(m_camera.poll(), POLLERR);
    EXPECT_EQ(m_camera.dequeue(), EIO);
    EXPECT_EQ(m_camera.queue(0), EIO);
    ASSERT_EQ(m_camera.stream(false), 0);
    ASSERT_EQ(m_camera.queue(0), 0);
    ASSERT_EQ(m_camera.stream(true), 0);
    EXPECT_EQ(m_camera.next(), 0);
}

TEST_F(AFaultyCamera, ForgetsFaultsThatAreCleared) {
    m_device.setFault(R"({"call": "VIDIOC_QUERYCAP", "errno": "EIO", "count": "always"})");
    v4l2_capability answer{};
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), EIO);
    m_device.clearFaults();
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), 0);
}

TEST_F(AFaultyCamera, HasRoomForSixteenFaultsThatLast) {
    const char* const lasting = R"({"call": "mmap", "errno": "EIO", "count": "always"})";
    for (int i = 0; i < 16; ++i) {
        m_device.setFault(lasting);
    }
    EXPECT_THROW(m_device.setFault(lasting), Simulator::DescriptionError);
    m_device.clearFaults();
    EXPECT_NO_THROW(m_device.setFault(lasting));
}

TEST_F(AFaultyCamera, ReusesThePlacesOfSpentFaults) {
    v4l2_capability answer{};
    for (int i = 0; i < 100; ++i) {
        m_device.setFault(R"({"call": "VIDIOC_QUERYCAP", "errno": "EIO"})");
        ASSERT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), EIO);
        ASSERT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), 0);
    }
}

void expectGone(CameraHandle& camera) {
    EXPECT_EQ(camera.poll(POLLIN), POLLERR | POLLHUP);
    EXPECT_EQ(camera.poll(POLLIN | POLLPRI), POLLERR | POLLHUP | POLLPRI);
    v4l2_capability answer{};
    EXPECT_EQ(camera.call(VIDIOC_QUERYCAP, answer), ENODEV);
    EXPECT_EQ(camera.dequeue(), ENODEV);
    EXPECT_EQ(camera.queue(0), ENODEV);
    EXPECT_EQ(camera.stream(false), ENODEV);
    EXPECT_EQ(camera.requestBuffers(0), ENODEV);
    EXPECT_EQ(camera.map(0), ENODEV);
}

TEST_F(AFaultyCamera, IsGoneForEveryHandleWhenUnplugged) {
    CameraHandle other(m_device);
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(m_camera.next(), 0);
    const std::uint32_t index = m_camera.last().index;
    const std::uint32_t number = m_camera.last().sequence;
    EXPECT_FALSE(m_device.unplugged());
    m_device.unplug();
    EXPECT_TRUE(m_device.unplugged());
    expectGone(m_camera);
    expectGone(other);
    EXPECT_EQ(Simulator::readFrameNumber(m_camera.data(index), 256, 128, 32, 2), number)
        << "mapped pages stay";
    EXPECT_THROW(
        {
            try {
                static_cast<void>(m_device.open());
            } catch (const std::system_error& error) {
                EXPECT_EQ(error.code().value(), ENODEV);
                throw;
            }
        },
        std::system_error);
}

TEST_F(AFaultyCamera, WakesAPollWhenItIsUnplugged) {
    m_device.setFault(R"({"frame": "stall"})");
    ASSERT_EQ(m_camera.start(), 0);
    auto streaming = std::async(std::launch::async, [this] { return m_camera.poll(POLLIN, -1); });
    CameraHandle idle(m_device);
    auto waiting = std::async(std::launch::async, [&idle] { return idle.poll(POLLPRI, -1); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    m_device.unplug();
    EXPECT_EQ(streaming.get(), POLLERR | POLLHUP);
    EXPECT_EQ(waiting.get(), POLLERR | POLLHUP | POLLPRI);
}

TEST_F(AFaultyCamera, EndsAWaitingDequeueWhenItIsUnplugged) {
    m_device.setFault(R"({"frame": "stall"})");
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(fcntl(m_camera.descriptor(), F_SETFL, 0), 0);
    auto waiting = std::async(std::launch::async, [this] { return m_camera.dequeue(); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    m_device.unplug();
    EXPECT_EQ(waiting.get(), EINVAL);
}

TEST(ACameraThatUnplugsItself, GivesItsFramesFirst) {
    const auto device =
        makeDevice(describedAs("YUYV", "128x32", R"("faults": [{"frame": "unplug", "first": 6}])"));
    CameraHandle camera(device);
    auto watch = std::async(std::launch::async, [&device] {
        return device.waitUntilUnplugged(std::chrono::seconds(60));
    });
    ASSERT_EQ(camera.start(), 0);
    unsigned frames = 0;
    while (camera.poll() == POLLIN) {
        // The camera may be gone between the two calls.
        const int error = camera.take();
        ASSERT_TRUE(error == 0 || error == ENODEV);
        ++frames;
    }
    // What is done but not yet taken when the camera goes is lost with it.
    EXPECT_GE(frames, 1U);
    EXPECT_LE(frames, 5U);
    EXPECT_EQ(device.framesMade(), 5U);
    EXPECT_TRUE(watch.get());
    expectGone(camera);
}

TEST(WaitingForAnUnplug, EndsInTime) {
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    EXPECT_FALSE(device.waitUntilUnplugged(std::chrono::milliseconds(20)));
}

}  // namespace
}  // namespace SimulatorTest
