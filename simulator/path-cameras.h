// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The cameras that a preloaded program finds under a path: the environment variable
// LUMIQ_SIMULATOR_DEVICES maps paths to descriptions, "/dev/video0=a.json:/dev/video1=b.json". What
// is wrong with it is said once on standard error; the program itself only sees errnos. Any thread.

#ifndef LUMIQ_SIMULATOR_PATH_CAMERAS_H
#define LUMIQ_SIMULATOR_PATH_CAMERAS_H

#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simulated-device.h"

namespace Simulator {

/// One path of the variable; its camera is made when it is first opened.
class PathCamera {
public:
    PathCamera(std::string path, std::string descriptionFile, unsigned minorNumber);

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] unsigned minorNumber() const { return m_minor; }
    /// Opens it with the flags of open(). -1 with errno: ENOENT when the description cannot be
    /// read, ENODEV when it is malformed or the camera is unplugged.
    int open(int flags);
    /// 0, or the errno with which to fail.
    int describe(struct stat& status);
    /// Whether the descriptor is a handle of this camera.
    bool isBehind(int descriptor);
    /// What the kernel would tell of the node in sysfs.
    [[nodiscard]] std::string sysfsPath() const;
    [[nodiscard]] std::string sysfsText() const;

private:
    int prepare();

    const std::string m_path;
    const std::string m_file;
    const unsigned m_minor;
    std::mutex m_mutex;
    std::optional<SimulatedDevice> m_device;
    int m_error = 0;
};

/// The camera under a path; null when there is none.
PathCamera* cameraAtPath(const char* path);

/// The camera that a descriptor was opened from; null when it is none of these.
PathCamera* cameraOfDescriptor(int descriptor);

/// The camera whose sysfs file this is; null when it is none's.
PathCamera* cameraOfSysfs(const char* path);

/// Whether the variable names any.
bool anyPathCamera();

}  // namespace Simulator

#endif
