// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The object that stands for one camera on the bus: its properties, and "Open". Owned by the
// camera list; used on the service's one thread.
#pragma once

#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/IObject.h>
#include <sdbus-c++/Types.h>

#include <memory>

#include "camera.h"

namespace GateholdService {

class CameraObject {
public:
    // Puts the object on the bus, silently. The connection outlives it.
    CameraObject(sdbus::IConnection& connection, const sdbus::ObjectPath& path, Camera camera);
    CameraObject(const CameraObject&) = delete;
    CameraObject& operator=(const CameraObject&) = delete;

    const Camera& camera() const { return m_camera; }

    // Tell the clients. Neither putting the object on the bus nor destroying it does so by itself.
    void announceArrival();
    void announceDeparture();

private:
    sdbus::UnixFd open() const;

    Camera m_camera;
    std::unique_ptr<sdbus::IObject> m_object;
};

}  // namespace GateholdService
