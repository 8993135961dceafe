// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Stands in for libc's functions on paths and for reading and writing, in programs that this is
// preloaded into: cameras under a path can be opened and looked at, and a camera can be neither
// read nor written nor rewound, which would change the position that is its handle's number.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "device-registry.h"
#include "path-cameras.h"
#include "raw-calls.h"

#define LUMIQ_STANDS_IN extern "C" __attribute__((visibility("default")))

namespace {

using Simulator::PathCamera;

int openAt(int folder, const char* path, int flags, mode_t mode) {
    if (PathCamera* const camera = Simulator::cameraAtPath(path)) {
        return camera->open(flags);
    }
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

bool takesMode(int flags) {
    return (flags & (O_CREAT | __O_TMPFILE)) != 0;
}

int statAt(int folder, const char* path, struct stat* status, int flags) {
    if (PathCamera* const camera = Simulator::cameraAtPath(path)) {
        errno = camera->describe(*status);
        return errno == 0 ? 0 : -1;
    }
    return static_cast<int>(syscall(SYS_newfstatat, folder, path, status, flags));
}

int statDescriptor(int descriptor, struct stat* status) {
    if (PathCamera* const camera = Simulator::cameraOfDescriptor(descriptor)) {
        return camera->describe(*status);
    }
    return Simulator::rawStat(descriptor, status);
}

/// A stream that reads the text; through a descriptor, which C++ streams read past stdio.
FILE* streamOf(const std::string& text) {
    const int descriptor = memfd_create("lumiq-sysfs", MFD_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    if (Simulator::rawWrite(descriptor, text.data(), text.size()) < 0 ||
        Simulator::rawSeek(descriptor, 0, SEEK_SET) < 0) {
        Simulator::rawClose(descriptor);
        return nullptr;
    }
    return fdopen(descriptor, "r");
}

FILE* openStream(const char* function, const char* path, const char* mode) {
    if (const PathCamera* const camera = Simulator::cameraOfSysfs(path)) {
        return streamOf(camera->sysfsText());
    }
    // There is no system call behind this one. Not for programs with sanitizers: those link the
    // simulator in, and that has none of this.
    using Open = FILE* (*)(const char*, const char*);
    const auto next = reinterpret_cast<Open>(dlsym(RTLD_NEXT, function));
    return next(path, mode);
}

/// Whether the descriptor is a camera; does not look where there cannot be any.
bool isCamera(int descriptor) {
    auto& registry = Simulator::DeviceRegistry::instance();
    if (!Simulator::anyPathCamera() && !registry.anyDevice()) {
        return false;
    }
    const int before = errno;
    const bool camera = static_cast<bool>(registry.find(descriptor));
    errno = before;
    return camera;
}

int refuse(int error) {
    errno = error;
    return -1;
}

mode_t modeArgument(int flags, va_list arguments) {
    return takesMode(flags) ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

// The functions have libc's names and, as everywhere, our names for what they take.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
#define LUMIQ_OPEN(name)                                         \
    LUMIQ_STANDS_IN int name(const char* path, int flags, ...) { \
        va_list arguments;                                       \
        va_start(arguments, flags);                              \
        const mode_t mode = modeArgument(flags, arguments);      \
        va_end(arguments);                                       \
        return openAt(AT_FDCWD, path, flags, mode);              \
    }
#define LUMIQ_OPENAT(name)                                                   \
    LUMIQ_STANDS_IN int name(int folder, const char* path, int flags, ...) { \
        va_list arguments;                                                   \
        va_start(arguments, flags);                                          \
        const mode_t mode = modeArgument(flags, arguments);                  \
        va_end(arguments);                                                   \
        return openAt(folder, path, flags, mode);                            \
    }
LUMIQ_OPEN(open)
LUMIQ_OPEN(open64)
LUMIQ_OPENAT(openat)
LUMIQ_OPENAT(openat64)

// What programs compiled with _FORTIFY_SOURCE call.
LUMIQ_STANDS_IN int __open_2(const char* path, int flags) {
    return openAt(AT_FDCWD, path, flags, 0);
}
LUMIQ_STANDS_IN int __open64_2(const char* path, int flags) {
    return openAt(AT_FDCWD, path, flags, 0);
}

LUMIQ_STANDS_IN int stat(const char* path, struct stat* status) noexcept {
    return statAt(AT_FDCWD, path, status, 0);
}
LUMIQ_STANDS_IN int stat64(const char* path, struct stat64* status) noexcept {
    return statAt(AT_FDCWD, path, reinterpret_cast<struct stat*>(status), 0);
}
LUMIQ_STANDS_IN int lstat(const char* path, struct stat* status) noexcept {
    return statAt(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}
LUMIQ_STANDS_IN int lstat64(const char* path, struct stat64* status) noexcept {
    return statAt(AT_FDCWD, path, reinterpret_cast<struct stat*>(status), AT_SYMLINK_NOFOLLOW);
}
LUMIQ_STANDS_IN int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
    return statAt(folder, path, status, flags);
}
LUMIQ_STANDS_IN int fstatat64(int folder, const char* path, struct stat64* status,
                              int flags) noexcept {
    return statAt(folder, path, reinterpret_cast<struct stat*>(status), flags);
}
LUMIQ_STANDS_IN int fstat(int descriptor, struct stat* status) noexcept {
    return statDescriptor(descriptor, status);
}
LUMIQ_STANDS_IN int fstat64(int descriptor, struct stat64* status) noexcept {
    return statDescriptor(descriptor, reinterpret_cast<struct stat*>(status));
}

LUMIQ_STANDS_IN int statx(int folder, const char* path, int flags, unsigned mask,
                          struct statx* status) noexcept {
    PathCamera* const camera = Simulator::cameraAtPath(path);
    if (camera == nullptr) {
        return static_cast<int>(syscall(SYS_statx, folder, path, flags, mask, status));
    }
    struct stat known {};
    if (const int error = camera->describe(known)) {
        return refuse(error);
    }
    std::memset(status, 0, sizeof *status);
    status->stx_mask = STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_UID | STATX_GID | STATX_INO;
    status->stx_mode = static_cast<decltype(status->stx_mode)>(known.st_mode);
    status->stx_nlink = 1;
    status->stx_uid = known.st_uid;
    status->stx_gid = known.st_gid;
    status->stx_ino = known.st_ino;
    status->stx_rdev_major = major(known.st_rdev);
    status->stx_rdev_minor = minor(known.st_rdev);
    return 0;
}

LUMIQ_STANDS_IN int access(const char* path, int mode) noexcept {
    if (PathCamera* const camera = Simulator::cameraAtPath(path)) {
        struct stat status {};
        const int error = camera->describe(status);
        return error == 0 ? 0 : refuse(error);
    }
    return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, path, mode));
}

LUMIQ_STANDS_IN FILE* fopen(const char* path, const char* mode) {
    return openStream("fopen", path, mode);
}
LUMIQ_STANDS_IN FILE* fopen64(const char* path, const char* mode) {
    return openStream("fopen64", path, mode);
}

LUMIQ_STANDS_IN ssize_t read(int descriptor, void* to, std::size_t bytes) {
    return isCamera(descriptor) ? refuse(EINVAL) : Simulator::rawRead(descriptor, to, bytes);
}
LUMIQ_STANDS_IN ssize_t __read_chk(int descriptor, void* to, std::size_t bytes, std::size_t room) {
    if (bytes > room) {
        std::abort();
    }
    return read(descriptor, to, bytes);
}
LUMIQ_STANDS_IN ssize_t write(int descriptor, const void* from, std::size_t bytes) {
    return isCamera(descriptor) ? refuse(EINVAL) : Simulator::rawWrite(descriptor, from, bytes);
}
LUMIQ_STANDS_IN off_t lseek(int descriptor, off_t offset, int whence) noexcept {
    return isCamera(descriptor) ? refuse(ESPIPE) : Simulator::rawSeek(descriptor, offset, whence);
}
LUMIQ_STANDS_IN off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept {
    return isCamera(descriptor) ? refuse(ESPIPE) : Simulator::rawSeek(descriptor, offset, whence);
}

// NOLINTEND(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
