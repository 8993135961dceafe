// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the host implements to see cameras come and go. Called by the back end.

#ifndef LUMIQ_CAMERA_MANAGER_LISTENER_H
#define LUMIQ_CAMERA_MANAGER_LISTENER_H

#include <string>

#include "lumiq/camera-info.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// Sees cameras come and go. The manager never owns it: call CameraManager::setListener(nullptr)
/// before destroying it.
///
/// The calls are made with the manager's listener lock held, on the bus thread, or on the thread
/// that calls CameraManager::init() for cameras that are there already. While one runs, the bus
/// connection is busy: a host must not hold a lock that these calls take while it calls an
/// operation that opens a camera on another thread.
class LUMIQ_CONTRACT CameraManagerListener {
public:
    virtual ~CameraManagerListener() = default;

    /// A camera appeared; `info` is the record just added to the manager's list.
    virtual void cameraAdded(const CameraInfo& info) = 0;

    /// The camera with this identifier disappeared; it is no longer listed.
    virtual void cameraRemoved(const std::string& id) = 0;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_MANAGER_LISTENER_H
