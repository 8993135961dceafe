// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starts and ends the dbus-daemon of a test; see the header.
#include "private-bus.h"

#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace TestSupport {
namespace {

constexpr const char* kEverythingAllowed = R"(  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
)";

}  // namespace

PrivateBus::PrivateBus(PrivateBusOptions options) : m_address("unix:path=" + folder() + "/bus") {
    if (options.policies.empty()) {
        options.policies = kEverythingAllowed;
    }
    writeConfiguration(options);
    start();
}

void PrivateBus::writeConfiguration(const PrivateBusOptions& options) const {
    if (options.reachableByOtherUsers) {
        // Enough to get at the socket by its name, which is all another user needs.
        std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0711));
    }
    std::ofstream file(folder() + "/bus.conf");
    file << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>)"
         << m_address << "</listen>\n  <auth>EXTERNAL</auth>\n"
         << (options.reachableByOtherUsers
                 ? "  <policy context=\"default\"><allow user=\"*\"/></policy>\n"
                 : "")
         << options.policies << "</busconfig>\n";
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + folder() + "/bus.conf");
    }
}

void PrivateBus::start() {
    if (m_daemon) {
        return;
    }
    // A daemon that was killed leaves its socket behind and would refuse to bind it again.
    std::filesystem::remove(folder() + "/bus");
    ChildProcess daemon({"dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
                         "--config-file=" + folder() + "/bus.conf",
                         "--print-address=" + std::to_string(ChildProcess::readyDescriptor)});
    if (daemon.readyLine().empty()) {
        daemon.signal(SIGKILL);
        daemon.wait();
        throw std::runtime_error("dbus-daemon did not come up: " + daemon.standardError());
    }
    m_daemon.emplace(std::move(daemon));
}

void PrivateBus::stop() {
    m_daemon.reset();
}

}  // namespace TestSupport
