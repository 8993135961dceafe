// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// File handles of a simulated camera: who owns the stream, what a duplicate is, when a handle ends,
// and that nothing is left behind.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "camera-handle.h"
#include "simulator-trace.h"

namespace SimulatorTest {
namespace {

std::size_t openDescriptors() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

/// Driver threads of the simulator in this process; sanitizers have threads of their own.
std::size_t driverThreads() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(entry.path() / "comm"), name);
        count += name == "simulated-cam" ? 1 : 0;
    }
    return count;
}

/// A joined thread may be listed for a moment longer.
bool driverThreadsEnd() {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (driverThreads() != 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    return driverThreads() == 0;
}

/// Sends a descriptor over a socket to this same process.
int passOverSocket(int descriptor) {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    char byte = 'x';
    iovec data = {&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    EXPECT_EQ(sendmsg(ends[0], &message, 0), 1);
    EXPECT_EQ(recvmsg(ends[1], &message, MSG_CMSG_CLOEXEC), 1);
    int received = -1;
    std::memcpy(&received, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof received);
    close(ends[0]);
    close(ends[1]);
    return received;
}

class TwoHandles : public testing::Test {
protected:
    Simulator::SimulatedDevice m_device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle m_first{m_device};
    CameraHandle m_second{m_device};
};

TEST_F(TwoHandles, LetOnlyTheOwnerSetAndStream) {
    ASSERT_EQ(m_first.setFormat("YUYV", 128, 32), 0);
    EXPECT_EQ(m_second.setFormat("YUYV", 128, 32), EBUSY);
    EXPECT_EQ(m_second.requestBuffers(4), EBUSY);
    ASSERT_EQ(m_first.start(), 0);
    EXPECT_EQ(m_second.stream(true), EBUSY);
    EXPECT_EQ(m_second.stream(false), EBUSY);
    EXPECT_EQ(m_second.queue(0), EBUSY);
    EXPECT_EQ(m_second.dequeue(), EBUSY);
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    EXPECT_EQ(m_second.call(VIDIOC_G_FMT, format), 0);
    EXPECT_EQ(m_second.poll(), POLLIN) << "all may watch";
}

TEST_F(TwoHandles, PassTheStreamOnWhenTheOwnerFreesItsBuffersOrGoes) {
    ASSERT_EQ(m_first.requestBuffers(2), 0);
    ASSERT_EQ(m_first.requestBuffers(0), 0);
    ASSERT_EQ(m_second.start(), 0);
    EXPECT_EQ(m_first.requestBuffers(2), EBUSY);
    m_second.unmap();
    m_second.close();
    EXPECT_EQ(m_first.start(), 0);
    EXPECT_EQ(m_first.next(), 0);
}

TEST_F(TwoHandles, StayOneCameraForDuplicates) {
    ASSERT_EQ(m_first.start(), 0);
    CameraHandle duplicate(fcntl(m_first.descriptor(), F_DUPFD_CLOEXEC, 0));
    EXPECT_EQ(duplicate.take(), 0) << "the same handle, so the owner";
    CameraHandle passed(passOverSocket(m_first.descriptor()));
    EXPECT_EQ(passed.take(), 0);
    m_first.close();
    EXPECT_EQ(duplicate.take(), 0) << "lives with its last descriptor";
    duplicate.close();
    EXPECT_EQ(passed.take(), 0);
    passed.close();
    EXPECT_EQ(m_second.requestBuffers(1), EBUSY) << "lives with its last mapping too";
    m_first.unmap();
    EXPECT_EQ(m_second.requestBuffers(1), 0);
}

TEST_F(TwoHandles, AreCountedUntilTheyEnd) {
    EXPECT_EQ(m_device.openHandles(), 2U);
    CameraHandle duplicate(fcntl(m_first.descriptor(), F_DUPFD_CLOEXEC, 0));
    EXPECT_EQ(m_device.openHandles(), 2U);
    m_first.close();
    EXPECT_EQ(m_device.openHandles(), 2U);
    duplicate.close();
    EXPECT_EQ(m_device.openHandles(), 1U);
    m_second.close();
    EXPECT_EQ(m_device.openHandles(), 0U);
}

TEST(AHandle, LeavesNothingBehind) {
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    const std::size_t descriptorsBefore = openDescriptors();
    {
        CameraHandle camera(device);
        ASSERT_EQ(camera.start(), 0);
        ASSERT_EQ(camera.take(), 0);
        EXPECT_EQ(Simulator::liveCount(), (Simulator::LiveCount{1, 1, 4}));
        EXPECT_EQ(driverThreads(), 1U);
    }
    EXPECT_EQ(Simulator::liveCount(), Simulator::LiveCount{});
    EXPECT_EQ(openDescriptors(), descriptorsBefore);
    EXPECT_TRUE(driverThreadsEnd());
}

TEST(AHandle, IsFreedWhenItWasClosedBehindTheSimulatorsBack) {
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle camera(device);
    ASSERT_EQ(camera.start(), 0);
    camera.unmap();
    ASSERT_EQ(close_range(static_cast<unsigned>(camera.descriptor()),
                          static_cast<unsigned>(camera.descriptor()), 0),
              0);
    CameraHandle next(device);
    EXPECT_EQ(next.start(), 0);
    EXPECT_EQ(next.take(), 0);
}

TEST(AHandle, IsInheritedByAChildThatDoesNotUseIt) {
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle camera(device);
    ASSERT_EQ(camera.start(), 0);
    const pid_t child = fork();
    if (child == 0) {
        _exit(close(camera.descriptor()) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(camera.take(), 0) << "the parent's stream goes on";
}

TEST(ADevice, OutlivesItsMaker) {
    auto device = std::make_unique<Simulator::SimulatedDevice>(
        Simulator::parseDescription(describedAs("YUYV", "128x32")));
    CameraHandle camera(*device);
    device.reset();
    EXPECT_EQ(camera.start(), 0);
    EXPECT_EQ(camera.take(), 0);
}

TEST(ADevice, IsOneOfMany) {
    const auto one = makeDevice(describedAs("YUYV", "128x32"));
    const auto other = makeDevice(describedAs("UYVY", "128x32"));
    CameraHandle first(one);
    CameraHandle second(other);
    ASSERT_EQ(first.start(), 0);
    ASSERT_EQ(second.start(), 0);
    EXPECT_EQ(first.take(), 0);
    EXPECT_EQ(second.take(), 0);
    EXPECT_EQ(Simulator::liveCount(), (Simulator::LiveCount{2, 2, 8}));
    EXPECT_TRUE(one.isHandle(first.descriptor()));
    EXPECT_FALSE(one.isHandle(second.descriptor()));
}

}  // namespace
}  // namespace SimulatorTest
