// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Owners of descriptors and mappings. They go to the kernel past libc, since close, mmap and munmap
// are stood in for in the very processes that use these.

#ifndef LUMIQ_SIMULATOR_OWNED_H
#define LUMIQ_SIMULATOR_OWNED_H

#include <sys/mman.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "raw-calls.h"

namespace Simulator {

/// A descriptor that is closed with its owner; -1 for none.
class OwnedDescriptor {
public:
    OwnedDescriptor() = default;
    explicit OwnedDescriptor(int descriptor) : m_descriptor(descriptor) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : m_descriptor(other.release()) {}
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
        OwnedDescriptor old(std::exchange(m_descriptor, other.release()));
        return *this;
    }
    ~OwnedDescriptor() {
        if (m_descriptor >= 0) {
            rawClose(m_descriptor);
        }
    }
    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

private:
    int m_descriptor = -1;
};

/// A shared, readable and writable mapping of a file; null when it could not be made.
class OwnedMapping {
public:
    OwnedMapping() = default;
    OwnedMapping(int descriptor, std::uint64_t offset, std::size_t bytes) : m_bytes(bytes) {
        void* const address = rawMap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                                     static_cast<off_t>(offset));
        m_address = address == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(address);
    }
    OwnedMapping(OwnedMapping&& other) noexcept
        : m_address(std::exchange(other.m_address, nullptr)), m_bytes(other.m_bytes) {}
    OwnedMapping& operator=(OwnedMapping&&) = delete;
    ~OwnedMapping() {
        if (m_address != nullptr) {
            unmapPiece(m_address, m_bytes);
        }
    }
    [[nodiscard]] std::uint8_t* address() const { return m_address; }
    [[nodiscard]] std::size_t bytes() const { return m_bytes; }

private:
    std::uint8_t* m_address = nullptr;
    std::size_t m_bytes = 0;
};

}  // namespace Simulator

#endif
