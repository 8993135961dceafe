// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Stands in for operator new in the whole process. In a file of its own, where no compiler sees the
// calls together with what they call.

#include "allocation-count.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;

}  // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
// The library's algorithms ask for scratch memory with this one, and give it back as any other.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    ++allocations;
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace TestSupport {

std::size_t threadAllocations() {
    return allocations;
}

}  // namespace TestSupport
