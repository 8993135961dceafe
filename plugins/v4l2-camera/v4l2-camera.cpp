// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera's life and its device. Called on host threads; the destructor also runs on the bus
// thread or the capture thread, wherever the last pointer goes.

#include "v4l2-camera.h"

#include <sys/eventfd.h>

#include <utility>

#include "lumiq/internal/log.h"
#include "v4l2-camera-manager.h"

namespace Nerio::Lumiq {

using Internal::MutexLock;

V4L2Camera::V4L2Camera(std::string id, V4L2CameraManager* manager)
    : m_manager(manager),
      m_openCameras(manager->openCameras()),
      m_id(std::move(id)),
      m_eventFd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!m_eventFd.isValid()) {
        LUMIQ_LOG(Error) << "Can't create eventfd";
    }
}

V4L2Camera::~V4L2Camera() {
    if (endLoopOnThisThread()) {
        takeThread().detach();
        tearDown();
    } else {
        stopCapture();
    }
    m_openCameras->forget(m_id);
}

bool V4L2Camera::getInfo(CameraInfo& info) {
    return m_manager->getCameraInfo(m_id, info);
}

// A UVC camera's controls are not offered.

std::string V4L2Camera::getParameterRange(CameraParameter /*parameter*/) {
    return {};
}

std::string V4L2Camera::getParameter(CameraParameter /*parameter*/) {
    return {};
}

bool V4L2Camera::setParameter(CameraParameter /*parameter*/, const std::string& /*value*/) {
    return false;
}

void V4L2Camera::reportError(const std::string& message) {
    const std::lock_guard lock(m_listenerMutex);
    if (m_listener != nullptr) {
        m_listener->onCameraError(message);
    }
}

V4L2Camera::Device V4L2Camera::openDevice() {
    while (true) {
        unsigned openings = 0;
        {
            const MutexLock lock(m_openMutex);
            if (m_device) {
                return m_device;
            }
            openings = m_openings;
        }
        // Without a lock: queries and stops on other threads go on while the service is asked.
        std::unique_ptr<UvcDeviceProxy> proxy = m_manager->gatehold().deviceProxy(m_id);
        UvcDeviceProxy::Opened opened = proxy->open();
        if (!opened.device.isValid()) {
            // Another thread may have had more luck: a service may give a device out only once.
            if (Device open = device()) {
                return open;
            }
            LUMIQ_LOG(Error) << "Can't open a camera: " << opened.error;
            return nullptr;
        }
        auto fresh = std::make_shared<V4L2Device>(std::move(opened.device));
        const MutexLock lock(m_openMutex);
        // Another thread's device may have come and gone since. Its descriptor can still be under
        // way on the bus and keep the camera busy, though no longer once the next one is given out.
        if (!m_device && openings == m_openings) {
            ++m_openings;
            m_deviceProxy.swap(proxy);
            m_device = std::move(fresh);
        }
        if (m_device) {
            return m_device;
        }
    }
}

V4L2Camera::Device V4L2Camera::device() {
    const MutexLock lock(m_openMutex);
    return m_device;
}

// For the one who closes it.
V4L2Camera::Device V4L2Camera::takeDevice() {
    const MutexLock lock(m_openMutex);
    return std::exchange(m_device, nullptr);
}

}  // namespace Nerio::Lumiq
