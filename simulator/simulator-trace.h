// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a program did with its simulated cameras, for tests and benchmarks that have the simulator
// linked in. Calls of a plug-in that the program loads are seen too. Any thread.

#ifndef LUMIQ_SIMULATOR_SIMULATOR_TRACE_H
#define LUMIQ_SIMULATOR_SIMULATOR_TRACE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace Simulator {

/// One call of libc that went to a simulated camera; and, so that a loop's whole cycle is seen,
/// every sched_yield() in the process.
struct TracedCall {
    std::string name;          ///< "VIDIOC_DQBUF", "poll", "mmap", "munmap", "close", "sched_yield"
    int descriptor = -1;       ///< -1 where there is none (munmap, sched_yield)
    std::uint64_t handle = 0;  ///< number of the file handle; 0 where there is none
    std::uint64_t result = 0;  ///< what the call returned; the address for mmap
    int error = 0;             ///< errno, 0 for success
    short revents = 0;         ///< poll: what it said about this descriptor
    std::uint32_t index = 0;   ///< QUERYBUF, QBUF, DQBUF: the buffer; REQBUFS: the count granted
    std::thread::id thread;
};

/// Begins to record; what was recorded before is forgotten.
void startTrace();

/// What was recorded since startTrace(). Recording goes on.
std::vector<TracedCall> tracedCalls();

/// Ends recording and returns what was recorded.
std::vector<TracedCall> stopTrace();

/// What this process holds of simulated cameras now.
struct LiveCount {
    std::size_t devices = 0;   ///< cameras with at least one handle that was used
    std::size_t handles = 0;   ///< handles that were used and are not closed
    std::size_t mappings = 0;  ///< buffers that are mapped
    bool operator==(const LiveCount&) const = default;
};
LiveCount liveCount();

}  // namespace Simulator

#endif
