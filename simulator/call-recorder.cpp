// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Keeps the trace. Called by the stand-ins on the host's threads, and by tests.

#include "call-recorder.h"

#include <cstdlib>
#include <mutex>
#include <utility>

#include "device-registry.h"

namespace Simulator {
namespace {

struct Recorded {
    std::mutex mutex;
    std::vector<TracedCall> calls;
};

/// Never destroyed: threads may still call while the process ends.
Recorded& recorded() {
    static auto* const instance = new Recorded;
    return *instance;
}

}  // namespace

std::atomic<bool> recording = false;

void record(TracedCall call) {
    call.thread = std::this_thread::get_id();
    Recorded& all = recorded();
    const std::lock_guard lock(all.mutex);
    all.calls.push_back(std::move(call));
}

void startTrace() {
    // LeakSanitizer yields, and so comes through here, when it looks for leaks as the process ends:
    // it holds the allocator's locks then, and a recorder that allocates would wait for ever.
    static const int untilTheEnd = std::atexit([] { recording.store(false); });
    static_cast<void>(untilTheEnd);
    Recorded& all = recorded();
    const std::lock_guard lock(all.mutex);
    all.calls.clear();
    recording.store(true);
}

std::vector<TracedCall> tracedCalls() {
    Recorded& all = recorded();
    const std::lock_guard lock(all.mutex);
    return all.calls;
}

std::vector<TracedCall> stopTrace() {
    recording.store(false);
    Recorded& all = recorded();
    const std::lock_guard lock(all.mutex);
    return std::exchange(all.calls, {});
}

LiveCount liveCount() {
    return DeviceRegistry::instance().count();
}

}  // namespace Simulator
