// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// System calls past libc, whose functions of these names this library stands in for. They do what
// the functions do: -1 and errno on failure. Looking up the functions behind ours would crash under
// ThreadSanitizer. Only calls that every architecture has.

#ifndef LUMIQ_SIMULATOR_RAW_CALLS_H
#define LUMIQ_SIMULATOR_RAW_CALLS_H

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <ctime>

// ThreadSanitizer's own stand-ins, where it is linked in. It has to hear of every close, or a
// number that is free again would be taken for the descriptor that had it before; and of every
// mapping that goes, or what is mapped there next would share its history.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __interceptor_close(int descriptor) __attribute__((weak));
extern "C" int __interceptor_munmap(void* address, std::size_t bytes) __attribute__((weak));
// NOLINTEND(bugprone-reserved-identifier)

namespace Simulator {

inline ssize_t rawRead(int descriptor, void* to, std::size_t bytes) {
    return syscall(SYS_read, descriptor, to, bytes);
}

inline ssize_t rawWrite(int descriptor, const void* from, std::size_t bytes) {
    return syscall(SYS_write, descriptor, from, bytes);
}

inline int rawClose(int descriptor) {
    if (__interceptor_close != nullptr) {
        return __interceptor_close(descriptor);
    }
    return static_cast<int>(syscall(SYS_close, descriptor));
}

inline int rawIoctl(int descriptor, unsigned long request, void* argument) {
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}

/// `timeout` null: without end. The kernel writes the time left into it.
inline int rawPoll(pollfd* descriptors, nfds_t count, timespec* timeout, const sigset_t* mask) {
    return static_cast<int>(syscall(SYS_ppoll, descriptors, count, timeout, mask, _NSIG / 8));
}

inline int rawStat(int descriptor, struct stat* status) {
    return static_cast<int>(syscall(SYS_fstat, descriptor, status));
}

inline off_t rawSeek(int descriptor, off_t offset, int whence) {
    return syscall(SYS_lseek, descriptor, offset, whence);
}

inline void* rawMap(void* address, std::size_t bytes, int protection, int flags, int descriptor,
                    off_t offset) {
    return reinterpret_cast<void*>(
        syscall(SYS_mmap, address, bytes, protection, flags, descriptor, offset));
}

inline int rawUnmap(void* address, std::size_t bytes) {
    return static_cast<int>(syscall(SYS_munmap, address, bytes));
}

/// Of a camera's file. Not for every munmap: a sanitizer's own start-up has some.
inline int unmapPiece(void* address, std::size_t bytes) {
    if (__interceptor_munmap != nullptr) {
        return __interceptor_munmap(address, bytes);
    }
    return rawUnmap(address, bytes);
}

}  // namespace Simulator

#endif
