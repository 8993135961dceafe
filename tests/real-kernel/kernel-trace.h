// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What programs take out of video queues, as the kernel records it. Test thread.
#pragma once

#include <cstddef>

namespace RealKernel {

/// Records, as long as it lives, every frame that any program takes from any camera. One at a time.
class KernelTrace {
public:
    KernelTrace();
    KernelTrace(const KernelTrace&) = delete;
    KernelTrace& operator=(const KernelTrace&) = delete;
    ~KernelTrace();

    /// Frames taken until now, and those of them that the driver had flagged as damaged.
    std::size_t frames() const { return read().all; }
    std::size_t flaggedFrames() const { return read().flagged; }

private:
    struct Counts {
        std::size_t all = 0;
        std::size_t flagged = 0;
    };
    static Counts read();
};

}  // namespace RealKernel
