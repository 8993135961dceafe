// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A simulated camera as its owner sees it: make it from a description, hand out file handles to it,
// unplug it and switch faults while programs use it. Used by the device-access service and by
// tests, from any thread. It runs nothing itself: the descriptors it hands out become a camera in
// every process that has the simulator linked in (lumiq-simulator-core) or preloaded
// (liblumiq-simulator.so), this one or another that got them by inheritance or over a socket.

#ifndef LUMIQ_SIMULATOR_SIMULATED_DEVICE_H
#define LUMIQ_SIMULATOR_SIMULATED_DEVICE_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "camera-description.h"

namespace Simulator {

/// One camera. The device lives in memory shared by everyone who holds a handle, so destroying this
/// object neither unplugs the camera nor disturbs open handles; a later process that still holds
/// one goes on streaming. Move-only.
class SimulatedDevice {
public:
    /// Makes the device. Throws DescriptionError for a description that does not hold what
    /// parseDescription() demands, std::system_error when memory or descriptors run out.
    explicit SimulatedDevice(const CameraDescription& description);
    ~SimulatedDevice();
    SimulatedDevice(SimulatedDevice&& other) noexcept;
    SimulatedDevice& operator=(SimulatedDevice&& other) noexcept;

    /// Opens the camera as open() of a device node does: a new file handle, independent of all
    /// others, non-blocking and close-on-exec. `dup` and passing it over a socket refer to the same
    /// handle. The caller owns the descriptor. Throws std::system_error; ENODEV after unplug().
    [[nodiscard]] int open() const;

    /// The camera is gone: every process that has it open sees poll report error and hang-up and
    /// every request fail with ENODEV. For good; calling it again does nothing.
    void unplug();

    /// Whether the camera is gone, by unplug() or by a fault of its description.
    [[nodiscard]] bool unplugged() const;

    /// Waits until the camera is gone, at most for `limit`. Returns unplugged(). A thread that
    /// watches for a camera that unplugs itself calls this with a short limit in a loop.
    bool waitUntilUnplugged(std::chrono::milliseconds limit) const;

    /// Switches on one more fault (its form: README.md). It counts calls and frames from now on and
    /// acts at once, in every process. Throws DescriptionError on nonsense and when all places for
    /// faults (16) are taken.
    void setFault(std::string_view faultJson);

    /// Switches every fault off, those of the description too. A stalled camera goes on.
    void clearFaults();

    /// The two words of VIDIOC_QUERYCAP.
    [[nodiscard]] std::uint32_t capabilities() const;
    [[nodiscard]] std::uint32_t deviceCaps() const;
    [[nodiscard]] const std::string& name() const;

    /// Whether the descriptor is a file handle of this camera.
    [[nodiscard]] bool isHandle(int descriptor) const;

    /// How many file handles are open now, in all processes; a handle counts until its last
    /// descriptor is closed and its last mapping is gone.
    [[nodiscard]] unsigned openHandles() const;

    /// Frames the camera has made ready since it exists, lost ones included.
    [[nodiscard]] std::uint64_t framesMade() const;

private:
    struct Shared;
    std::unique_ptr<Shared> m_shared;
};

}  // namespace Simulator

#endif
