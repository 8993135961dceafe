// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One camera and two processes: this one makes it, unplugs it and switches faults; the other
// captures.

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <memory>
#include <string>

#include "camera-handle.h"

namespace SimulatorTest {
namespace {

/// The program that captures until its camera is gone.
class OtherProcess {
public:
    explicit OtherProcess(int camera) {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const std::string descriptor = "10";
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, camera, std::stoi(descriptor));
        std::string program = LUMIQ_CAPTURE_UNTIL_GONE;
        std::string argument = descriptor;
        char* arguments[] = {program.data(), argument.data(), nullptr};
        EXPECT_EQ(posix_spawn(&m_process, program.c_str(), &actions, nullptr, arguments, environ),
                  0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        m_output.reset(fdopen(ends[0], "r"));
    }
    ~OtherProcess() { waitpid(m_process, nullptr, 0); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    /// The next line of what it says; empty at the end.
    std::string line() {
        char text[200] = {};
        return std::fgets(text, sizeof text, m_output.get()) == nullptr ? "" : text;
    }
    /// Skips lines until one begins so.
    std::string lineWith(const std::string& beginning) {
        std::string text = line();
        while (!text.empty() && !text.starts_with(beginning)) {
            text = line();
        }
        return text;
    }

private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };
    pid_t m_process = -1;
    std::unique_ptr<FILE, Close> m_output;
};

class ASharedCamera : public testing::Test {
protected:
    /// The other process alone holds the handle.
    std::unique_ptr<OtherProcess> startOther() {
        const CameraHandle camera(m_device);
        return std::make_unique<OtherProcess>(camera.descriptor());
    }
    Simulator::SimulatedDevice m_device = makeDevice(describedAs("YUYV", "128x32"));
};

TEST_F(ASharedCamera, IsUnpluggedWhileTheOtherProcessStreams) {
    const auto other = startOther();
    EXPECT_EQ(other->line(), "start 0\n");
    EXPECT_EQ(other->line(), "frame 0 0\n");
    EXPECT_EQ(other->line(), "frame 1 1\n");
    EXPECT_EQ(m_device.openHandles(), 1U);
    m_device.unplug();
    EXPECT_EQ(other->lineWith("end"),
              "end " + std::to_string(POLLERR | POLLHUP) + " " + std::to_string(ENODEV) + "\n");
}

TEST_F(ASharedCamera, IsUnpluggedWhileTheOtherProcessWaits) {
    m_device.setFault(R"({"frame": "stall", "first": 2})");
    const auto other = startOther();
    EXPECT_EQ(other->lineWith("frame"), "frame 0 0\n");
    m_device.unplug();
    EXPECT_EQ(other->lineWith("end"),
              "end " + std::to_string(POLLERR | POLLHUP) + " " + std::to_string(ENODEV) + "\n");
}

TEST_F(ASharedCamera, ObeysAFaultFromOutsideAtOnce) {
    const auto other = startOther();
    EXPECT_EQ(other->lineWith("frame 1 "), "frame 1 1\n");
    m_device.setFault(R"({"frame": "broken"})");
    EXPECT_EQ(other->lineWith("end"),
              "end " + std::to_string(POLLERR) + " " + std::to_string(EIO) + "\n");
}

TEST_F(ASharedCamera, IsBusyForThisProcessUntilTheOtherEnds) {
    CameraHandle mine(m_device);
    {
        const auto other = startOther();
        EXPECT_EQ(other->lineWith("frame"), "frame 0 0\n");
        EXPECT_EQ(mine.setFormat("YUYV", 128, 32), EBUSY);
        EXPECT_EQ(mine.requestBuffers(4), EBUSY);
        EXPECT_EQ(m_device.openHandles(), 2U);
        m_device.setFault(R"({"frame": "broken"})");
        EXPECT_NE(other->lineWith("end"), "");
    }
    m_device.clearFaults();
    EXPECT_EQ(m_device.openHandles(), 1U);
    ASSERT_EQ(mine.start(), 0);
    EXPECT_EQ(mine.take(), 0);
}

}  // namespace
}  // namespace SimulatorTest
