// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Finds cameras behind descriptors. Called by the stand-ins on the host's threads.

#include "device-registry.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

#include "raw-calls.h"

namespace Simulator {
namespace {

std::atomic<DeviceRegistry*> theRegistry = nullptr;
std::mutex makingRegistry;

/// Whether the descriptor can be a camera's, at the price of one system call: an unlinked file of
/// the one odd size.
bool looksRight(int descriptor, struct stat& status) {
    return rawStat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 0 &&
           static_cast<std::uint64_t>(status.st_size) == ControlBlock::fileBytes;
}

std::uint64_t handleOf(int descriptor) {
    const off_t position = rawSeek(descriptor, 0, SEEK_CUR);
    return position > 0 ? static_cast<std::uint64_t>(position) : 0;
}

}  // namespace

DeviceRegistry& DeviceRegistry::instance() {
    DeviceRegistry* registry = theRegistry.load(std::memory_order_acquire);
    if (registry == nullptr) {
        const std::lock_guard lock(makingRegistry);
        registry = theRegistry.load(std::memory_order_acquire);
        if (registry == nullptr) {
            registry = new DeviceRegistry;
            theRegistry.store(registry, std::memory_order_release);
        }
    }
    return *registry;
}

DeviceRegistry::DeviceRegistry() {
    // A child has no driver threads, and may have inherited locks that nobody will open: it begins
    // anew. What it inherited stays allocated, since it may be in any state.
    static const int registered =
        pthread_atfork([] { makingRegistry.lock(); }, [] { makingRegistry.unlock(); },
                       [] {
                           theRegistry.store(nullptr, std::memory_order_release);
                           makingRegistry.unlock();
                       });
    static_cast<void>(registered);
}

std::shared_ptr<Device> DeviceRegistry::known(const struct stat& status) {
    const auto found =
        std::find_if(m_devices.begin(), m_devices.end(),
                     [&status](const auto& device) { return device->isBehind(status); });
    return found == m_devices.end() ? nullptr : *found;
}

OpenCamera DeviceRegistry::find(int descriptor) {
    struct stat status {};
    if (!looksRight(descriptor, status)) {
        return {};
    }
    const std::uint64_t handle = handleOf(descriptor);
    if (handle == 0) {
        return {};
    }
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Device> device = known(status);
    if (device == nullptr) {
        device = Device::attach(descriptor);
        if (device == nullptr) {
            return {};
        }
        m_devices.push_back(device);
        m_anyDevice.store(true, std::memory_order_release);
    }
    device->noteHandle(handle);
    return {std::move(device), handle};
}

OpenCamera DeviceRegistry::findKnown(int descriptor) {
    struct stat status {};
    if (!anyDevice() || !looksRight(descriptor, status)) {
        return {};
    }
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Device> device = known(status);
    return device == nullptr ? OpenCamera{} : OpenCamera{std::move(device), handleOf(descriptor)};
}

void DeviceRegistry::reap() {
    // Ending a camera joins its driver thread; not with the lock held.
    std::vector<std::shared_ptr<Device>> unused;
    const std::lock_guard lock(m_mutex);
    for (auto device = m_devices.begin(); device != m_devices.end();) {
        if ((*device)->reap() == 0) {
            unused.push_back(std::move(*device));
            device = m_devices.erase(device);
        } else {
            ++device;
        }
    }
    m_anyDevice.store(!m_devices.empty(), std::memory_order_release);
}

void DeviceRegistry::noteMapping(const void* address, std::size_t bytes,
                                 std::shared_ptr<BufferMemory> memory) {
    const std::lock_guard lock(m_mutex);
    ++memory->mappings;
    m_mappings.insert_or_assign(reinterpret_cast<std::uintptr_t>(address),
                                Mapping{bytes, std::move(memory)});
    m_anyMapping.store(true, std::memory_order_release);
}

bool DeviceRegistry::dropMappings(const void* address, std::size_t bytes) {
    const std::lock_guard lock(m_mutex);
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    const auto first = m_mappings.lower_bound(begin);
    const auto last = m_mappings.lower_bound(begin + bytes);
    const bool any = first != last;
    for (auto mapping = first; mapping != last; ++mapping) {
        --mapping->second.memory->mappings;
    }
    m_mappings.erase(first, last);
    m_anyMapping.store(!m_mappings.empty(), std::memory_order_release);
    return any;
}

LiveCount DeviceRegistry::count() {
    reap();
    const std::lock_guard lock(m_mutex);
    LiveCount live;
    live.devices = m_devices.size();
    for (const auto& device : m_devices) {
        live.handles += device->handles();
    }
    live.mappings = m_mappings.size();
    return live;
}

}  // namespace Simulator
