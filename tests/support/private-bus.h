// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A message bus of a test's own: a real dbus-daemon on a socket in a temporary folder. Called by
// tests that talk to the device-access service or stand in for it, from the thread that runs them.
//
//     TestSupport::PrivateBus bus;
//     setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
#pragma once

#include <optional>
#include <string>

#include "child-process.h"
#include "temporary-folder.h"

namespace TestSupport {

struct PrivateBusOptions {
    // The <policy> and <include> elements of the bus's configuration. Without them everybody who
    // can connect may do everything.
    std::string policies;
    // Users other than the one who runs the test can reach the socket (the policies still apply).
    bool reachableByOtherUsers = false;
};

class PrivateBus {
public:
    // Returns when the bus accepts connections. Throws std::runtime_error, with what the daemon
    // printed, if it does not come up.
    explicit PrivateBus(PrivateBusOptions options = {});
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    // What DBUS_SYSTEM_BUS_ADDRESS has to name; the same after a restart.
    const std::string& address() const { return m_address; }
    // The folder of socket and configuration; a test may leave files of its own in it.
    const std::string& folder() const { return m_folder.path().native(); }

    // Ends the daemon: every connection is lost. Returns when it is gone; nothing if it is already.
    void stop();
    // Starts it again at the same address; nothing if it runs.
    void start();

private:
    void writeConfiguration(const PrivateBusOptions& options) const;

    // Goes last, when the daemon is gone.
    const TemporaryFolder m_folder{"bus"};
    std::string m_address;
    std::optional<ChildProcess> m_daemon;
};

}  // namespace TestSupport
