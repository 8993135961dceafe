// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Waiting for what nobody signals: the kernel, udev, other processes. Test thread.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace RealKernel {

/// A wait that takes longer has failed; far above what any of them needs in an emulated machine.
inline constexpr std::chrono::seconds kLimit{30};

/// True as soon as the condition holds; false when the limit passed first.
[[nodiscard]] inline bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace RealKernel
