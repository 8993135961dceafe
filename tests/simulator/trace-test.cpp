// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The trace of calls, also of those that a loaded library makes.

#include "simulator-trace.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera-handle.h"

namespace SimulatorTest {
namespace {

std::vector<std::string> namesOf(const std::vector<Simulator::TracedCall>& calls) {
    std::vector<std::string> names;
    for (const auto& call : calls) {
        if (call.thread == std::this_thread::get_id()) {
            names.push_back(call.name);
        }
    }
    return names;
}

TEST(ATrace, SeesTheCallsOfALibraryThatTheProgramLoads) {
    void* const library = dlopen(LUMIQ_INTERPOSED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto captureSome = reinterpret_cast<int (*)(int, int)>(dlsym(library, "captureSome"));
    ASSERT_NE(captureSome, nullptr);
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    Simulator::startTrace();
    EXPECT_EQ(captureSome(device.open(), 2), 2);
    EXPECT_THAT(namesOf(Simulator::stopTrace()),
                testing::ElementsAre("VIDIOC_REQBUFS", "VIDIOC_QUERYBUF", "mmap", "VIDIOC_QBUF",
                                     "VIDIOC_STREAMON", "poll", "VIDIOC_DQBUF", "VIDIOC_QBUF",
                                     "sched_yield", "poll", "VIDIOC_DQBUF", "VIDIOC_QBUF",
                                     "sched_yield", "munmap", "VIDIOC_STREAMOFF", "close"));
    EXPECT_EQ(Simulator::liveCount(), Simulator::LiveCount{});
    dlclose(library);
}

TEST(ATrace, TellsWhatEachCallGave) {
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle camera(device);
    Simulator::startTrace();
    EXPECT_EQ(camera.start(1), 0);
    EXPECT_EQ(camera.next(), 0);
    EXPECT_EQ(camera.queue(3), EINVAL);
    const auto calls = Simulator::stopTrace();
    ASSERT_EQ(calls.size(), 8U);
    EXPECT_EQ(calls[0].name, "VIDIOC_REQBUFS");
    EXPECT_EQ(calls[0].index, 1U);
    EXPECT_EQ(calls[0].descriptor, camera.descriptor());
    EXPECT_NE(calls[0].handle, 0U);
    EXPECT_EQ(calls[2].name, "mmap");
    EXPECT_EQ(calls[2].result, reinterpret_cast<std::uint64_t>(camera.data(0)));
    EXPECT_EQ(calls[5].name, "poll");
    EXPECT_EQ(calls[5].result, 1U);
    EXPECT_EQ(calls[5].revents, POLLIN);
    EXPECT_EQ(calls[7].name, "VIDIOC_QBUF");
    EXPECT_EQ(calls[7].error, EINVAL);
    EXPECT_EQ(calls[7].index, 3U);
}

TEST(ATrace, IsEmptyUntilItIsStarted) {
    const auto device = makeDevice(describedAs("YUYV", "128x32"));
    CameraHandle camera(device);
    EXPECT_EQ(camera.start(), 0);
    EXPECT_TRUE(Simulator::tracedCalls().empty());
    Simulator::startTrace();
    EXPECT_TRUE(Simulator::tracedCalls().empty());
    EXPECT_EQ(camera.stream(false), 0);
    EXPECT_EQ(Simulator::tracedCalls().size(), 1U);
    Simulator::startTrace();
    EXPECT_TRUE(Simulator::tracedCalls().empty()) << "what was before is forgotten";
}

}  // namespace
}  // namespace SimulatorTest
