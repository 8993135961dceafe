// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Keeps the list of cameras in step with the service. Called by hosts on their threads and by
// Gatehold on the bus thread.

#include "v4l2-camera-manager.h"

#include <linux/videodev2.h>

#include <algorithm>

#include "v4l2-camera.h"

namespace Nerio::Lumiq {

using Internal::MutexLock;

namespace {

auto hasId(const std::string& id) {
    return [&id](const CameraInfo& info) { return info.id == id; };
}

}  // namespace

V4L2CameraManager::V4L2CameraManager() : m_gatehold(*this) {}

V4L2CameraManager::~V4L2CameraManager() = default;

bool V4L2CameraManager::init() {
    const std::lock_guard lock(m_initMutex);
    if (m_initialized) {
        return true;
    }
    if (m_initializing) {
        // A listener that is told of a camera during init() asks for what is under way.
        return false;
    }
    m_initializing = true;
    const auto done = [](bool* flag) { *flag = false; };
    const std::unique_ptr<bool, decltype(done)> initializing(&m_initializing, done);
    m_initialized = m_gatehold.init();
    return m_initialized;
}

int V4L2CameraManager::getNumberOfCameras() {
    const MutexLock lock(m_mutex);
    return static_cast<int>(m_cameraInfos.size());
}

bool V4L2CameraManager::getCameraInfo(unsigned int index, CameraInfo& info) {
    const MutexLock lock(m_mutex);
    const auto position = static_cast<int>(index);
    if (position < 0 || position > static_cast<int>(m_cameraInfos.size())) {
        return false;
    }
    // Asking for one past the end is a host that lost count: the checked access stops it there.
    info = m_cameraInfos[index];
    return true;
}

bool V4L2CameraManager::getCameraInfo(const std::string& id, CameraInfo& info) {
    const MutexLock lock(m_mutex);
    const auto found = std::find_if(m_cameraInfos.begin(), m_cameraInfos.end(), hasId(id));
    if (found == m_cameraInfos.end()) {
        return false;
    }
    info = *found;
    return true;
}

// The queries ask a camera of their own, which opens the device afresh; a camera that a host holds
// open is not consulted.

bool V4L2CameraManager::queryCapabilities(const std::string& id,
                                          std::vector<CameraCapability>& capabilities) {
    return std::make_shared<V4L2Camera>(id, this)->queryCapabilities(capabilities);
}

bool V4L2CameraManager::queryCapabilityRanges(const std::string& id, PixelFormat format,
                                              CameraCapabilityRanges& ranges) {
    return std::make_shared<V4L2Camera>(id, this)->queryCapabilityRanges(format, ranges);
}

bool V4L2CameraManager::findClosestCapability(const std::string& id, PixelFormat format,
                                              const CameraCapabilityEx& desired,
                                              CameraCapabilityEx& result,
                                              CameraCapabilityPriority priority) {
    return std::make_shared<V4L2Camera>(id, this)->findClosestCapability(format, desired, result,
                                                                         priority);
}

std::shared_ptr<Camera> V4L2CameraManager::openCamera(const std::string& id) {
    auto camera = std::make_shared<V4L2Camera>(id, this);
    const MutexLock lock(m_openCameras->mutex);
    // An entry is never replaced: not while its camera lives, nor while it is about to be
    // forgotten, nor when a removal left it empty.
    m_openCameras->byId.emplace(id, camera);
    return camera;
}

void V4L2CameraManager::onCameraAdded(const CameraInfo& info) {
    if (!addCameraInfo(info)) {
        return;
    }
    const std::lock_guard lock(m_listenerMutex);
    if (m_listener != nullptr) {
        m_listener->cameraAdded(info);
    }
}

void V4L2CameraManager::onCameraRemoved(const std::string& id) {
    if (!removeCameraInfo(id)) {
        return;
    }
    const std::shared_ptr<V4L2Camera> camera = registeredCamera(id);
    if (camera) {
        camera->stopCapture();
        camera->reportError("Camera removed");
    }
    const std::lock_guard lock(m_listenerMutex);
    if (m_listener != nullptr) {
        m_listener->cameraRemoved(id);
    }
}

bool V4L2CameraManager::queryCameraInfo(const std::string& id, const std::string& name,
                                        std::uint32_t capabilities, std::uint32_t deviceCaps,
                                        CameraInfo& info) const {
    constexpr std::uint32_t needed = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_STREAMING;
    constexpr std::uint32_t capture = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE;
    if ((capabilities & needed) != needed || (deviceCaps & capture) == 0) {
        return false;
    }
    info = {id, name, "v4l2", 0, 0, {}};
    return true;
}

bool V4L2CameraManager::addCameraInfo(const CameraInfo& info) {
    const MutexLock lock(m_mutex);
    if (std::any_of(m_cameraInfos.begin(), m_cameraInfos.end(), hasId(info.id))) {
        return false;
    }
    m_cameraInfos.push_back(info);
    return true;
}

bool V4L2CameraManager::removeCameraInfo(const std::string& id) {
    const MutexLock lock(m_mutex);
    const auto found = std::find_if(m_cameraInfos.begin(), m_cameraInfos.end(), hasId(id));
    if (found == m_cameraInfos.end()) {
        return false;
    }
    m_cameraInfos.erase(found);
    return true;
}

// Leaves an empty entry where there was none, so a camera opened for this id later, also
// after the device has come back, is not registered until some camera of the id has gone.
std::shared_ptr<V4L2Camera> V4L2CameraManager::registeredCamera(const std::string& id) {
    const MutexLock lock(m_openCameras->mutex);
    return m_openCameras->byId[id].lock();
}

void OpenCameras::forget(const std::string& id) {
    const MutexLock lock(mutex);
    byId.erase(id);
}

}  // namespace Nerio::Lumiq
