// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A library that carries its own copy of the log, as every back end does. Loaded by
// log-sharing-test, called on its threads.

#include "lumiq/internal/log.h"

#define LUMIQ_TEST_ENTRY extern "C" __attribute__((visibility("default")))

LUMIQ_TEST_ENTRY void beginLog() {
    Nerio::Lumiq::LogInit();
}

LUMIQ_TEST_ENTRY void writeLines(const char* writer, int count) {
    for (int line = 0; line < count; ++line) {
        LUMIQ_LOG_AS(Info, writer) << "line " << line << " of " << count;
    }
}
