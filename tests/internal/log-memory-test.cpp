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

thread_local bool memoryIsGone = false;

}  // namespace

// GCC cannot see that the two below belong together.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    void* const memory = memoryIsGone ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
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

TEST(LogInitWithoutMemory, ThrowsAndCanBeTriedAgain) {
    inAProcessOfItsOwn([] {
        unsetenv("LUMIQ_NO_SYSLOG");
        std::streambuf* const before = std::clog.rdbuf();
        for (int attempt = 0; attempt < 2; ++attempt) {
            bool threw = false;
            memoryIsGone = true;
            try {
                LogInit();
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            memoryIsGone = false;
            EXPECT_TRUE(threw);
            EXPECT_EQ(std::clog.rdbuf(), before);
            EXPECT_TRUE(openLogCalls().empty());
        }
        LogInit();
        EXPECT_NE(std::clog.rdbuf(), before);
        EXPECT_EQ(openLogCalls().size(), 1U);
    });
}

}  // namespace
}  // namespace Nerio::Lumiq
