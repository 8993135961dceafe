// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The control object: plugs and unplugs simulated cameras and switches their faults, for tests and
// for those who want to see what their host does. Only on the bus with --control; used in the loop.
#pragma once

#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/IObject.h>
#include <sdbus-c++/Types.h>

#include <memory>
#include <string>

#include "simulated-cameras.h"

namespace GateholdService {

class Control {
public:
    // Connection and cameras outlive it.
    Control(sdbus::IConnection& connection, SimulatedCameras& cameras);

private:
    sdbus::ObjectPath plug(const std::string& description);
    void unplug(const sdbus::ObjectPath& camera);
    void setFault(const sdbus::ObjectPath& camera, const std::string& fault);
    void clearFaults(const sdbus::ObjectPath& camera);

    SimulatedCameras& m_cameras;
    std::unique_ptr<sdbus::IObject> m_object;
};

}  // namespace GateholdService
