// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Where the simulator's stand-ins note their calls for simulator-trace.h. Any thread.

#ifndef LUMIQ_SIMULATOR_CALL_RECORDER_H
#define LUMIQ_SIMULATOR_CALL_RECORDER_H

#include <atomic>

#include "simulator-trace.h"

namespace Simulator {

/// Whether to record at all; one load where nobody does.
extern std::atomic<bool> recording;

/// Notes a call, with the calling thread.
void record(TracedCall call);

}  // namespace Simulator

#endif
