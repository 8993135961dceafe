// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The memory file behind a simulated camera: a control block that every process with the camera
// shares, the description's JSON text, and room for frame buffers. Any process may unplug the
// camera or switch a fault; the simulated driver in each obeys. Everything here is lock-free, since
// a process that holds a lock may die.

#ifndef LUMIQ_SIMULATOR_CONTROL_BLOCK_H
#define LUMIQ_SIMULATOR_CONTROL_BLOCK_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "fault.h"

namespace Simulator {

/// A place for one fault. `state` is free, being written, or on, with a number in its upper bits
/// that grows with every use, so that a reader notices when the place changed hands.
struct FaultSlot {
    std::atomic<std::uint32_t> state;
    std::atomic<std::uint32_t> kind, event, value, first, every, count;
    std::atomic<std::uint64_t> seen;  ///< events of this kind since the fault was switched on
};

/// The first bytes of the file. A new file is all zero, which is the valid start of every member.
struct ControlBlock {
    static constexpr std::uint64_t magicNumber = 0x314d4953514d554cU;
    static constexpr std::size_t faultSlots = 16;
    static constexpr std::size_t jsonOffset = std::size_t{64} << 10;
    static constexpr std::size_t arenaOffset = std::size_t{4} << 20;
    static constexpr std::size_t maxJsonBytes = arenaOffset - jsonOffset;
    /// The file is sparse; its odd size is what tells it from other files at a glance.
    static constexpr std::uint64_t arenaBytes = std::uint64_t{16} << 30;
    static constexpr std::uint64_t fileBytes = arenaOffset + arenaBytes + 0x5000;

    std::atomic<std::uint64_t> magic;  ///< written last
    std::uint32_t jsonBytes;
    std::atomic<std::uint32_t> wake;  ///< futex: grows with every change that a driver must see
    std::atomic<std::uint32_t> unplugged;
    std::atomic<std::uint32_t> faultsOn;
    std::atomic<std::uint64_t> lastHandle;
    std::atomic<std::uint64_t> owner;     ///< handle that may set formats and stream; 0: nobody
    std::atomic<std::uint64_t> format;    ///< format number << 32 | width << 16 | height
    std::atomic<std::uint64_t> interval;  ///< numerator << 32 | denominator
    std::atomic<std::uint64_t> arenaUsed;
    std::atomic<std::uint64_t> framesMade;
    std::array<FaultSlot, faultSlots> faults;
};
static_assert(sizeof(ControlBlock) <= ControlBlock::jsonOffset);
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

/// A fault that strikes now, and the place it came from.
struct StruckFault {
    Fault fault;
    std::size_t slot = 0;
    std::uint32_t state = 0;
};

/// The faults that strike one event; at most all there are.
struct StruckFaults {
    std::array<StruckFault, ControlBlock::faultSlots> faults;
    std::size_t size = 0;
    [[nodiscard]] const StruckFault* find(FaultKind kind) const;
};

/// Counts the event in every fault that waits for it and returns those that strike.
StruckFaults countEvent(ControlBlock& control, std::uint32_t event);

/// Switches a fault on; false when every place is taken.
bool addFault(ControlBlock& control, const Fault& fault);
void removeFaults(ControlBlock& control);

/// Whether the fault is still switched on.
bool stillOn(const ControlBlock& control, const StruckFault& fault);

/// Makes the camera go away, for good.
void unplugDevice(ControlBlock& control);

/// Wakes every driver thread of the camera, in all processes.
void ring(ControlBlock& control);

/// Waits until ring() was called since `seen` was read from `wake`, or until the time has come.
void waitForRing(const ControlBlock& control, std::uint32_t seen,
                 std::optional<std::chrono::steady_clock::time_point> until);

/// A handle is alive as long as its open file description is: that holds a lock on the byte of the
/// file that has the handle's number. `probe` is another open file description of the file.
bool takeHandleLock(int descriptor, std::uint64_t handle);
bool handleAlive(int probe, std::uint64_t handle);
/// The lowest live handle from `handle` up; 0 when there is none.
std::uint64_t nextLiveHandle(int probe, std::uint64_t handle);

/// Opens the same file anew, as an open file description of its own; -1 with errno on failure.
int reopen(int descriptor, int flags);

}  // namespace Simulator

#endif
