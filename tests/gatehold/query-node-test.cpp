// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a node answers for itself. Runs with the simulator preloaded, which puts simulated nodes
// under the paths below (CMakeLists.txt names their descriptions).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cstdlib>
#include <string>
#include <system_error>

#include "capture-node.h"

namespace GateholdService {
namespace {

constexpr const char* kCaptureNode = "/dev/video-of-a-webcam";
constexpr const char* kMetadataNode = "/dev/video-of-metadata";

class AnAnsweringNode : public ::testing::Test {
protected:
    void SetUp() override {
        const char* const preloaded = std::getenv("LUMIQ_SIMULATOR_DEVICES");
        ASSERT_NE(preloaded, nullptr) << "run by ctest, which preloads the simulator";
    }
};

TEST_F(AnAnsweringNode, IsACameraWithTheNameAndTheWordsOfItsDriver) {
    const auto camera = queryNode(kCaptureNode);
    ASSERT_TRUE(camera.has_value());
    const auto handle = openNode(kCaptureNode);
    v4l2_capability answer{};
    ASSERT_EQ(ioctl(handle.get(), VIDIOC_QUERYCAP, &answer), 0);
    EXPECT_EQ(camera->name, reinterpret_cast<const char*>(answer.card));
    EXPECT_EQ(camera->capabilities, answer.capabilities);
    EXPECT_EQ(camera->deviceCaps, answer.device_caps);
}

TEST_F(AnAnsweringNode, IsOpenedAfreshForEachClientAndNeverBlocks) {
    const auto camera = queryNode(kCaptureNode);
    ASSERT_TRUE(camera.has_value());
    const auto first = camera->open();
    const auto second = camera->open();
    EXPECT_NE(first.get(), second.get());
    EXPECT_NE(fcntl(first.get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(first.get(), F_GETFD) & FD_CLOEXEC, 0);
    v4l2_requestbuffers request{};
    request.count = 2;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    ASSERT_EQ(ioctl(first.get(), VIDIOC_REQBUFS, &request), 0);
    EXPECT_NE(ioctl(second.get(), VIDIOC_REQBUFS, &request), 0);
}

TEST_F(AnAnsweringNode, OfMetadataIsNoCamera) {
    EXPECT_FALSE(queryNode(kMetadataNode).has_value());
}

}  // namespace
}  // namespace GateholdService
