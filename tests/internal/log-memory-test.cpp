// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Switching std::clog over to syslog when memory runs out. A program of its own, since it replaces
// the process's operator new. One thread.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <new>

#include "lumiq/log.h"
#include "own-process.h"
#include "recorded-syslog.h"

namespace {

constexpr int plenty = 1'000'000;
thread_local int allocationsLeft = plenty;

}  // namespace

// GCC cannot see that those below belong together.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    void* const memory = allocationsLeft-- > 0 ? std::malloc(size) : nullptr;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
// The library's algorithms ask for scratch memory with this one, and give it back as any other.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocationsLeft-- > 0 ? std::malloc(size) : nullptr;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace Nerio::Lumiq {
namespace {

using TestSupport::inAProcessOfItsOwn;

// Whether LogInit() gets along with so many allocations.
bool initialisesWith(int allocations) {
    bool threw = false;
    allocationsLeft = allocations;
    try {
        LogInit();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    allocationsLeft = plenty;
    return !threw;
}

TEST(LogInitWithoutMemory, ThrowsAndCanBeTriedAgain) {
    inAProcessOfItsOwn([] {
        unsetenv("LUMIQ_NO_SYSLOG");
        std::streambuf* const before = std::clog.rdbuf();
        int allocations = 0;
        while (!initialisesWith(allocations)) {
            EXPECT_EQ(std::clog.rdbuf(), before);
            EXPECT_TRUE(openLogCalls().empty())
                << "syslog keeps the ident of a buffer that is gone";
            ++allocations;
        }
        EXPECT_GT(allocations, 0);
        EXPECT_NE(std::clog.rdbuf(), before);
        EXPECT_EQ(openLogCalls().size(), 1U);
    });
}

}  // namespace
}  // namespace Nerio::Lumiq
