// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Polling a set that may hold cameras: those are replaced by descriptors of the simulator that are
// readable when the camera has something to say, so that one system call waits for all. No lock is
// held while it waits. Called on the host's threads.

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory_resource>
#include <optional>
#include <span>
#include <vector>

#include "call-recorder.h"
#include "calls.h"
#include "device-registry.h"
#include "raw-calls.h"

namespace Simulator {
namespace {

constexpr short frameBits = POLLIN | POLLRDNORM;
using Clock = std::chrono::steady_clock;

/// One camera among the descriptors.
struct PolledCamera {
    std::size_t position;
    OpenCamera camera;
    std::optional<short> fault;  ///< what a fault wants reported
};

/// The time that is left, as ppoll takes it.
class TimeLeft {
public:
    explicit TimeLeft(const timespec* timeout) {
        if (timeout != nullptr) {
            m_until = Clock::now() + std::chrono::seconds(timeout->tv_sec) +
                      std::chrono::nanoseconds(timeout->tv_nsec);
        }
    }
    /// Null: without end.
    const timespec* get() {
        if (!m_until) {
            return nullptr;
        }
        const auto left = std::max(*m_until - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        m_left.tv_sec = static_cast<time_t>(seconds.count());
        m_left.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
        return &m_left;
    }

private:
    std::optional<Clock::time_point> m_until;
    timespec m_left{};
};

/// Polling happens once per frame: its lists take no memory from the heap while they are short.
using Cameras = std::pmr::vector<PolledCamera>;
using Descriptors = std::pmr::vector<pollfd>;

Cameras findCameras(std::span<const pollfd> polled, std::pmr::memory_resource& memory) {
    Cameras cameras(&memory);
    for (std::size_t i = 0; i < polled.size(); ++i) {
        if (polled[i].fd < 0) {
            continue;
        }
        if (OpenCamera camera = DeviceRegistry::instance().find(polled[i].fd)) {
            cameras.push_back({i, std::move(camera), std::nullopt});
        }
    }
    return cameras;
}

/// Counts the call in the cameras' faults. Returns an errno with which it is to fail, 0 for none.
int countFaults(std::span<PolledCamera> cameras) {
    for (PolledCamera& polled : cameras) {
        const StruckFaults struck = polled.camera.device->countPoll();
        if (const StruckFault* const fault = struck.find(FaultKind::CallErrno)) {
            return static_cast<int>(fault->fault.value);
        }
        if (const StruckFault* const fault = struck.find(FaultKind::PollEvents)) {
            polled.fault = static_cast<short>(fault->fault.value);
        }
    }
    return 0;
}

/// Asks every camera, without waiting. Returns whether any has something to say.
bool askCameras(std::span<const PolledCamera> cameras, std::span<pollfd> polled) {
    bool any = false;
    for (const PolledCamera& one : cameras) {
        pollfd& entry = polled[one.position];
        entry.revents = one.fault.value_or(one.camera.device->pollEvents(entry.events));
        any = any || entry.revents != 0;
    }
    return any;
}

/// Waits for the other descriptors, and for the cameras unless one is ready already.
int wait(std::span<const PolledCamera> cameras, std::span<const pollfd> polled,
         Descriptors& substituted, bool ready, TimeLeft& left, const sigset_t* mask) {
    substituted.assign(polled.begin(), polled.end());
    for (const PolledCamera& one : cameras) {
        pollfd& entry = substituted[one.position];
        const bool frames = (entry.events & frameBits) != 0;
        entry = {ready ? -1 : one.camera.device->readyDescriptor(frames), POLLIN, 0};
    }
    const timespec* const limit = left.get();
    timespec time = limit == nullptr || ready ? timespec{} : *limit;
    return rawPoll(substituted.data(), substituted.size(),
                   limit == nullptr && !ready ? nullptr : &time, mask);
}

/// Takes over what the other descriptors had to say. Returns how many entries are ready.
int collect(std::span<const PolledCamera> cameras, std::span<pollfd> polled,
            std::span<const pollfd> substituted) {
    int ready = 0;
    auto camera = cameras.begin();
    for (std::size_t i = 0; i < polled.size(); ++i) {
        if (camera != cameras.end() && camera->position == i) {
            ++camera;
        } else {
            polled[i].revents = substituted[i].revents;
        }
        ready += polled[i].revents != 0 ? 1 : 0;
    }
    return ready;
}

int pollCameras(Cameras& cameras, std::span<pollfd> polled, const timespec* timeout,
                const sigset_t* mask) {
    if (const int error = countFaults(cameras)) {
        errno = error;
        return -1;
    }
    TimeLeft left(timeout);
    Descriptors substituted(cameras.get_allocator().resource());
    bool ready = askCameras(cameras, polled);
    while (true) {
        const int result = wait(cameras, polled, substituted, ready, left, mask);
        if (result < 0) {
            return -1;
        }
        ready = ready || askCameras(cameras, polled);
        const int count = collect(cameras, polled, substituted);
        // Nothing although the wait ended before its time: what made a camera ready is gone again.
        if (count > 0 || result == 0) {
            return count;
        }
    }
}

void noteAll(std::span<const PolledCamera> cameras, std::span<const pollfd> polled, int result,
             const char* name) {
    for (const PolledCamera& one : cameras) {
        const pollfd& entry = polled[one.position];
        record({name,
                entry.fd,
                one.camera.handle,
                static_cast<std::uint64_t>(result),
                result < 0 ? errno : 0,
                entry.revents,
                0,
                {}});
    }
}

}  // namespace

int callPoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask,
             const char* name) {
    const int before = errno;
    const std::span<pollfd> polled(descriptors, count);
    std::array<std::byte, 2048> room;
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
    Cameras cameras = findCameras(polled, memory);
    errno = before;
    if (cameras.empty()) {
        timespec time = timeout == nullptr ? timespec{} : *timeout;
        return rawPoll(descriptors, count, timeout == nullptr ? nullptr : &time, mask);
    }
    const int result = pollCameras(cameras, polled, timeout, mask);
    const int error = result < 0 ? errno : before;
    if (recording.load(std::memory_order_relaxed)) {
        noteAll(cameras, polled, result, name);
    }
    errno = error;
    return result;
}

}  // namespace Simulator
