// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The other end of the control object: "lumiq-gatehold control ...". Called by main, in a process
// of its own beside the service.
#pragma once

#include "options.h"

namespace GateholdService {

// Prints results on standard output. Throws Failure.
void runControlCommand(const ControlOptions& options);

}  // namespace GateholdService
