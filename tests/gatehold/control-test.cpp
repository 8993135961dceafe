// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The control interface, spoken over the bus and through the program's own commands: plugging,
// unplugging and disturbing simulated cameras, with the signals that clients get.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <cerrno>

#include "service-fixture.h"

namespace GateholdTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class AControlledService : public ServiceFixture {
protected:
    void serveControlled(const std::vector<std::string>& names) { serve(names, {"--control"}); }

    // A control command from its start to its end.
    int control(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "control");
        auto command = TestSupport::GateholdProcess::run(bus.address(), std::move(arguments));
        const int exitCode = command.wait();
        output = command.standardOutput();
        errors = command.standardError();
        return exitCode;
    }

    std::string output;
    std::string errors;
};

int errnoOf(int result) {
    return result == 0 ? 0 : errno;
}

TEST_F(AControlledService, AnnouncesACameraThatIsPluggedInWithItsProperties) {
    serveControlled({});
    EXPECT_EQ(client->plug(describe("New")), "sim0");
    ASSERT_TRUE(client->waitForSignal("+sim0"));
    const auto& device = client->lastArrival().at(kDeviceInterface);
    EXPECT_EQ(device.at("Name").get<std::string>(), "New");
    EXPECT_EQ(device.at("Capabilities").get<std::uint32_t>() & V4L2_CAP_DEVICE_CAPS,
              V4L2_CAP_DEVICE_CAPS);
    EXPECT_EQ(device.at("DeviceCaps").get<std::uint32_t>() & V4L2_CAP_STREAMING,
              V4L2_CAP_STREAMING);
    EXPECT_TRUE(client->open("sim0").isValid());
}

TEST_F(AControlledService, AnnouncesOnceThatACameraIsUnplugged) {
    serveControlled({"Front", "Back"});
    client->unplug("sim0");
    ASSERT_TRUE(client->waitForSignal("-sim0"));
    EXPECT_THAT(client->nodes(), ElementsAre("sim1"));
    EXPECT_EQ(errorOf([&] { client->open("sim0"); }), "org.freedesktop.DBus.Error.UnknownObject");
    EXPECT_THAT(client->signals(), ElementsAre("-sim0"));
}

TEST_F(AControlledService, UnplugsTheDeviceBeforeItTellsOfIt) {
    serveControlled({"Front"});
    const auto handle = client->open("sim0");
    client->unplug("sim0");
    ASSERT_TRUE(client->waitForSignal("-sim0"));
    v4l2_capability answer{};
    EXPECT_EQ(errnoOf(ioctl(handle.get(), VIDIOC_QUERYCAP, &answer)), ENODEV);
}

TEST_F(AControlledService, PutsACameraThatComesBackUnderItsOldPath) {
    serveControlled({"Front", "Back"});
    client->unplug("sim0");
    EXPECT_EQ(client->plug(describe("Again")), "sim0");
    EXPECT_TRUE(client->waitForSignal("+sim0"));
    EXPECT_THAT(client->signals(), ElementsAre("-sim0", "+sim0"));
    EXPECT_EQ(client->property("sim0", "Name").get<std::string>(), "Again");
}

TEST_F(AControlledService, SwitchesFaultsOnAndOffWhileTheCameraIsOpen) {
    serveControlled({"Front"});
    const auto handle = client->open("sim0");
    client->setFault("sim0", R"({"call": "VIDIOC_QUERYCAP", "errno": "EIO", "count": "always"})");
    v4l2_capability answer{};
    EXPECT_EQ(errnoOf(ioctl(handle.get(), VIDIOC_QUERYCAP, &answer)), EIO);
    client->clearFaults("sim0");
    EXPECT_EQ(errnoOf(ioctl(handle.get(), VIDIOC_QUERYCAP, &answer)), 0);
}

TEST_F(AControlledService, RefusesMalformedDescriptionsAndFaultsWithThePlaceInTheJson) {
    serveControlled({"Front"});
    EXPECT_EQ(errorOf([&] { client->plug("{"); }), "io.nerio.Gatehold1.Error.BadDescription");
    EXPECT_EQ(errorOf([&] { client->setFault("sim0", R"({"frame": "purple"})"); }),
              "io.nerio.Gatehold1.Error.BadDescription");
    try {
        client->plug(R"({"name": "X", "formats": [{"fourcc": "YUYV", "sizes": ["wide"]}]})");
        ADD_FAILURE() << "accepted";
    } catch (const sdbus::Error& error) {
        EXPECT_THAT(error.getMessage(), HasSubstr("/formats/0/sizes"));
    }
    EXPECT_THAT(client->nodes(), ElementsAre("sim0"));
}

TEST_F(AControlledService, RefusesCamerasThatAreNotThere) {
    serveControlled({});
    const std::string error = "io.nerio.Gatehold1.Error.NoSuchCamera";
    EXPECT_EQ(errorOf([&] { client->unplug("sim0"); }), error);
    EXPECT_EQ(errorOf([&] { client->setFault("sim0", R"({"frame": "lost"})"); }), error);
    EXPECT_EQ(errorOf([&] { client->clearFaults("sim0"); }), error);
}

// Streams, as a host would, until poll tells of an error.
void streamUntilPollFails(int fd) {
    v4l2_requestbuffers request{};
    request.count = 2;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    ASSERT_EQ(ioctl(fd, VIDIOC_REQBUFS, &request), 0);
    v4l2_buffer buffer{};
    buffer.type = request.type;
    buffer.memory = request.memory;
    for (buffer.index = 0; buffer.index < request.count; ++buffer.index) {
        ASSERT_EQ(ioctl(fd, VIDIOC_QBUF, &buffer), 0);
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    ASSERT_EQ(ioctl(fd, VIDIOC_STREAMON, &type), 0);
    pollfd item{fd, POLLIN, 0};
    while (poll(&item, 1, 60000) > 0 && (item.revents & POLLERR) == 0) {
        ASSERT_EQ(ioctl(fd, VIDIOC_DQBUF, &buffer), 0);
        ASSERT_EQ(ioctl(fd, VIDIOC_QBUF, &buffer), 0);
    }
    EXPECT_NE(item.revents & POLLHUP, 0);
}

TEST_F(AControlledService, AnnouncesACameraThatUnplugsItselfWhileItStreams) {
    const auto description = file("dying.json", R"({"name": "Dying", "intervals": ["1/100"],
        "formats": [{"fourcc": "YUYV", "sizes": ["320x240"]}],
        "faults": [{"frame": "unplug", "first": 5}]})");
    serve({"Healthy"}, {"--simulate", description});
    const auto handle = client->open("sim1");
    streamUntilPollFails(handle.get());
    ASSERT_TRUE(client->waitForSignal("-sim1"));
    EXPECT_THAT(client->nodes(), ElementsAre("sim0"));
    EXPECT_THAT(client->signals(), ElementsAre("-sim1"));
}

TEST_F(AControlledService, IsThereOnlyWhenAskedFor) {
    serve({"Front"});
    EXPECT_EQ(errorOf([&] { client->plug(describe("New")); }),
              "org.freedesktop.DBus.Error.UnknownObject");
    EXPECT_EQ(control({"unplug", "sim0"}), 9);
    EXPECT_THAT(errors, HasSubstr("--control"));
    EXPECT_THAT(client->nodes(), ElementsAre("sim0"));
    // What there is can be seen without it.
    EXPECT_EQ(control({"list"}), 0);
    EXPECT_THAT(output, HasSubstr(pathOf("sim0") + " "));
}

TEST_F(AControlledService, ObeysTheProgramsOwnCommands) {
    serveControlled({"Front door"});
    EXPECT_EQ(control({"plug", file("new.json", describe("New"))}), 0) << errors;
    EXPECT_EQ(output, pathOf("sim1") + "\n");
    EXPECT_EQ(control({"list"}), 0);
    EXPECT_THAT(output, HasSubstr("Front door\n"));
    EXPECT_THAT(output, HasSubstr("New\n"));

    const auto handle = client->open("sim0");
    v4l2_capability answer{};
    EXPECT_EQ(control({"fault", pathOf("sim0"), R"({"call": "VIDIOC_QUERYCAP", "errno": "EIO"})"}),
              0)
        << errors;
    EXPECT_EQ(errnoOf(ioctl(handle.get(), VIDIOC_QUERYCAP, &answer)), EIO);
    EXPECT_EQ(control({"fault", "sim0",
                       R"({"call": "VIDIOC_QUERYCAP", "errno": "EIO", "count": "always"})"}),
              0);
    EXPECT_EQ(control({"clear", "sim0"}), 0);
    EXPECT_EQ(errnoOf(ioctl(handle.get(), VIDIOC_QUERYCAP, &answer)), 0);

    EXPECT_EQ(control({"unplug", "door"}), 0);
    EXPECT_THAT(client->nodes(), ElementsAre("sim1"));
}

TEST_F(AControlledService, TellsWhichCameraACommandCouldMean) {
    serveControlled({"Front door", "Back door", "Front"});
    EXPECT_EQ(control({"unplug", "door"}), 10);
    EXPECT_THAT(errors, HasSubstr("more than one"));
    EXPECT_EQ(control({"unplug", "Cellar"}), 10);
    EXPECT_THAT(errors, HasSubstr("no camera"));
    // A whole name wins over being a part of others.
    EXPECT_EQ(control({"unplug", "Front"}), 0);
    EXPECT_THAT(client->nodes(), ElementsAre("sim0", "sim1"));
}

TEST_F(AControlledService, TellsWhatIsWrongWithAFileOrAFault) {
    serveControlled({"Front"});
    EXPECT_EQ(control({"plug", "/nonexistent/camera.json"}), 6);
    EXPECT_THAT(errors, HasSubstr("/nonexistent/camera.json"));
    EXPECT_EQ(control({"plug", file("bad.json", R"({"name": "X", "formats": 3})")}), 6);
    EXPECT_THAT(errors, HasSubstr("bad.json"));
    EXPECT_THAT(errors, HasSubstr("/formats"));
    EXPECT_EQ(control({"fault", "sim0", R"({"frame": "purple"})"}), 6);
    EXPECT_THAT(errors, HasSubstr("/frame"));
    EXPECT_THAT(client->nodes(), ElementsAre("sim0"));
    EXPECT_THAT(client->signals(), IsEmpty());
}

TEST_F(AControlledService, IsMissedWithAnAdvice) {
    EXPECT_EQ(control({"list"}), 9);
    EXPECT_THAT(errors, HasSubstr("lumiq-gatehold --control"));
}

}  // namespace
}  // namespace GateholdTest
