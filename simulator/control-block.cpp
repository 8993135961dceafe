// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Operations on the shared control block. Called on any thread of any process that has the camera.

#include "control-block.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <ctime>

namespace Simulator {
namespace {

constexpr std::uint32_t stateMask = 3;
constexpr std::uint32_t stateFree = 0;
constexpr std::uint32_t stateWriting = 1;
constexpr std::uint32_t stateOn = 2;
constexpr std::uint32_t generationStep = 4;

bool isOn(std::uint32_t state) {
    return (state & stateMask) == stateOn;
}

Fault faultOf(const FaultSlot& slot) {
    return {static_cast<FaultKind>(slot.kind.load(std::memory_order_relaxed)),
            slot.event.load(std::memory_order_relaxed),
            slot.value.load(std::memory_order_relaxed),
            slot.first.load(std::memory_order_relaxed),
            slot.every.load(std::memory_order_relaxed),
            slot.count.load(std::memory_order_relaxed)};
}

void write(FaultSlot& slot, const Fault& fault) {
    slot.kind.store(static_cast<std::uint32_t>(fault.kind), std::memory_order_relaxed);
    slot.event.store(fault.event, std::memory_order_relaxed);
    slot.value.store(fault.value, std::memory_order_relaxed);
    slot.first.store(fault.first, std::memory_order_relaxed);
    slot.every.store(fault.every, std::memory_order_relaxed);
    slot.count.store(fault.count, std::memory_order_relaxed);
    slot.seen.store(0, std::memory_order_relaxed);
}

/// Whether the fault will never strike again. A stall without a time lasts until it is cleared.
bool spent(const FaultSlot& slot) {
    const Fault fault = faultOf(slot);
    const bool lasting = fault.kind == FaultKind::Stall && fault.value == 0;
    return !lasting && fault.count != 0 &&
           slot.seen.load(std::memory_order_relaxed) >=
               fault.first + std::uint64_t{fault.count - 1} * fault.every;
}

bool claim(FaultSlot& slot, bool alsoSpent) {
    std::uint32_t state = slot.state.load(std::memory_order_acquire);
    const bool usable =
        (state & stateMask) == stateFree || (alsoSpent && isOn(state) && spent(slot));
    return usable && slot.state.compare_exchange_strong(
                         state, (state & ~stateMask) + generationStep + stateWriting,
                         std::memory_order_acq_rel);
}

struct flock byteLock(short type, std::uint64_t first, std::uint64_t bytes) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(first);
    lock.l_len = static_cast<off_t>(bytes);
    return lock;
}

}  // namespace

const StruckFault* StruckFaults::find(FaultKind kind) const {
    for (std::size_t i = 0; i < size; ++i) {
        if (faults[i].fault.kind == kind) {
            return &faults[i];
        }
    }
    return nullptr;
}

StruckFaults countEvent(ControlBlock& control, std::uint32_t event) {
    StruckFaults struck;
    if (control.faultsOn.load(std::memory_order_acquire) == 0) {
        return struck;
    }
    for (std::size_t i = 0; i < control.faults.size(); ++i) {
        FaultSlot& slot = control.faults[i];
        const std::uint32_t state = slot.state.load(std::memory_order_acquire);
        const Fault fault = faultOf(slot);
        if (!isOn(state) || fault.event != event || fault.every == 0 ||
            slot.state.load(std::memory_order_acquire) != state) {
            continue;
        }
        if (strikes(fault, slot.seen.fetch_add(1, std::memory_order_relaxed) + 1)) {
            struck.faults[struck.size++] = {fault, i, state};
        }
    }
    return struck;
}

bool addFault(ControlBlock& control, const Fault& fault) {
    for (const bool alsoSpent : {false, true}) {
        for (FaultSlot& slot : control.faults) {
            if (claim(slot, alsoSpent)) {
                write(slot, fault);
                slot.state.fetch_add(stateOn - stateWriting, std::memory_order_release);
                control.faultsOn.store(1, std::memory_order_release);
                ring(control);
                return true;
            }
        }
    }
    return false;
}

void removeFaults(ControlBlock& control) {
    for (FaultSlot& slot : control.faults) {
        std::uint32_t state = slot.state.load(std::memory_order_acquire);
        if (isOn(state)) {
            slot.state.compare_exchange_strong(state, state & ~stateMask,
                                               std::memory_order_acq_rel);
        }
    }
    ring(control);
}

bool stillOn(const ControlBlock& control, const StruckFault& fault) {
    return control.faults[fault.slot].state.load(std::memory_order_acquire) == fault.state;
}

void unplugDevice(ControlBlock& control) {
    control.unplugged.store(1, std::memory_order_release);
    ring(control);
}

void ring(ControlBlock& control) {
    control.wake.fetch_add(1, std::memory_order_acq_rel);
    syscall(SYS_futex, &control.wake, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void waitForRing(const ControlBlock& control, std::uint32_t seen,
                 std::optional<std::chrono::steady_clock::time_point> until) {
    timespec time{};
    if (until) {
        const auto since = until->time_since_epoch();
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
        time.tv_sec = static_cast<time_t>(seconds.count());
        time.tv_nsec = static_cast<long>(std::chrono::nanoseconds(since - seconds).count());
    }
    // The bitset form takes a point of the monotonic clock, so an early wake-up costs no drift.
    syscall(SYS_futex, &control.wake, FUTEX_WAIT_BITSET, seen, until ? &time : nullptr, nullptr,
            FUTEX_BITSET_MATCH_ANY);
}

bool takeHandleLock(int descriptor, std::uint64_t handle) {
    struct flock lock = byteLock(F_WRLCK, handle, 1);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

bool handleAlive(int probe, std::uint64_t handle) {
    struct flock lock = byteLock(F_WRLCK, handle, 1);
    return fcntl(probe, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::uint64_t nextLiveHandle(int probe, std::uint64_t handle) {
    struct flock lock = byteLock(F_WRLCK, handle, 0);
    if (fcntl(probe, F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
        return 0;
    }
    return static_cast<std::uint64_t>(lock.l_start);
}

int reopen(int descriptor, int flags) {
    char path[32];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
    // A system call of its own: open() is stood in for where the simulator is preloaded.
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC));
}

}  // namespace Simulator
