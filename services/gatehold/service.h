// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The service from its start to its end: cameras first, then the name, then the loop. Called by
// main.
#pragma once

#include "exit-code.h"
#include "options.h"

namespace GateholdService {

// Returns when the service has ended. Throws Failure if it cannot begin.
ExitCode serve(const ServeOptions& options);

}  // namespace GateholdService
