// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Waking the main thread; see the header.
#include "wake-up.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <system_error>

namespace LumiqCam {
namespace {

constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> stopRequested{false};
std::atomic<const WakeUp*> signalTarget{nullptr};

void onSignal(int number) {
    const int savedErrno = errno;
    if (stopRequested.exchange(true)) {
        struct sigaction standard {};
        standard.sa_handler = SIG_DFL;
        sigaction(number, &standard, nullptr);
        raise(number);
    }
    if (const WakeUp* target = signalTarget.load()) {
        target->notify();
    }
    errno = savedErrno;
}

}  // namespace

WakeUp::WakeUp() : m_fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_fd < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

WakeUp::~WakeUp() {
    close(m_fd);
}

void WakeUp::notify() const noexcept {
    const std::uint64_t one = 1;
    // Fails only when the counter is full, and then the wake-up is due anyway.
    [[maybe_unused]] const ssize_t written = write(m_fd, &one, sizeof one);
}

bool WakeUp::wait(std::chrono::milliseconds limit) const {
    const auto longest = std::chrono::milliseconds(std::numeric_limits<int>::max());
    const auto timeout = std::clamp(limit, std::chrono::milliseconds(0), longest);
    pollfd item{m_fd, POLLIN, 0};
    if (poll(&item, 1, static_cast<int>(timeout.count())) <= 0) {
        return false;
    }
    std::uint64_t count = 0;
    return read(m_fd, &count, sizeof count) == sizeof count;
}

StopSignals::StopSignals(const WakeUp& wakeUp) {
    stopRequested = false;
    signalTarget = &wakeUp;
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    // Interrupted system calls of the plug-in's threads go on; those of the main thread that should
    // not are made so that they need no interruption.
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &action, &m_previous[i]);
        if (m_previous[i].sa_handler == SIG_IGN) {  // As under nohup: stays ignored.
            sigaction(kSignals[i], &m_previous[i], nullptr);
        }
    }
}

StopSignals::~StopSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &m_previous[i], nullptr);
    }
    signalTarget = nullptr;
}

bool StopSignals::requested() noexcept {
    return stopRequested.load();
}

}  // namespace LumiqCam
