// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The connection to the message bus and the name the service owns there. Called by main.
#pragma once

#include <sdbus-c++/IConnection.h>

#include <functional>
#include <memory>

namespace GateholdService {

// The system bus, or the one that DBUS_SYSTEM_BUS_ADDRESS names. Throws Failure.
std::unique_ptr<sdbus::IConnection> connectToBus();

// Takes the service's name, from another owner if replace is set, and calls nameLost from within
// the loop if yet another takes it over later. Throws Failure.
void claimName(sdbus::IConnection& connection, bool replace, std::function<void()> nameLost);

}  // namespace GateholdService
