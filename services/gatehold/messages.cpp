// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Messages to the person who runs the program; see the header.
#include "messages.h"

#include <iostream>

namespace GateholdService {
namespace {

bool g_verbose = false;

}  // namespace

void setVerbose(bool verbose) {
    g_verbose = verbose;
}

void say(const std::string& message) {
    std::cerr << "lumiq-gatehold: " + message + "\n";
}

void sayVerbose(const std::string& message) {
    if (g_verbose) {
        say(message);
    }
}

}  // namespace GateholdService
