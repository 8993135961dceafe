// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// SIGINT and SIGTERM as events of the loop: the program ends between two calls, never within one.
// Made by main before any thread, so that every thread has them blocked.
#pragma once

#include <sdbus-c++/Types.h>

#include "event-loop.h"

namespace GateholdService {

class StopSignals {
public:
    // Blocks the signals, for good: the program ends soon after. Throws std::system_error.
    StopSignals();

    // Ends the loop with success when one arrives. The loop must not run after this is destroyed.
    void watchWith(EventLoop& loop);

private:
    sdbus::UnixFd m_descriptor;
};

}  // namespace GateholdService
