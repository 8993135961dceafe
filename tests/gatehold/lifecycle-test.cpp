// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the program begins and ends: its exit codes, what it says, and what it leaves behind.
#include <gmock/gmock.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "service-fixture.h"

namespace GateholdTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using TestSupport::ChildProcess;
using TestSupport::GateholdProcess;
using TestSupport::PrivateBus;

class TheProgram : public ServiceFixture {
protected:
    // Runs it from its start to its end.
    int run(const std::vector<std::string>& arguments) { return run(bus.address(), arguments); }
    int run(const std::string& address, const std::vector<std::string>& arguments) {
        auto program = GateholdProcess::run(address, arguments);
        const int exitCode = program.wait();
        output = program.standardOutput();
        errors = program.standardError();
        return exitCode;
    }

    std::string output;
    std::string errors;
};

bool answers(int fd) {
    v4l2_capability answer{};
    return ioctl(fd, VIDIOC_QUERYCAP, &answer) == 0;
}

TEST_F(TheProgram, TeachesItsUse) {
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_THAT(output, HasSubstr("--simulate"));
    EXPECT_THAT(output, HasSubstr("Example"));
    EXPECT_THAT(output, HasSubstr("Exit codes"));
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_THAT(output, HasSubstr("lumiq-gatehold "));
}

TEST_F(TheProgram, RefusesCommandLinesThatMakeNoSense) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--nonsense"},
                                                      {"--real", "--no-real"},
                                                      {"--simulate"},
                                                      {"control"},
                                                      {"control", "unplug"},
                                                      {"--ready-fd", "x"},
                                                      {"--ready-fd", "77"}}) {
        EXPECT_EQ(run(arguments), 2) << arguments.front();
        EXPECT_NE(errors + output, "");
    }
}

TEST_F(TheProgram, EndsWithSuccessOnSigterm) {
    serve({"Front"});
    EXPECT_EQ(service->stop(), 0);
    EXPECT_THAT(service->process().standardError(), HasSubstr("ready: 1 camera"));
}

TEST_F(TheProgram, EndsWithSuccessOnSigint) {
    serve({"Front"});
    service->process().signal(SIGINT);
    EXPECT_EQ(service->process().wait(), 0);
}

TEST_F(TheProgram, TakesItsSimulatedCamerasWithItWhenItIsStopped) {
    serve({"Front"});
    const auto handle = client->open("sim0");
    ASSERT_TRUE(answers(handle.get()));
    EXPECT_EQ(service->stop(), 0);
    EXPECT_TRUE(client->waitForSignal("-sim0"));
    EXPECT_FALSE(answers(handle.get()));
}

TEST_F(TheProgram, LeavesOpenCamerasAloneWhenItIsKilled) {
    serve({"Front"});
    const auto handle = client->open("sim0");
    service->process().signal(SIGKILL);
    EXPECT_EQ(service->process().wait(), -SIGKILL);
    EXPECT_TRUE(answers(handle.get()));
}

TEST_F(TheProgram, LeavesNoFilesBehind) {
    const std::string folder = bus.folder() + "/temporary";
    std::filesystem::create_directory(folder);
    const auto description = file("camera.json", describe("Front"));
    ChildProcess program({GateholdProcess::program(), "--ready-fd", "3", "--simulate", description},
                         {.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()},
                                          {"TMPDIR", folder},
                                          {"HOME", folder},
                                          {"XDG_RUNTIME_DIR", folder}}});
    ASSERT_EQ(program.readyLine(), "ready");
    BusClient(bus.address()).open("sim0");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(TheProgram, ServesRealNodesByDefault) {
    // Whether this machine has any is not the test's to know; it must come up in both cases.
    service.emplace(bus, std::vector<std::string>{});
    EXPECT_EQ(service->stop(), 0) << service->process().standardError();
}

TEST_F(TheProgram, EndsWhenTheBusGoesAway) {
    serve({"Front"});
    const auto handle = client->open("sim0");
    client.reset();
    bus.stop();
    EXPECT_EQ(service->process().wait(), 7);
    EXPECT_THAT(service->process().standardError(), HasSubstr("the message bus went away"));
    EXPECT_TRUE(answers(handle.get()));
}

TEST_F(TheProgram, EndsWithSuccessWhenItIsStoppedTogetherWithTheBus) {
    serve({"Front"});
    const auto handle = client->open("sim0");
    client.reset();
    // Held still meanwhile, so that it finds both at once.
    service->process().signal(SIGSTOP);
    bus.stop();
    service->process().signal(SIGTERM);
    service->process().signal(SIGCONT);
    EXPECT_EQ(service->process().wait(), 0) << service->process().standardError();
    EXPECT_FALSE(answers(handle.get()));
}

TEST_F(TheProgram, TellsThatThereIsNoBus) {
    bus.stop();
    EXPECT_EQ(run({"--no-real"}), 3);
    EXPECT_THAT(errors, HasSubstr(bus.address()));
    EXPECT_THAT(errors, HasSubstr("DBUS_SYSTEM_BUS_ADDRESS"));
    EXPECT_EQ(run("nonsense", {"--no-real"}), 3);
}

TEST_F(TheProgram, TellsThatAnotherServiceHasTheName) {
    serve({"Front"});
    EXPECT_EQ(run({"--no-real"}), 5);
    EXPECT_THAT(errors, HasSubstr("--replace"));
    EXPECT_THAT(client->nodes(), ElementsAre("sim0"));
}

TEST_F(TheProgram, TakesTheNameOverWhenAskedTo) {
    serve({"Front"});
    GateholdProcess second(
        bus, {"--no-real", "--simulate", file("two.json", describe("Two")), "--replace"});
    EXPECT_EQ(service->process().wait(), 8);
    EXPECT_THAT(service->process().standardError(), HasSubstr("took the name over"));
    EXPECT_EQ(client->property("sim0", "Name").get<std::string>(), "Two");
}

TEST_F(TheProgram, TellsClientsThatStayedOfItsCameras) {
    client.emplace(bus.address());
    service.emplace(bus, std::vector<std::string>{"--simulate", file("a.json", describe("A"))});
    EXPECT_TRUE(client->waitForSignal("+sim0"));
    EXPECT_EQ(client->lastArrival().at(kDeviceInterface).at("Name").get<std::string>(), "A");
}

TEST_F(TheProgram, TellsTheFileAndThePlaceOfAMalformedDescription) {
    const auto good = file("good.json", describe("Good"));
    const auto bad =
        file("bad.json", R"({"name": "Bad", "formats": [{"fourcc": "YUYV", "sizes": [7]}]})");
    EXPECT_EQ(run({"--simulate", good, "--simulate", bad}), 6);
    EXPECT_THAT(errors, HasSubstr(bad));
    EXPECT_THAT(errors, HasSubstr("/formats/0/sizes/0"));
    EXPECT_EQ(run({"--simulate", file("cut.json", R"({"name": )")}), 6);
    EXPECT_THAT(errors, HasSubstr("cut.json"));
    EXPECT_EQ(run({"--simulate", "/nonexistent/camera.json"}), 6);
    EXPECT_THAT(errors, HasSubstr("/nonexistent/camera.json"));
}

TEST_F(TheProgram, TellsOfArrivalsDeparturesAndOpensWhenItIsVerbose) {
    serve({"Front"}, {"--control", "--verbose"});
    client->open("sim0");
    client->unplug("sim0");
    EXPECT_EQ(service->stop(), 0);
    const std::string said = service->process().standardError();
    EXPECT_THAT(said, HasSubstr("sim0: \"Front\" arrived"));
    EXPECT_THAT(said, HasSubstr("\"Front\" opened for :"));
    EXPECT_THAT(said, HasSubstr("sim0: \"Front\" left"));
}

}  // namespace
}  // namespace GateholdTest
