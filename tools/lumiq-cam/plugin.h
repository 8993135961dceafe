// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The plug-in, loaded as any host would load it: by path, knowing nothing of it but the contract.
// Main thread.
#pragma once

#include <memory>
#include <string>

#include "lumiq/camera-manager.h"
#include "lumiq/module.h"

namespace LumiqCam {

// A loaded plug-in stays loaded until the process ends: its threads and static objects do.
class Plugin {
public:
    // An empty path stands for the default. Throws Failure (no-service) when it cannot be loaded.
    explicit Plugin(const std::string& path);

    // The path as it was given to the loader.
    const std::string& path() const { return m_path; }

    // Throws Failure (no-service) when the plug-in has no cameras to offer.
    std::shared_ptr<Nerio::Lumiq::CameraManager> cameraManager() const;

    // Sends std::clog to syslog. Throws Failure (no-service) when the plug-in cannot.
    void logToSyslog() const;

private:
    std::string m_path;
    void* m_library = nullptr;
    Nerio::Lumiq::Module* m_module = nullptr;
};

}  // namespace LumiqCam
