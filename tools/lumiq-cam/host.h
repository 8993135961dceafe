// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The plug-in at work: loaded, listened to, initialised. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera-list.h"
#include "lumiq/camera.h"
#include "options.h"
#include "plugin.h"
#include "wake-up.h"

namespace LumiqCam {

class Host {
public:
    // When it returns, the cameras that are there are listed. Throws Failure (no-service).
    explicit Host(const Options& options);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    CameraList& cameraList() { return m_cameraList; }
    const WakeUp& wakeUp() const { return m_wakeUp; }

    // Throws Failure (no-camera) when there is none for the text.
    Nerio::Lumiq::CameraInfo pick(const std::string& text) const;
    // Throws Failure (no-camera) when the plug-in gives none.
    std::shared_ptr<Nerio::Lumiq::Camera> open(const Nerio::Lumiq::CameraInfo& info) const;

private:
    WakeUp m_wakeUp;
    CameraList m_cameraList;
    Plugin m_plugin;
    std::shared_ptr<Nerio::Lumiq::CameraManager> m_manager;
};

// The formats of a camera. Throws Failure when the camera cannot be asked: camera-removed if it has
// left meanwhile, else capture-failed.
std::vector<Nerio::Lumiq::PixelFormatDescription> formatsOf(Host& host,
                                                            Nerio::Lumiq::Camera& camera,
                                                            const std::string& id);

}  // namespace LumiqCam
