// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Stands in for select and epoll in programs that this is preloaded into. Select is turned into a
// poll. To epoll a camera is the descriptor that is readable when the camera has something to say,
// so the program sees EPOLLIN also where the kernel would say EPOLLERR.

#include <poll.h>
#include <sys/epoll.h>
#include <sys/select.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

#include "calls.h"
#include "device-registry.h"
#include "raw-calls.h"

#define LUMIQ_STANDS_IN extern "C" __attribute__((visibility("default")))

namespace {

using Simulator::DeviceRegistry;

// Which bits of poll make a descriptor ready in each of the three sets, as in the kernel.
constexpr short readBits = POLLIN | POLLRDNORM | POLLRDBAND | POLLHUP | POLLERR;
constexpr short writeBits = POLLOUT | POLLWRNORM | POLLWRBAND | POLLERR;
constexpr short exceptBits = POLLPRI;

struct Sets {
    fd_set* read;
    fd_set* write;
    fd_set* except;
};

bool has(const fd_set* set, int descriptor) {
    return set != nullptr && FD_ISSET(descriptor, set);
}

std::vector<pollfd> asPoll(int count, const Sets& sets) {
    std::vector<pollfd> polled;
    for (int descriptor = 0; descriptor < count; ++descriptor) {
        const int events = (has(sets.read, descriptor) ? POLLIN | POLLRDNORM : 0) |
                           (has(sets.write, descriptor) ? POLLOUT | POLLWRNORM : 0) |
                           (has(sets.except, descriptor) ? POLLPRI : 0);
        if (events != 0) {
            polled.push_back({descriptor, static_cast<short>(events), 0});
        }
    }
    return polled;
}

int keep(fd_set* set, const pollfd& polled, short bits) {
    if (!has(set, polled.fd)) {
        return 0;
    }
    if ((polled.revents & bits) != 0) {
        return 1;
    }
    FD_CLR(polled.fd, set);
    return 0;
}

int selectCameras(const Sets& sets, std::vector<pollfd>& polled, const timespec* timeout,
                  const sigset_t* mask) {
    const int result = Simulator::callPoll(polled.data(), polled.size(), timeout, mask, "select");
    if (result < 0) {
        return result;
    }
    int ready = 0;
    for (const pollfd& one : polled) {
        if ((one.revents & POLLNVAL) != 0) {
            errno = EBADF;
            return -1;
        }
        ready += keep(sets.read, one, readBits) + keep(sets.write, one, writeBits) +
                 keep(sets.except, one, exceptBits);
    }
    return ready;
}

bool anyCamera(const std::vector<pollfd>& polled) {
    return std::any_of(polled.begin(), polled.end(), [](const pollfd& one) {
        return static_cast<bool>(DeviceRegistry::instance().find(one.fd));
    });
}

/// The kernel's select, whose sixth argument is a mask with its size.
int rawSelect(int count, const Sets& sets, timespec* timeout, const sigset_t* mask) {
    const struct {
        const sigset_t* mask;
        std::size_t bytes;
    } masked = {mask, _NSIG / 8};
    return static_cast<int>(
        syscall(SYS_pselect6, count, sets.read, sets.write, sets.except, timeout, &masked));
}

int rawControl(int set, int operation, int descriptor, epoll_event* event) {
    return static_cast<int>(syscall(SYS_epoll_ctl, set, operation, descriptor, event));
}

/// One of two descriptors is in the set for the camera; which one may change with the events.
int controlCamera(Simulator::Device& camera, int set, int operation, const epoll_event* event) {
    const bool forFrames = event != nullptr && (event->events & (EPOLLIN | EPOLLRDNORM)) != 0;
    const int wanted = camera.readyDescriptor(forFrames);
    const int other = camera.readyDescriptor(!forFrames);
    epoll_event substituted = event == nullptr ? epoll_event{} : *event;
    substituted.events = EPOLLIN | (substituted.events & (EPOLLET | EPOLLONESHOT | EPOLLWAKEUP));
    if (rawControl(set, operation, wanted, &substituted) == 0) {
        return 0;
    }
    if (errno != ENOENT || rawControl(set, EPOLL_CTL_DEL, other, nullptr) != 0) {
        return -1;
    }
    return operation == EPOLL_CTL_DEL ? 0 : rawControl(set, EPOLL_CTL_ADD, wanted, &substituted);
}

timespec asTimespec(const timeval& time) {
    return {time.tv_sec, time.tv_usec * 1000};
}

}  // namespace

// The functions have libc's names and, as everywhere, our names for what they take.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
LUMIQ_STANDS_IN int pselect(int count, fd_set* read, fd_set* write, fd_set* except,
                            const timespec* timeout, const sigset_t* mask) {
    const Sets sets = {read, write, except};
    std::vector<pollfd> polled = asPoll(count, sets);
    if (anyCamera(polled)) {
        return selectCameras(sets, polled, timeout, mask);
    }
    timespec time = timeout == nullptr ? timespec{} : *timeout;
    return rawSelect(count, sets, timeout == nullptr ? nullptr : &time, mask);
}

LUMIQ_STANDS_IN int select(int count, fd_set* read, fd_set* write, fd_set* except,
                           timeval* timeout) {
    using Clock = std::chrono::steady_clock;
    const timespec time = timeout == nullptr ? timespec{} : asTimespec(*timeout);
    const auto begin = Clock::now();
    const int result =
        pselect(count, read, write, except, timeout == nullptr ? nullptr : &time, nullptr);
    if (timeout != nullptr) {
        // Select, other than its relatives, leaves behind how much time was left.
        const auto whole =
            std::chrono::seconds(timeout->tv_sec) + std::chrono::microseconds(timeout->tv_usec);
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
            std::max<Clock::duration>(whole - (Clock::now() - begin), Clock::duration::zero()));
        timeout->tv_sec = left.count() / 1000000;
        timeout->tv_usec = left.count() % 1000000;
    }
    return result;
}

LUMIQ_STANDS_IN int epoll_ctl(int set, int operation, int descriptor, epoll_event* event) noexcept {
    const int before = errno;
    const Simulator::OpenCamera camera = DeviceRegistry::instance().find(descriptor);
    errno = before;
    if (!camera) {
        return rawControl(set, operation, descriptor, event);
    }
    if (operation != EPOLL_CTL_DEL && event == nullptr) {
        errno = EFAULT;
        return -1;
    }
    return controlCamera(*camera.device, set, operation, event);
}

// NOLINTEND(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
