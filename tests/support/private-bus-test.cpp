// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The test kit itself: a bus that comes and goes, a program that is waited for. What it gets wrong,
// the tests that stand on it would get wrong.
#include "private-bus.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace TestSupport {
namespace {

using ::testing::HasSubstr;

// Whether a client can connect and be answered.
bool answers(const std::string& address) {
    ChildProcess client({"dbus-send", "--bus=" + address, "--print-reply",
                         "--dest=org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetId"});
    return client.wait() == 0;
}

TEST(APrivateBus, AnswersAtItsAddressAsSoonAsItIsMade) {
    const PrivateBus bus;
    EXPECT_TRUE(answers(bus.address()));
}

TEST(APrivateBus, CanBeStoppedAndStartedAgainAtTheSameAddress) {
    PrivateBus bus;
    const std::string address = bus.address();
    bus.stop();
    EXPECT_FALSE(answers(address));
    bus.stop();
    bus.start();
    EXPECT_EQ(bus.address(), address);
    EXPECT_TRUE(answers(address));
}

TEST(APrivateBus, IsApartFromOthers) {
    PrivateBus first;
    const PrivateBus second;
    EXPECT_NE(first.address(), second.address());
    first.stop();
    EXPECT_TRUE(answers(second.address()));
}

TEST(APrivateBus, LeavesNothingBehind) {
    std::string folder;
    std::string address;
    {
        const PrivateBus bus;
        folder = bus.folder();
        address = bus.address();
        EXPECT_TRUE(std::filesystem::exists(folder));
    }
    EXPECT_FALSE(std::filesystem::exists(folder));
    EXPECT_FALSE(answers(address));
}

TEST(APrivateBus, TellsWhatIsWrongWithItsPolicies) {
    try {
        const PrivateBus bus({.policies = "<nonsense/>"});
        ADD_FAILURE() << "came up";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("nonsense"));
    }
}

TEST(AChildProcess, KeepsWhatItPrintsAndItsExitCode) {
    ChildProcess child({"sh", "-c", "echo out; echo err >&2; exit 7"});
    EXPECT_EQ(child.wait(), 7);
    EXPECT_EQ(child.wait(), 7);
    EXPECT_EQ(child.standardOutput(), "out\n");
    EXPECT_EQ(child.standardError(), "err\n");
}

TEST(AChildProcess, IsWaitedForByItsReadyPipe) {
    ChildProcess child({"sh", "-c", "echo one >&3; echo two >&3; exec 3>&-; exec cat"});
    EXPECT_EQ(child.readyLine(), "one");
    EXPECT_EQ(child.readyLine(), "two");
    EXPECT_EQ(child.readyLine(), "");
}

TEST(AChildProcess, ThatCannotBeRunSaysWhy) {
    ChildProcess child({"/nonexistent/program"});
    EXPECT_EQ(child.wait(), 127);
    EXPECT_THAT(child.standardError(), HasSubstr("No such file"));
}

TEST(AChildProcess, HasTheEnvironmentOfTheTestAndMore) {
    ChildProcess child({"sh", "-c", "echo $PATH $HOME"}, {.environment = {{"HOME", "elsewhere"}}});
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(child.standardOutput(), HasSubstr("elsewhere"));
    EXPECT_THAT(child.standardOutput(), HasSubstr("/bin"));
}

TEST(AChildProcess, IsKilledWithTheObject) {
    pid_t pid = 0;
    {
        ChildProcess child({"sh", "-c", "echo here >&3; exec sleep 1000"});
        EXPECT_EQ(child.readyLine(), "here");
        EXPECT_TRUE(child.running());
        pid = child.pid();
    }
    EXPECT_EQ(kill(pid, 0), -1);
}

TEST(AChildProcess, TellsTheSignalThatEndedItAndHowLongItWasWaitedFor) {
    ChildProcess child({"sleep", "1000"});
    EXPECT_THROW(child.wait(std::chrono::milliseconds(10)), std::runtime_error);
    child.signal(SIGTERM);
    EXPECT_EQ(child.wait(), -SIGTERM);
    EXPECT_FALSE(child.running());
}

}  // namespace
}  // namespace TestSupport
