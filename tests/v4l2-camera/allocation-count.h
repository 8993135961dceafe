// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Counts what a thread allocates with operator new, the library's share included. Programs that
// link it export _Znwm, so that the library gets this one too.

#ifndef LUMIQ_TEST_ALLOCATION_COUNT_H
#define LUMIQ_TEST_ALLOCATION_COUNT_H

#include <cstddef>

namespace TestSupport {

/// How often operator new has run on this thread.
std::size_t threadAllocations();

}  // namespace TestSupport

#endif  // LUMIQ_TEST_ALLOCATION_COUNT_H
