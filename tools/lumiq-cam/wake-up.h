// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Lets any thread, and a signal handler, wake the main thread out of its wait; and turns Ctrl-C and
// its kin into such a wake-up.
#pragma once

#include <csignal>

#include <atomic>
#include <chrono>

namespace LumiqCam {

// An eventfd. notify: any thread and signal handlers; wait: main thread.
class WakeUp {
public:
    WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;
    ~WakeUp();

    void notify() const noexcept;
    // Returns when somebody has called notify since the last wait (true), when a signal was
    // handled, or when the time is over.
    bool wait(std::chrono::milliseconds limit) const;

private:
    int m_fd;
};

// While it lives, the first SIGINT, SIGTERM or SIGHUP asks the program to stop; the next one ends
// it at once, in case stopping takes too long. One at a time; made and destroyed on the main
// thread.
class StopSignals {
public:
    explicit StopSignals(const WakeUp& wakeUp);
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    // Any thread.
    static bool requested() noexcept;

private:
    struct sigaction m_previous[3] = {};
};

}  // namespace LumiqCam
