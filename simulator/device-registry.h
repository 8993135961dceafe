// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The simulated cameras that this process uses, and the mappings it has of their buffers. There is
// no table of descriptors, which would grow stale: a descriptor is asked each time which file it
// is, and its position is the handle's number. Any thread.

#ifndef LUMIQ_SIMULATOR_DEVICE_REGISTRY_H
#define LUMIQ_SIMULATOR_DEVICE_REGISTRY_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "device.h"
#include "simulator-trace.h"

namespace Simulator {

/// A file handle of a camera; `device` is null for any other descriptor.
struct OpenCamera {
    std::shared_ptr<Device> device;
    std::uint64_t handle = 0;
    explicit operator bool() const { return device != nullptr; }
};

class DeviceRegistry {
public:
    /// Made when first needed and never destroyed: threads may still call while the process ends.
    static DeviceRegistry& instance();

    /// The camera behind a descriptor. Joins one that is new to this process.
    OpenCamera find(int descriptor);
    /// The same, but only for cameras that this process has used before.
    OpenCamera findKnown(int descriptor);
    [[nodiscard]] bool anyDevice() const { return m_anyDevice.load(std::memory_order_acquire); }

    /// To be called when a handle may have ended: forgets those that did, and cameras that nobody
    /// uses any more.
    void reap();

    void noteMapping(const void* address, std::size_t bytes, std::shared_ptr<BufferMemory> memory);
    /// Forgets the mappings inside the range. Returns whether there was any.
    bool dropMappings(const void* address, std::size_t bytes);
    [[nodiscard]] bool anyMapping() const { return m_anyMapping.load(std::memory_order_acquire); }

    LiveCount count();

private:
    struct Mapping {
        std::size_t bytes;
        std::shared_ptr<BufferMemory> memory;
    };
    DeviceRegistry();
    std::shared_ptr<Device> known(const struct stat& status);

    std::mutex m_mutex;
    std::vector<std::shared_ptr<Device>> m_devices;
    std::map<std::uintptr_t, Mapping> m_mappings;
    std::atomic<bool> m_anyDevice = false;
    std::atomic<bool> m_anyMapping = false;
};

}  // namespace Simulator

#endif
