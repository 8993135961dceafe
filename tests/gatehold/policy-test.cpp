// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The bus policy file, enforced by a real bus: who may see the cameras, open them, control the
// service, and pose as it. Needs root, since it acts as other users.
#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include "service-fixture.h"

namespace GateholdTest {
namespace {

using ::testing::HasSubstr;
using TestSupport::ChildProcess;
using TestSupport::GateholdProcess;
using TestSupport::PrivateBus;

// What every Linux system bus begins with, before the policies of services: closed.
const std::string kSystemBus = R"(  <policy context="default">
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
)";
const std::string kPolicyFile = std::string("  <include>") + LUMIQ_GATEHOLD_POLICY + "</include>\n";

class ThePolicy : public ::testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can act as other users: run the tests as root to check the "
                            "bus policy";
        }
        const passwd* const nobody = getpwnam("nobody");
        const group* const video = getgrnam("video");
        if (nobody == nullptr || video == nullptr) {
            GTEST_SKIP() << "this machine has no user \"nobody\" or no group \"video\"";
        }
        m_user = nobody->pw_uid;
        m_ownGroup = nobody->pw_gid;
        m_videoGroup = video->gr_gid;
        bus.emplace(TestSupport::PrivateBusOptions{kSystemBus + kPolicyFile, true});
        service.emplace(*bus, std::vector<std::string>{"--no-real", "--control"});
        BusClient(bus->address()).plug(describe("Front"));
    }

    // "allowed", or what the bus or the service answers.
    std::string callAs(gid_t group, const std::string& path, const std::string& method,
                       const std::vector<std::string>& arguments = {}) const {
        return send("io.nerio.Gatehold1", group, path, method, arguments);
    }

    std::string send(const std::string& destination, gid_t group, const std::string& path,
                     const std::string& method, const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{
            "dbus-send", "--bus=" + bus->address(), "--print-reply", "--dest=" + destination, path,
            method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ChildProcess call(std::move(command), {{}, m_user, group});
        return call.wait() == 0 ? "allowed" : call.standardError();
    }

    std::string open(gid_t group) const {
        return callAs(group, pathOf("sim0"), "io.nerio.Gatehold1.UvcDevice.Open");
    }

    std::optional<PrivateBus> bus;
    std::optional<GateholdProcess> service;
    uid_t m_user = 0;
    gid_t m_ownGroup = 0;
    gid_t m_videoGroup = 0;
};

TEST_F(ThePolicy, LetsTheGroupVideoOpenACamera) {
    EXPECT_EQ(open(m_videoGroup), "allowed");
}

TEST_F(ThePolicy, LetsNobodyElseOpenACamera) {
    EXPECT_THAT(open(m_ownGroup), HasSubstr("AccessDenied"));
}

TEST_F(ThePolicy, RefusesWhatItDoesNotName) {
    for (const gid_t group : {m_ownGroup, m_videoGroup}) {
        EXPECT_THAT(callAs(group, pathOf("sim0"), "io.nerio.Gatehold1.Other.Open"),
                    HasSubstr("AccessDenied"));
        EXPECT_THAT(callAs(group, pathOf("sim0"), "io.nerio.Gatehold1.UvcDevice.Other"),
                    HasSubstr("AccessDenied"));
    }
}

TEST_F(ThePolicy, LetsAnyoneSeeWhichCamerasThereAre) {
    EXPECT_EQ(
        callAs(m_ownGroup, kManagerPath, "org.freedesktop.DBus.ObjectManager.GetManagedObjects"),
        "allowed");
    EXPECT_EQ(callAs(m_ownGroup, pathOf("sim0"), "org.freedesktop.DBus.Properties.GetAll",
                     {"string:io.nerio.Gatehold1.UvcDevice"}),
              "allowed");
}

TEST_F(ThePolicy, LetsOnlyRootControlTheService) {
    for (const gid_t group : {m_ownGroup, m_videoGroup}) {
        EXPECT_THAT(callAs(group, "/io/nerio/Gatehold1/Control",
                           "io.nerio.Gatehold1.Control.Unplug", {"objpath:" + pathOf("sim0")}),
                    HasSubstr("AccessDenied"));
    }
    EXPECT_EQ(GateholdProcess::runToEnd(bus->address(), {"control", "unplug", "sim0"}), 0);
}

TEST_F(ThePolicy, LetsOnlyRootOwnTheName) {
    service.reset();
    EXPECT_THAT(send("org.freedesktop.DBus", m_videoGroup, "/org/freedesktop/DBus",
                     "org.freedesktop.DBus.RequestName", {"string:io.nerio.Gatehold1", "uint32:0"}),
                HasSubstr("AccessDenied"));
}

TEST(ABusWithoutThePolicy, RefusesTheNameWithTheAdviceToInstallIt) {
    const PrivateBus bus({kSystemBus, false});
    auto program = GateholdProcess::run(bus.address(), {"--no-real"});
    EXPECT_EQ(program.wait(), 4);
    EXPECT_THAT(program.standardError(), HasSubstr("io.nerio.Gatehold1.conf"));
}

}  // namespace
}  // namespace GateholdTest
