// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// An assertion that holds in every build type: what it guards would otherwise corrupt a running
// capture. Any thread.

#ifndef LUMIQ_INTERNAL_ASSERT_H
#define LUMIQ_INTERNAL_ASSERT_H

#include <cstdlib>

#include "lumiq/internal/log.h"

/// Logs the condition and aborts the process when it does not hold.
#define LUMIQ_ASSERT(condition)                                  \
    do {                                                         \
        if (!(condition)) {                                      \
            LUMIQ_LOG(Error) << "Assertion failed: " #condition; \
            std::abort();                                        \
        }                                                        \
    } while (false)

#endif  // LUMIQ_INTERNAL_ASSERT_H
