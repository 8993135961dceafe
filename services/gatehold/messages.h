// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the program tells the person who runs it, on standard error, a line at a time. Called from
// the service's one thread.
#pragma once

#include <string>

namespace GateholdService {

// Set once, by main; off until then.
void setVerbose(bool verbose);

void say(const std::string& message);
// Only with --verbose.
void sayVerbose(const std::string& message);

}  // namespace GateholdService
