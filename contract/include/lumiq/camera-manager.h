// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The cameras of one back end, as the host sees them. Implemented by back ends.

#ifndef LUMIQ_CAMERA_MANAGER_H
#define LUMIQ_CAMERA_MANAGER_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "lumiq/camera-manager-listener.h"
#include "lumiq/camera.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// Lists cameras, reports arrivals and departures, and opens cameras. The operations may be called
/// on any thread. The order of the virtual operations is the binary contract; new ones are only
/// ever appended.
class LUMIQ_CONTRACT CameraManager {
public:
    CameraManager() = default;
    CameraManager(const CameraManager&) = delete;
    CameraManager& operator=(const CameraManager&) = delete;
    virtual ~CameraManager() = default;

    /// Connects to device discovery. The cameras that are there already are listed and reported to
    /// the listener on the calling thread before it returns. True at once after a success; after a
    /// failure it may be called again. From inside a listener call that it makes itself it returns
    /// false and does nothing. Errors: false with a log line when the device-access service
    /// does not answer as it should; an exception derived from std::exception, without a log line,
    /// when the bus cannot be reached, and std::out_of_range when the service lists an object that
    /// is no camera.
    virtual bool init() = 0;

    /// How many cameras are listed now.
    [[nodiscard]] virtual int getNumberOfCameras() = 0;

    /// Copies the camera at `index` into `info`; false, and `info` untouched, when the index is
    /// above the number of listed cameras. The index must not be equal to that number: the V4L2
    /// back end then aborts the process.
    virtual bool getCameraInfo(unsigned int index, CameraInfo& info) = 0;

    /// Camera::queryCapabilities of the camera `id`.
    virtual bool queryCapabilities(const std::string& id,
                                   std::vector<CameraCapability>& capabilities) = 0;

    /// Makes a camera object for `id`, owned by the caller; empty on failure. The V4L2 back end
    /// makes a new object on every call, even for an unknown id; the operations of a camera whose
    /// id is no D-Bus object path throw when they need the device, and before the first init() they
    /// abort the process then. It tells a camera about the
    /// removal of its device only when it was the first to be opened for its id, and since then no
    /// other camera of the id has been destroyed, no query of this manager been made for the id,
    /// and the device has not been removed before.
    [[nodiscard]] virtual std::shared_ptr<Camera> openCamera(const std::string& id) = 0;

    /// Camera::getSupportedFormats of the camera `id`; empty when it cannot be opened.
    [[nodiscard]] virtual std::vector<PixelFormatDescription> getSupportedFormats(
        const std::string& id) = 0;

    /// Camera::queryCapabilityRanges of the camera `id`.
    virtual bool queryCapabilityRanges(const std::string& id, PixelFormat format,
                                       CameraCapabilityRanges& ranges) = 0;

    /// Camera::findClosestCapability of the camera `id`.
    virtual bool findClosestCapability(const std::string& id, PixelFormat format,
                                       const CameraCapabilityEx& desired,
                                       CameraCapabilityEx& result,
                                       CameraCapabilityPriority priority) = 0;

    /// Sets the one listener; nullptr removes it. Waits until a listener call running on another
    /// thread has returned. Works from inside a listener call. The manager does not own the
    /// listener.
    virtual void setListener(CameraManagerListener* listener) {
        const std::lock_guard lock(m_listenerMutex);
        m_listener = listener;
    }

protected:
    CameraManagerListener* m_listener = nullptr;  ///< Guarded by m_listenerMutex; not owned.
    std::recursive_mutex m_listenerMutex;         ///< Held during every listener call.
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_MANAGER_H
