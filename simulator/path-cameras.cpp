// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads LUMIQ_SIMULATOR_DEVICES and makes its cameras. Called by the stand-ins of the preloaded
// library on the host's threads.

#include "path-cameras.h"

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include "raw-calls.h"

namespace Simulator {
namespace {

constexpr const char* variable = "LUMIQ_SIMULATOR_DEVICES";
constexpr unsigned videoMajor = 81;
using Cameras = std::vector<std::unique_ptr<PathCamera>>;

void say(const std::string& text) {
    std::fprintf(stderr, "lumiq-simulator: %s\n", text.c_str());
}

/// The number at the end of a node's name, as the kernel counts nodes; the position without one.
unsigned numberOf(const std::string& path, std::size_t position) {
    const std::size_t digits = path.find_last_not_of("0123456789") + 1;
    const bool usable = digits < path.size() && path.size() - digits <= 3;
    return usable ? static_cast<unsigned>(std::stoul(path.substr(digits)))
                  : static_cast<unsigned>(position);
}

void addEntry(Cameras& cameras, const std::string& entry) {
    const std::size_t middle = entry.find('=');
    if (middle == std::string::npos || middle == 0 || middle + 1 == entry.size()) {
        say(std::string(variable) + ": \"" + entry +
            "\" is not PATH=DESCRIPTION, as \"/dev/video0=webcam.json\"; it is left out");
        return;
    }
    std::string path = entry.substr(0, middle);
    const unsigned number = numberOf(path, cameras.size());
    cameras.push_back(
        std::make_unique<PathCamera>(std::move(path), entry.substr(middle + 1), number));
}

Cameras readVariable() {
    Cameras cameras;
    const char* const text = std::getenv(variable);
    std::string_view rest = text == nullptr ? "" : text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (end != 0) {
            addEntry(cameras, std::string(rest.substr(0, end)));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return cameras;
}

/// Read once, never destroyed: threads may still call while the process ends.
const Cameras& cameras() {
    static const auto* const all = new Cameras(readVariable());
    return *all;
}

}  // namespace

PathCamera::PathCamera(std::string path, std::string descriptionFile, unsigned minorNumber)
    : m_path(std::move(path)), m_file(std::move(descriptionFile)), m_minor(minorNumber) {}

int PathCamera::prepare() {
    const std::lock_guard lock(m_mutex);
    if (m_device || m_error != 0) {
        return m_error;
    }
    if (faccessat(AT_FDCWD, m_file.c_str(), R_OK, 0) != 0) {
        say(m_path + ": " + m_file + " cannot be read: " + std::strerror(errno));
        m_error = ENOENT;
        return m_error;
    }
    try {
        m_device.emplace(loadDescription(m_file));
    } catch (const DescriptionError& error) {
        say(m_path + ": " + error.what());
        m_error = ENODEV;
    } catch (const std::system_error& error) {
        say(m_path + ": " + error.what());
        m_error = ENODEV;
    }
    return m_error;
}

int PathCamera::open(int flags) {
    if (const int error = prepare()) {
        errno = error;
        return -1;
    }
    try {
        const int descriptor = m_device->open();
        if ((flags & O_NONBLOCK) == 0) {
            fcntl(descriptor, F_SETFL, O_RDWR);
        }
        if ((flags & O_CLOEXEC) == 0) {
            fcntl(descriptor, F_SETFD, 0);
        }
        return descriptor;
    } catch (const std::system_error& error) {
        errno = error.code().value();
        return -1;
    }
}

int PathCamera::describe(struct stat& status) {
    if (const int error = prepare(); error == ENOENT) {
        return error;
    }
    status = {};
    status.st_mode = S_IFCHR | 0660;
    status.st_nlink = 1;
    status.st_uid = getuid();
    status.st_gid = getgid();
    status.st_rdev = makedev(videoMajor, m_minor);
    status.st_ino = m_minor + 1;
    status.st_blksize = 4096;
    return 0;
}

bool PathCamera::isBehind(int descriptor) {
    const std::lock_guard lock(m_mutex);
    return m_device && m_device->isHandle(descriptor);
}

std::string PathCamera::sysfsPath() const {
    return "/sys/dev/char/" + std::to_string(videoMajor) + ":" + std::to_string(m_minor) +
           "/uevent";
}

std::string PathCamera::sysfsText() const {
    return "MAJOR=" + std::to_string(videoMajor) + "\nMINOR=" + std::to_string(m_minor) +
           "\nDEVNAME=video" + std::to_string(m_minor) + "\n";
}

PathCamera* cameraAtPath(const char* path) {
    for (const auto& camera : cameras()) {
        if (path != nullptr && camera->path() == path) {
            return camera.get();
        }
    }
    return nullptr;
}

PathCamera* cameraOfDescriptor(int descriptor) {
    for (const auto& camera : cameras()) {
        if (camera->isBehind(descriptor)) {
            return camera.get();
        }
    }
    return nullptr;
}

PathCamera* cameraOfSysfs(const char* path) {
    for (const auto& camera : cameras()) {
        if (path != nullptr && camera->sysfsPath() == path) {
            return camera.get();
        }
    }
    return nullptr;
}

bool anyPathCamera() {
    return !cameras().empty();
}

}  // namespace Simulator
