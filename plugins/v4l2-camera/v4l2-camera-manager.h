// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The back end's list of cameras. One object per process, see module.cpp. Host threads call the
// public operations, the bus thread reports arrivals and departures.

#ifndef LUMIQ_V4L2_CAMERA_MANAGER_H
#define LUMIQ_V4L2_CAMERA_MANAGER_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "gatehold.h"
#include "lumiq/internal/base-camera-manager.h"
#include "lumiq/internal/mutex.h"

namespace Nerio::Lumiq {

class V4L2Camera;

/// The cameras that are told about a removal, one for each id. Shared with the cameras: one that
/// dies on its capture thread while the process ends may do so after the manager.
struct OpenCameras {
    /// Drops the camera of this id, whichever it is: every camera says so when it goes, registered
    /// or not. Any thread.
    void forget(const std::string& id);

    Internal::Mutex mutex;  ///< Never held while a listener or a camera's operation runs.
    std::map<std::string, std::weak_ptr<V4L2Camera>> byId LUMIQ_GUARDED_BY(mutex);
};

class V4L2CameraManager : public Internal::BaseCameraManager {
public:
    V4L2CameraManager();

    /// Ends the bus thread first. Cameras that hosts still hold are not touched and must not be
    /// used any more.
    ~V4L2CameraManager() override;

    bool init() override;
    [[nodiscard]] int getNumberOfCameras() override;
    bool getCameraInfo(unsigned int index, CameraInfo& info) override;
    bool queryCapabilities(const std::string& id,
                           std::vector<CameraCapability>& capabilities) override;
    [[nodiscard]] std::shared_ptr<Camera> openCamera(const std::string& id) override;
    bool queryCapabilityRanges(const std::string& id, PixelFormat format,
                               CameraCapabilityRanges& ranges) override;
    bool findClosestCapability(const std::string& id, PixelFormat format,
                               const CameraCapabilityEx& desired, CameraCapabilityEx& result,
                               CameraCapabilityPriority priority) override;

    /// Lists the camera and tells the listener; an id that is listed already changes nothing. Bus
    /// thread, or the thread in init().
    void onCameraAdded(const CameraInfo& info);

    /// Takes the camera off the list, stops its capture, tells its listener "Camera removed" and
    /// then the manager's listener; an id that is not listed changes nothing. Bus thread.
    void onCameraRemoved(const std::string& id);

    /// Fills `info` when the capability words (v4l2_capability in the kernel's linux/videodev2.h)
    /// are those of a camera that can capture and stream; otherwise false and `info` untouched.
    bool queryCameraInfo(const std::string& id, const std::string& name, std::uint32_t capabilities,
                         std::uint32_t deviceCaps, CameraInfo& info) const;

    /// Copies the listed record of a camera; false when it is not listed. Any thread.
    bool getCameraInfo(const std::string& id, CameraInfo& info);

    [[nodiscard]] const std::shared_ptr<OpenCameras>& openCameras() const { return m_openCameras; }

    /// The connection to the device-access service, for cameras to open their device.
    [[nodiscard]] Gatehold& gatehold() { return m_gatehold; }

private:
    bool addCameraInfo(const CameraInfo& info);
    bool removeCameraInfo(const std::string& id);
    std::shared_ptr<V4L2Camera> registeredCamera(const std::string& id);

    // One init() at a time. Recursive, since a listener may call init() from inside it.
    std::recursive_mutex m_initMutex;
    bool m_initialized = false;   // Guarded by m_initMutex.
    bool m_initializing = false;  // Guarded by m_initMutex.

    // Never held while a listener or a camera's operation runs.
    Internal::Mutex m_mutex;
    std::vector<CameraInfo> m_cameraInfos LUMIQ_GUARDED_BY(m_mutex);
    const std::shared_ptr<OpenCameras> m_openCameras = std::make_shared<OpenCameras>();
    // Last, so that the bus thread is gone before what it works on.
    Gatehold m_gatehold;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_V4L2_CAMERA_MANAGER_H
