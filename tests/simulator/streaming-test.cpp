// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Buffers and frames of a simulated camera: the states, the numbers, the times and what poll says.

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/resource.h>

#include <chrono>
#include <thread>
#include <vector>

#include "camera-handle.h"
#include "frame-number.h"

namespace SimulatorTest {
namespace {

using Clock = std::chrono::steady_clock;

std::uint64_t microseconds(const v4l2_buffer& buffer) {
    return static_cast<std::uint64_t>(buffer.timestamp.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(buffer.timestamp.tv_usec);
}

class AStream : public testing::Test {
protected:
    AStream() { EXPECT_EQ(m_camera.setFormat("YUYV", 128, 32), 0); }

    Simulator::SimulatedDevice m_device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle m_camera{m_device};
};

TEST_F(AStream, NumbersItsFramesAndStampsThemAtTheInterval) {
    // More buffers than frames: however late this thread is, none is lost.
    ASSERT_EQ(m_camera.start(16), 0);
    std::uint64_t before = 0;
    for (std::uint32_t n = 0; n < 10; ++n) {
        ASSERT_EQ(m_camera.next(), 0);
        const v4l2_buffer& frame = m_camera.last();
        EXPECT_EQ(frame.sequence, n);
        EXPECT_EQ(frame.bytesused, 128U * 32 * 2);
        EXPECT_EQ(frame.flags, V4L2_BUF_FLAG_MAPPED | V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC |
                                   V4L2_BUF_FLAG_TSTAMP_SRC_SOE);
        EXPECT_EQ(Simulator::readFrameNumber(m_camera.data(frame.index), 256, 128, 32, 2), n);
        if (n > 0) {
            EXPECT_NEAR(static_cast<double>(microseconds(frame) - before), 10000, 1);
        }
        before = microseconds(frame);
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        EXPECT_LE(before, static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
                              static_cast<std::uint64_t>(now.tv_nsec) / 1000);
        ASSERT_EQ(m_camera.queue(frame.index), 0);
    }
}

TEST_F(AStream, KeepsTheIntervalThatWasSet) {
    v4l2_streamparm wish{};
    wish.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wish.parm.capture.timeperframe = {1, 50};
    ASSERT_EQ(m_camera.call(VIDIOC_S_PARM, wish), 0);
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(m_camera.take(), 0);
    const std::uint64_t first = microseconds(m_camera.last());
    ASSERT_EQ(m_camera.take(), 0);
    EXPECT_NEAR(static_cast<double>(microseconds(m_camera.last()) - first), 20000, 1);
    EXPECT_EQ(m_camera.call(VIDIOC_S_PARM, wish), EBUSY) << "not while it streams";
}

TEST_F(AStream, LosesFramesWhileNoBufferIsQueued) {
    ASSERT_EQ(m_camera.start(2), 0);
    ASSERT_EQ(m_camera.next(), 0);
    const std::uint32_t first = m_camera.last().index;
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().sequence, 1U);
    const std::uint64_t made = m_device.framesMade();
    while (m_device.framesMade() < made + 3) {
        std::this_thread::yield();
    }
    ASSERT_EQ(m_camera.queue(first), 0);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_GE(m_camera.last().sequence, 5U);
    EXPECT_EQ(Simulator::readFrameNumber(m_camera.data(first), 256, 128, 32, 2),
              m_camera.last().sequence);
}

TEST_F(AStream, FollowsTheStatesOfABuffer) {
    EXPECT_EQ(m_camera.stream(true), EINVAL) << "no buffers";
    ASSERT_EQ(m_camera.requestBuffers(2), 0);
    EXPECT_EQ(m_camera.granted(), 2U);
    v4l2_buffer asked = CameraHandle::buffer(2);
    EXPECT_EQ(m_camera.query(asked), EINVAL) << "no such buffer";
    asked = CameraHandle::buffer(1);
    ASSERT_EQ(m_camera.query(asked), 0);
    EXPECT_EQ(asked.length, 128U * 32 * 2);
    EXPECT_EQ(asked.flags & (V4L2_BUF_FLAG_MAPPED | V4L2_BUF_FLAG_QUEUED), 0U);
    ASSERT_EQ(m_camera.map(0), 0);
    EXPECT_EQ(m_camera.dequeue(), EINVAL) << "does not stream";
    ASSERT_EQ(m_camera.queue(0), 0);
    EXPECT_EQ(m_camera.queue(0), EINVAL) << "queued twice";
    EXPECT_EQ(m_camera.queue(7), EINVAL);
    asked = CameraHandle::buffer(0);
    ASSERT_EQ(m_camera.query(asked), 0);
    EXPECT_NE(asked.flags & V4L2_BUF_FLAG_QUEUED, 0U);
    EXPECT_NE(asked.flags & V4L2_BUF_FLAG_MAPPED, 0U);
    ASSERT_EQ(m_camera.stream(true), 0);
    EXPECT_EQ(m_camera.stream(true), 0) << "streams already";
    EXPECT_EQ(m_camera.requestBuffers(2), EBUSY);
    EXPECT_EQ(m_camera.setFormat("YUYV", 128, 32), EBUSY);
    EXPECT_EQ(m_camera.poll(), POLLIN);
    ASSERT_EQ(m_camera.query(asked), 0);
    EXPECT_NE(asked.flags & V4L2_BUF_FLAG_DONE, 0U);
    ASSERT_EQ(m_camera.stream(false), 0);
    ASSERT_EQ(m_camera.query(asked), 0);
    EXPECT_EQ(asked.flags & (V4L2_BUF_FLAG_DONE | V4L2_BUF_FLAG_QUEUED), 0U);
    EXPECT_EQ(m_camera.queue(0), 0) << "the host's again";
}

TEST_F(AStream, RefusesOtherTypesAndKindsOfMemory) {
    v4l2_requestbuffers request{};
    request.count = 4;
    request.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    request.memory = V4L2_MEMORY_MMAP;
    EXPECT_EQ(m_camera.call(VIDIOC_REQBUFS, request), EINVAL);
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_USERPTR;
    EXPECT_EQ(m_camera.call(VIDIOC_REQBUFS, request), EINVAL);
    int type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    EXPECT_EQ(m_camera.call(VIDIOC_STREAMON, type), EINVAL);
    EXPECT_EQ(m_camera.call(VIDIOC_STREAMOFF, type), EINVAL);
    ASSERT_EQ(m_camera.requestBuffers(1), 0);
    v4l2_buffer wrong = CameraHandle::buffer();
    wrong.memory = V4L2_MEMORY_USERPTR;
    EXPECT_EQ(m_camera.call(VIDIOC_QBUF, wrong), EINVAL);
}

TEST_F(AStream, MapsOnlyWhatIsABufferAndOnlyToRead) {
    ASSERT_EQ(m_camera.requestBuffers(2), 0);
    v4l2_buffer asked = CameraHandle::buffer(1);
    ASSERT_EQ(m_camera.query(asked), 0);
    const auto attempt = [this](std::size_t length, int protection, int flags, off_t offset) {
        void* const address =
            mmap(nullptr, length, protection, flags, m_camera.descriptor(), offset);
        if (address == MAP_FAILED) {
            return errno;
        }
        munmap(address, length);
        return 0;
    };
    const auto offset = static_cast<off_t>(asked.m.offset);
    EXPECT_EQ(attempt(asked.length, PROT_READ, MAP_SHARED, offset), 0);
    EXPECT_EQ(attempt(asked.length, PROT_READ, MAP_PRIVATE, offset), EINVAL);
    EXPECT_EQ(attempt(asked.length, PROT_WRITE, MAP_SHARED, offset), EINVAL);
    EXPECT_EQ(attempt(asked.length, PROT_READ, MAP_SHARED, offset + 4096 * 16), EINVAL);
    EXPECT_EQ(attempt(asked.length * 4, PROT_READ, MAP_SHARED, offset), EINVAL);
}

TEST_F(AStream, GrantsAtMost32BuffersAndTakesThemBack) {
    ASSERT_EQ(m_camera.requestBuffers(100), 0);
    EXPECT_EQ(m_camera.granted(), 32U);
    ASSERT_EQ(m_camera.requestBuffers(0), 0);
    v4l2_buffer asked = CameraHandle::buffer();
    EXPECT_EQ(m_camera.query(asked), EINVAL);
    EXPECT_EQ(m_camera.setFormat("YUYV", 128, 32), 0) << "no longer busy";
}

TEST_F(AStream, AddsBuffers) {
    ASSERT_EQ(m_camera.requestBuffers(1), 0);
    v4l2_create_buffers create{};
    create.count = 2;
    create.memory = V4L2_MEMORY_MMAP;
    create.format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    ASSERT_EQ(m_camera.call(VIDIOC_G_FMT, create.format), 0);
    ASSERT_EQ(m_camera.call(VIDIOC_CREATE_BUFS, create), 0);
    EXPECT_EQ(create.index, 1U);
    v4l2_buffer asked = CameraHandle::buffer(2);
    EXPECT_EQ(m_camera.query(asked), 0);
    create.format.fmt.pix.sizeimage = 1;
    EXPECT_EQ(m_camera.call(VIDIOC_CREATE_BUFS, create), EINVAL);
}

TEST_F(AStream, KeepsMappedPagesOfBuffersThatAreNoMore) {
    ASSERT_EQ(m_camera.start(1), 0);
    ASSERT_EQ(m_camera.next(), 0);
    ASSERT_EQ(m_camera.stream(false), 0);
    const std::uint8_t* const old = m_camera.data(0);
    ASSERT_EQ(m_camera.requestBuffers(0), 0);
    ASSERT_EQ(m_camera.requestBuffers(4), 0);
    EXPECT_EQ(Simulator::readFrameNumber(old, 256, 128, 32, 2), 0U);
    m_camera.close();
    EXPECT_EQ(Simulator::readFrameNumber(old, 256, 128, 32, 2), 0U);
}

TEST_F(AStream, BeginsAtZeroAgainAfterStreamOff) {
    ASSERT_EQ(m_camera.start(), 0);
    ASSERT_EQ(m_camera.take(), 0);
    ASSERT_EQ(m_camera.take(), 0);
    ASSERT_EQ(m_camera.stream(false), 0);
    ASSERT_EQ(m_camera.queue(0), 0);
    ASSERT_EQ(m_camera.stream(true), 0);
    ASSERT_EQ(m_camera.next(), 0);
    EXPECT_EQ(m_camera.last().sequence, 0U);
}

TEST_F(AStream, ReportsAnErrorToPollWhileItDoesNotRun) {
    EXPECT_EQ(m_camera.poll(POLLIN, 1000), POLLERR);
    EXPECT_EQ(m_camera.poll(POLLPRI, 0), 0) << "who does not ask for frames is not told";
    ASSERT_EQ(m_camera.start(), 0);
    EXPECT_EQ(m_camera.poll(POLLIN | POLLRDNORM), POLLIN | POLLRDNORM);
    ASSERT_EQ(m_camera.stream(false), 0);
    EXPECT_EQ(m_camera.poll(POLLIN, 1000), POLLERR);
}

TEST_F(AStream, LeavesPollInTimeAndLetsOthersWakeIt) {
    m_device.setFault(R"({"frame": "stall"})");
    ASSERT_EQ(m_camera.start(1), 0);
    const auto begin = Clock::now();
    EXPECT_EQ(m_camera.poll(POLLIN, 50), 0);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(50));
    const int event = eventfd(0, EFD_CLOEXEC);
    pollfd polled[] = {{m_camera.descriptor(), POLLIN, 0}, {event, POLLIN, 0}};
    std::thread waker([event] { EXPECT_EQ(eventfd_write(event, 1), 0); });
    EXPECT_EQ(poll(polled, 2, -1), 1);
    EXPECT_EQ(polled[0].revents, 0);
    EXPECT_EQ(polled[1].revents, POLLIN);
    waker.join();
    close(event);
}

TEST_F(AStream, IsPolledAmongManyDescriptorsAndTwice) {
    ASSERT_EQ(m_camera.start(), 0);
    const int event = eventfd(1, EFD_CLOEXEC);
    std::vector<pollfd> polled(300, pollfd{event, POLLIN, 0});
    polled[100] = {m_camera.descriptor(), POLLIN, 0};
    polled[200] = {m_camera.descriptor(), POLLPRI, 0};
    polled[250].fd = -1;
    ASSERT_EQ(m_camera.poll(), POLLIN);
    EXPECT_EQ(poll(polled.data(), polled.size(), -1), 298);
    EXPECT_EQ(polled[100].revents, POLLIN);
    EXPECT_EQ(polled[200].revents, 0);
    EXPECT_EQ(polled[250].revents, 0);
    close(event);
}

TEST_F(AStream, IsAnErrorToPollUntilABufferWasQueued) {
    ASSERT_EQ(m_camera.requestBuffers(1), 0);
    ASSERT_EQ(m_camera.stream(true), 0);
    EXPECT_EQ(m_camera.poll(POLLIN, -1), POLLERR);
    EXPECT_EQ(m_camera.poll(POLLPRI, 0), 0);
    EXPECT_EQ(m_camera.dequeue(), EAGAIN);
    ASSERT_EQ(m_camera.queue(0), 0);
    EXPECT_EQ(m_camera.poll(POLLIN, -1), POLLIN);
    ASSERT_EQ(m_camera.stream(false), 0);
    ASSERT_EQ(m_camera.stream(true), 0);
    EXPECT_EQ(m_camera.poll(POLLIN, -1), POLLERR) << "the end of a stream takes buffers back";
}

TEST_F(AStream, IsWokenInPollByStreamOff) {
    m_device.setFault(R"({"frame": "stall"})");
    ASSERT_EQ(m_camera.start(1), 0);
    std::thread stopper([this] { EXPECT_EQ(m_camera.stream(false), 0); });
    EXPECT_EQ(m_camera.poll(POLLIN, -1), POLLERR);
    stopper.join();
}

TEST_F(AStream, MakesADequeueWaitUnlessToldNotTo) {
    ASSERT_EQ(m_camera.start(), 0);
    while (m_camera.dequeue() == 0) {
    }
    EXPECT_EQ(m_camera.dequeue(), EAGAIN);
    ASSERT_EQ(fcntl(m_camera.descriptor(), F_SETFL, 0), 0);
    for (std::uint32_t i = 0; i < 4; ++i) {
        static_cast<void>(m_camera.queue(i));
    }
    EXPECT_EQ(m_camera.dequeue(), 0);
}

TEST_F(AStream, EndsAWaitingDequeueWithTheStream) {
    ASSERT_EQ(m_camera.requestBuffers(1), 0);
    ASSERT_EQ(m_camera.stream(true), 0);
    ASSERT_EQ(fcntl(m_camera.descriptor(), F_SETFL, 0), 0);
    std::thread stopper([this] { EXPECT_EQ(m_camera.stream(false), 0); });
    EXPECT_EQ(m_camera.dequeue(), EINVAL);
    stopper.join();
}

TEST(ADescribedNumberOfBuffers, IsGrantedWhateverIsAskedFor) {
    const auto device = makeDevice(describedAs("YUYV", "64x48", R"("buffers": 8)"));
    CameraHandle camera(device);
    ASSERT_EQ(camera.requestBuffers(4), 0);
    EXPECT_EQ(camera.granted(), 8U);
    ASSERT_EQ(camera.requestBuffers(0), 0);
    EXPECT_EQ(camera.granted(), 0U);
}

TEST(BuffersThatDoNotFit, AreNotGranted) {
    // 32 of these would need more offsets than 32 bits have.
    const auto device = makeDevice(describedAs("YUYV", "16384x16384"));
    CameraHandle camera(device);
    ASSERT_EQ(camera.requestBuffers(32), 0);
    EXPECT_GT(camera.granted(), 0U);
    EXPECT_LT(camera.granted(), 32U);
}

}  // namespace
}  // namespace SimulatorTest
