// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starting and ending the work with the plug-in; see the header.
#include "host.h"

#include <cstdlib>
#include <exception>

#include "exit-code.h"

namespace LumiqCam {
namespace {

std::string adviceOnService() {
    const char* const bus = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return std::string("Is the device-access service running on ") +
           (bus == nullptr || *bus == '\0' ? "the system bus" : "the bus " + std::string(bus)) +
           ", and may you talk to it? For development, start lumiq-gatehold; "
           "DBUS_SYSTEM_BUS_ADDRESS names another bus.";
}

void initialise(Nerio::Lumiq::CameraManager& manager) {
    bool ready = false;
    try {
        ready = manager.init();
    } catch (const std::exception& error) {
        throw Failure(ExitCode::NoService,
                      std::string("the plug-in cannot reach its cameras: ") + error.what(),
                      adviceOnService());
    }
    if (!ready) {
        throw Failure(ExitCode::NoService, "the plug-in cannot list the cameras",
                      adviceOnService());
    }
}

}  // namespace

Host::Host(const Options& options)
    : m_cameraList(m_wakeUp), m_plugin(options.plugin), m_manager(m_plugin.cameraManager()) {
    if (options.syslog) {
        m_plugin.logToSyslog();
    }
    m_manager->setListener(&m_cameraList);
    try {
        initialise(*m_manager);
    } catch (...) {
        m_manager->setListener(nullptr);
        throw;
    }
}

Host::~Host() {
    m_manager->setListener(nullptr);
}

Nerio::Lumiq::CameraInfo Host::pick(const std::string& text) const {
    return pickCamera(m_cameraList.cameras(), text);
}

std::shared_ptr<Nerio::Lumiq::Camera> Host::open(const Nerio::Lumiq::CameraInfo& info) const {
    auto camera = m_manager->openCamera(info.id);
    if (!camera) {
        throw Failure(ExitCode::NoCamera, "the plug-in cannot open the camera " + info.id,
                      "\"lumiq-cam list\" shows which cameras are there now.");
    }
    return camera;
}

std::vector<Nerio::Lumiq::PixelFormatDescription> formatsOf(Host& host,
                                                            Nerio::Lumiq::Camera& camera,
                                                            const std::string& id) {
    auto formats = camera.getSupportedFormats();
    if (formats.empty() && !host.cameraList().contains(id)) {
        throw Failure(ExitCode::CameraRemoved, "the camera was removed", "Plug it in again.");
    }
    if (formats.empty()) {
        throw Failure(ExitCode::CaptureFailed, "the camera cannot be asked for its formats",
                      "The device-access service may have refused it to you, or another program "
                      "may have it.");
    }
    return formats;
}

}  // namespace LumiqCam
