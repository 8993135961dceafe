// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The bus and the name; see the header.
#include "bus-name.h"

#include <sdbus-c++/Error.h>
#include <sdbus-c++/IProxy.h>
#include <sdbus-c++/Message.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

#include "exit-code.h"
#include "protocol.h"

namespace GateholdService {
namespace {

constexpr const char* kDaemon = "org.freedesktop.DBus";

// Flags and answers of the bus's RequestName.
constexpr std::uint32_t kAllowReplacement = 1;
constexpr std::uint32_t kReplaceExisting = 2;
constexpr std::uint32_t kDoNotQueue = 4;
constexpr std::uint32_t kPrimaryOwner = 1;
constexpr std::uint32_t kAlreadyOwner = 4;

std::uint32_t requestName(sdbus::IConnection& connection, bool replace) {
    const auto daemon = sdbus::createProxy(connection, sdbus::ServiceName{kDaemon},
                                           sdbus::ObjectPath{"/org/freedesktop/DBus"});
    // Always replaceable: only those may take the name over whom the bus lets own it anyway.
    const std::uint32_t flags =
        kAllowReplacement | kDoNotQueue | (replace ? kReplaceExisting : std::uint32_t{0});
    std::uint32_t answer = 0;
    daemon->callMethod("RequestName")
        .onInterface(kDaemon)
        .withArguments(std::string(Protocol::kServiceName), flags)
        .storeResultsTo(answer);
    return answer;
}

}  // namespace

std::unique_ptr<sdbus::IConnection> connectToBus() {
    try {
        return sdbus::createSystemBusConnection();
    } catch (const sdbus::Error& error) {
        const char* const address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
        throw Failure(
            ExitCode::noBus,
            "no message bus" +
                (address != nullptr ? std::string(" at ") + address : std::string()) + ": " +
                error.getMessage() +
                ". Start the system bus (package dbus), or set DBUS_SYSTEM_BUS_ADDRESS to the "
                "address of a bus of your own, for example what \"dbus-daemon --session --fork "
                "--print-address\" prints.");
    }
}

void claimName(sdbus::IConnection& connection, bool replace, std::function<void()> nameLost) {
    const std::string name = Protocol::kServiceName;
    connection.addMatch(
        "type='signal',sender='" + std::string(kDaemon) + "',member='NameLost',arg0='" + name + "'",
        [nameLost = std::move(nameLost)](const sdbus::Message&) { nameLost(); });
    std::uint32_t answer = 0;
    try {
        answer = requestName(connection, replace);
    } catch (const sdbus::Error& error) {
        throw Failure(ExitCode::nameRefused,
                      "the bus does not let this user own " + name + ": " + error.getMessage() +
                          ". On the system bus, run me as root and install the policy file "
                          "io.nerio.Gatehold1.conf (services/gatehold in the sources) into "
                          "/etc/dbus-1/system.d, then reload the bus: \"systemctl reload dbus\".");
    }
    if (answer != kPrimaryOwner && answer != kAlreadyOwner) {
        throw Failure(ExitCode::nameTaken,
                      "another service owns " + name +
                          " on this bus. Stop that one (\"busctl --system status " + name +
                          "\" tells who it is), or start me with --replace.");
    }
}

}  // namespace GateholdService
