// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What clients see of a running service: the list, the properties, "Open". The real program on a
// real bus; the simulator in this program makes the descriptors it gets answer as cameras.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iterator>

#include "service-fixture.h"

namespace GateholdTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AService : public ServiceFixture {};

int requestBuffers(int fd, std::uint32_t count) {
    v4l2_requestbuffers request{};
    request.count = count;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    return ioctl(fd, VIDIOC_REQBUFS, &request) == 0 ? 0 : errno;
}

std::string cardOf(int fd) {
    v4l2_capability answer{};
    if (ioctl(fd, VIDIOC_QUERYCAP, &answer) != 0) {
        return "errno " + std::to_string(errno);
    }
    return reinterpret_cast<const char*>(answer.card);
}

TEST_F(AService, WithoutCamerasHasAnEmptyList) {
    serve({});
    EXPECT_THAT(client->managedObjects(), IsEmpty());
}

TEST_F(AService, ListsEachCameraDirectlyBeneathTheManagerInTheOrderOfTheCommandLine) {
    serve({"First", "Second", "Third"});
    EXPECT_THAT(client->nodes(), ElementsAre("sim0", "sim1", "sim2"));
    EXPECT_EQ(client->property("sim0", "Name").get<std::string>(), "First");
    EXPECT_EQ(client->property("sim2", "Name").get<std::string>(), "Third");
}

TEST_F(AService, ListsTheThreePropertiesOfACameraWithTheirTypes) {
    const auto description = file(
        "odd.json", R"({"name": "Odd", "capabilities": "0x85200001", "deviceCaps": "0x05200001",
                             "formats": [{"fourcc": "YUYV", "sizes": ["320x240"]}]})");
    serve({}, {"--simulate", description});
    auto objects = client->managedObjects();
    auto& device = objects.at(sdbus::ObjectPath{pathOf("sim0")}).at(kDeviceInterface);
    EXPECT_EQ(device.size(), 3U);
    EXPECT_STREQ(device.at("Name").peekValueType(), "s");
    EXPECT_STREQ(device.at("Capabilities").peekValueType(), "u");
    EXPECT_STREQ(device.at("DeviceCaps").peekValueType(), "u");
    EXPECT_EQ(device.at("Name").get<std::string>(), "Odd");
    EXPECT_EQ(device.at("Capabilities").get<std::uint32_t>(), 0x85200001U);
    EXPECT_EQ(device.at("DeviceCaps").get<std::uint32_t>(), 0x05200001U);
}

TEST_F(AService, HandsOutADescriptorThatAnswersAsTheCamera) {
    serve({"Front", "Back"});
    const auto front = client->open("sim0");
    const auto back = client->open("sim1");
    EXPECT_EQ(cardOf(front.get()), "Front");
    EXPECT_EQ(cardOf(back.get()), "Back");
}

TEST_F(AService, HandsOutDescriptorsThatNeverBlock) {
    serve({"Front"});
    const auto handle = client->open("sim0");
    EXPECT_NE(fcntl(handle.get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(handle.get(), F_GETFL) & O_ACCMODE, O_RDWR);
}

TEST_F(AService, HandsOutAHandleOfItsOwnForEachOpen) {
    serve({"Front"});
    const auto first = client->open("sim0");
    auto second = client->open("sim0");
    const sdbus::UnixFd sameAsFirst(first.get());
    // Whoever has buffers keeps other handles, but not copies of its own, from having them.
    ASSERT_EQ(requestBuffers(first.get(), 2), 0);
    EXPECT_EQ(requestBuffers(second.get(), 2), EBUSY);
    EXPECT_EQ(requestBuffers(sameAsFirst.get(), 3), 0);
    EXPECT_EQ(requestBuffers(first.get(), 0), 0);
    EXPECT_EQ(requestBuffers(second.get(), 2), 0);
    second.reset();
    // Bus and service have let go of their copies of it, or are about to.
    EXPECT_TRUE(client->waitUntil([&] { return requestBuffers(first.get(), 2) == 0; }));
}

TEST_F(AService, KeepsNoDescriptorOfTheHandlesItHandsOut) {
    serve({"Front"});
    const std::string folder = "/proc/" + std::to_string(service->process().pid()) + "/fd";
    const auto openDescriptors = [&] {
        const std::filesystem::directory_iterator entries(folder);
        return std::distance(begin(entries), end(entries));
    };
    // An answer says that the service has begun and has put its ready pipe away.
    client->managedObjects();
    const auto before = openDescriptors();
    for (int count = 0; count < 20; ++count) {
        client->open("sim0");
    }
    // A reply's copy is closed when the message has left, right after the client has it.
    EXPECT_TRUE(client->waitUntil([&] { return openDescriptors() == before; }));
}

TEST_F(AService, RefusesToOpenAnUnknownObject) {
    serve({"Front"});
    EXPECT_EQ(errorOf([&] { client->open("sim7"); }), "org.freedesktop.DBus.Error.UnknownObject");
}

TEST_F(AService, GoesOnAfterCallsThatMakeNoSense) {
    serve({"Front"});
    EXPECT_EQ(errorOf([&] { client->property("sim0", "Colour"); }),
              "org.freedesktop.DBus.Error.UnknownProperty");
    EXPECT_NE(errorOf([&] { client->property("", "Name"); }), "");
    EXPECT_THAT(client->nodes(), ElementsAre("sim0"));
}

TEST_F(AService, ShowsNamesThatAreNotAscii) {
    serve({}, {"--simulate", file("name.json", describe("Tür \xe2\x98\x83"))});
    EXPECT_EQ(client->property("sim0", "Name").get<std::string>(), "Tür \xe2\x98\x83");
}

}  // namespace
}  // namespace GateholdTest
