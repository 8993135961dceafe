// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a camera offers beyond its formats: capabilities and ranges.

#include <gmock/gmock.h>

#include "camera-fixture.h"

namespace {
using TestSupport::CameraFixture;
class ACamera : public CameraFixture {};

TEST_F(ACamera, Smoke) {
    const auto camera = plugAndOpen(R"({"name": "Webcam", "formats": [
        {"fourcc": "MJPG", "sizes": ["640x480", "1280x720"]}]})");
    std::vector<Nerio::Lumiq::CameraCapability> all;
    Simulator::startTrace();
    ASSERT_TRUE(camera->queryCapabilities(all));
    for (const auto& c : Simulator::stopTrace()) printf("%s fd %d h %lu e %d\n", c.name.c_str(), c.descriptor, c.handle, c.error);
    ASSERT_EQ(all.size(), 2u);
    printf("open %u\n", device().openHandles());
    Simulator::startTrace();
    pull();
    for (const auto& c : Simulator::stopTrace()) printf("%s fd %d h %lu e %d\n", c.name.c_str(), c.descriptor, c.handle, c.error);
}
TEST_F(ACamera, Smoke2) {
    auto camera = plugAndOpen(R"({"name": "Webcam", "formats": [
        {"fourcc": "MJPG", "sizes": ["640x480", "1280x720"]}]})");
    std::vector<Nerio::Lumiq::CameraCapability> all;
    ASSERT_TRUE(camera->queryCapabilities(all));
    camera.reset();
    EXPECT_TRUE(closesEverything());
}
}
