// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The stand-ins' work but for poll. Called on the host's threads, possibly before any constructor
// of this program has run.

#include "calls.h"

#include <linux/videodev2.h>
#include <sys/mman.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "call-recorder.h"
#include "device-registry.h"
#include "raw-calls.h"
#include "request-names.h"

namespace Simulator {
namespace {

/// The buffer that a request is about, or the count that it granted.
std::uint32_t indexOf(std::uint32_t request, const void* argument) {
    switch (request) {
        case VIDIOC_QUERYBUF:
        case VIDIOC_QBUF:
        case VIDIOC_DQBUF:
            return static_cast<const v4l2_buffer*>(argument)->index;
        case VIDIOC_REQBUFS:
            return static_cast<const v4l2_requestbuffers*>(argument)->count;
        default:
            return 0;
    }
}

/// Where it is not, munmap refuses.
bool isPageAligned(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address) % wholePages(1) == 0;
}

void note(const char* name, int descriptor, std::uint64_t handle, std::uint64_t result, int error,
          std::uint32_t index = 0) {
    if (recording.load(std::memory_order_relaxed)) {
        record({name, descriptor, handle, result, error, 0, index, {}});
    }
}

}  // namespace

int callIoctl(int descriptor, unsigned long request, void* argument) {
    const int before = errno;
    const OpenCamera camera = DeviceRegistry::instance().find(descriptor);
    errno = before;
    if (!camera) {
        return rawIoctl(descriptor, request, argument);
    }
    // Some callers sign-extend the request; its number has 32 bits.
    const auto number = static_cast<std::uint32_t>(request);
    const int error = camera.device->request(camera.handle, descriptor, number, argument);
    const int result = error == 0 ? 0 : -1;
    note(requestName(number), descriptor, camera.handle, static_cast<std::uint64_t>(result), error,
         argument == nullptr ? 0 : indexOf(number, argument));
    errno = error == 0 ? before : error;
    return result;
}

void* callMap(void* address, std::size_t bytes, int protection, int flags, int descriptor,
              off_t offset) {
    if (descriptor < 0 || (flags & MAP_ANONYMOUS) != 0) {
        return rawMap(address, bytes, protection, flags, descriptor, offset);
    }
    const int before = errno;
    DeviceRegistry& registry = DeviceRegistry::instance();
    const OpenCamera camera = registry.find(descriptor);
    errno = before;
    if (!camera) {
        return rawMap(address, bytes, protection, flags, descriptor, offset);
    }
    std::shared_ptr<BufferMemory> memory;
    int error = camera.device->map(camera.handle, bytes, protection, flags,
                                   static_cast<std::uint64_t>(offset), memory);
    void* result = MAP_FAILED;
    if (error == 0) {
        // By the host's own descriptor: as long as the mapping lives, so does the handle.
        result = rawMap(address, bytes, protection, flags, descriptor,
                        static_cast<off_t>(memory->fileOffset()));
        error = result == MAP_FAILED ? errno : 0;
    }
    if (error == 0) {
        registry.noteMapping(result, bytes, std::move(memory));
    }
    note("mmap", descriptor, camera.handle, reinterpret_cast<std::uint64_t>(result), error);
    errno = error == 0 ? before : error;
    return result;
}

int callUnmap(void* address, std::size_t bytes) {
    DeviceRegistry& registry = DeviceRegistry::instance();
    const int before = errno;
    // Forgotten first: once the range is free, another thread may map a buffer there.
    if (!isPageAligned(address) || !registry.anyMapping() ||
        !registry.dropMappings(address, bytes)) {
        errno = before;
        return rawUnmap(address, bytes);
    }
    const int result = unmapPiece(address, bytes);
    const int error = result == 0 ? 0 : errno;
    registry.reap();
    note("munmap", -1, 0, static_cast<std::uint64_t>(result), error);
    errno = error == 0 ? before : error;
    return result;
}

int callClose(int descriptor) {
    const int before = errno;
    DeviceRegistry& registry = DeviceRegistry::instance();
    const OpenCamera camera = registry.findKnown(descriptor);
    errno = before;
    const int result = rawClose(descriptor);
    if (camera) {
        const int error = result == 0 ? 0 : errno;
        registry.reap();
        note("close", descriptor, camera.handle, static_cast<std::uint64_t>(result), error);
        errno = error == 0 ? before : error;
    }
    return result;
}

int callYield() {
    note("sched_yield", -1, 0, 0, 0);
    return static_cast<int>(syscall(SYS_sched_yield));
}

}  // namespace Simulator
