// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A file descriptor with an owner. Any thread.

#ifndef LUMIQ_UNIQUE_FD_H
#define LUMIQ_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace Nerio::Lumiq {

/// Closes its descriptor when it goes away; -1 is "none".
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        UniqueFd old(std::exchange(m_fd, other.release()));
        return *this;
    }
    ~UniqueFd() {
        if (m_fd != -1) {
            ::close(m_fd);
        }
    }

    [[nodiscard]] int get() const noexcept { return m_fd; }
    [[nodiscard]] bool isValid() const noexcept { return m_fd != -1; }

    /// Gives the descriptor to the caller, who closes it.
    [[nodiscard]] int release() noexcept { return std::exchange(m_fd, -1); }

private:
    int m_fd = -1;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_UNIQUE_FD_H
