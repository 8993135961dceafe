// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Waiting for what nobody signals: the kernel, udev, other processes. Any thread.

#ifndef LUMIQ_TEST_WAIT_UNTIL_H
#define LUMIQ_TEST_WAIT_UNTIL_H

#include <chrono>
#include <functional>
#include <thread>

namespace TestSupport {

/// A wait that takes longer has failed; far above what any of them needs, in an emulated machine
/// too.
inline constexpr std::chrono::seconds waitLimit{30};

/// True as soon as the condition holds. False when the limit passed first.
[[nodiscard]] inline bool waitUntil(const std::function<bool()>& condition,
                                    std::chrono::seconds limit = waitLimit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace TestSupport

#endif
