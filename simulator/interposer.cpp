// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Stands in for libc's functions, in the program that this is linked into and in every library it
// loads, or in the program that this is preloaded into. Compiled without sanitizers: a sanitizer's
// own start-up comes through here.

#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>

#include "calls.h"

#define LUMIQ_STANDS_IN extern "C" __attribute__((visibility("default")))

namespace {

/// poll's milliseconds as ppoll's time; null: without end.
class Milliseconds {
public:
    explicit Milliseconds(int milliseconds) : m_endless(milliseconds < 0) {
        if (!m_endless) {
            m_time.tv_sec = milliseconds / 1000;
            m_time.tv_nsec = milliseconds % 1000 * 1000000L;
        }
    }
    [[nodiscard]] const timespec* get() const { return m_endless ? nullptr : &m_time; }

private:
    bool m_endless;
    timespec m_time{};
};

/// Memory that is no file's concerns no camera, and goes straight to the kernel: ThreadSanitizer
/// asks for some before its start-up is over, when no code that it instruments may run yet.
void* map(void* address, std::size_t bytes, int protection, int flags, int descriptor,
          off_t offset) {
    if (descriptor < 0) {
        return reinterpret_cast<void*>(
            syscall(SYS_mmap, address, bytes, protection, flags, descriptor, offset));
    }
    return Simulator::callMap(address, bytes, protection, flags, descriptor, offset);
}

}  // namespace

// The functions have libc's names and, as everywhere, our names for what they take.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
LUMIQ_STANDS_IN int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return Simulator::callIoctl(descriptor, request, argument);
}

LUMIQ_STANDS_IN int poll(pollfd* descriptors, nfds_t count, int timeout) {
    return Simulator::callPoll(descriptors, count, Milliseconds(timeout).get(), nullptr, "poll");
}

LUMIQ_STANDS_IN int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout,
                          const sigset_t* mask) {
    return Simulator::callPoll(descriptors, count, timeout, mask, "ppoll");
}

// What programs compiled with _FORTIFY_SOURCE call.
LUMIQ_STANDS_IN int __poll_chk(pollfd* descriptors, nfds_t count, int timeout, std::size_t bytes) {
    if (bytes / sizeof(pollfd) < count) {
        std::abort();
    }
    return poll(descriptors, count, timeout);
}

LUMIQ_STANDS_IN int __ppoll_chk(pollfd* descriptors, nfds_t count, const timespec* timeout,
                                const sigset_t* mask, std::size_t bytes) {
    if (bytes / sizeof(pollfd) < count) {
        std::abort();
    }
    return ppoll(descriptors, count, timeout, mask);
}

LUMIQ_STANDS_IN void* mmap(void* address, std::size_t bytes, int protection, int flags,
                           int descriptor, off_t offset) noexcept {
    return map(address, bytes, protection, flags, descriptor, offset);
}

LUMIQ_STANDS_IN void* mmap64(void* address, std::size_t bytes, int protection, int flags,
                             int descriptor, off64_t offset) noexcept {
    return map(address, bytes, protection, flags, descriptor, offset);
}

LUMIQ_STANDS_IN int munmap(void* address, std::size_t bytes) noexcept {
    return Simulator::callUnmap(address, bytes);
}

LUMIQ_STANDS_IN int close(int descriptor) {
    return Simulator::callClose(descriptor);
}

LUMIQ_STANDS_IN int sched_yield() noexcept {
    return Simulator::callYield();
}

// NOLINTEND(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
