// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Simulated cameras as a source of cameras: made from descriptions when the program starts or while
// it runs, unplugged by command or by a fault of their own. Used in the loop.
#pragma once

#include <sdbus-c++/Types.h>
#include <simulated-device.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "camera-list.h"
#include "event-loop.h"

namespace GateholdService {

class SimulatedCameras {
public:
    // List and loop outlive it. Throws std::system_error.
    SimulatedCameras(CameraList& list, EventLoop& loop);
    SimulatedCameras(const SimulatedCameras&) = delete;
    SimulatedCameras& operator=(const SimulatedCameras&) = delete;
    // Leaves devices that are plugged in as they are: whoever has one open goes on streaming, as
    // with a real camera when a service that handed it out ends unexpectedly.
    ~SimulatedCameras();

    // The node of the new camera: "sim" and the lowest free number, so that a camera that comes
    // back comes back under its old path. Throws Simulator::DescriptionError, std::system_error.
    std::string plug(const Simulator::CameraDescription& description);
    // The three below return whether a simulated camera of that node is there.
    bool unplug(const std::string& node);
    // Throws Simulator::DescriptionError.
    bool setFault(const std::string& node, std::string_view faultJson);
    bool clearFaults(const std::string& node);

    // The end of the service is the end of what it simulates: clients are told. Throws sdbus::Error
    // if they cannot be; the devices are unplugged all the same.
    void unplugAll();

private:
    class Plugged;

    void removeUnplugged();

    CameraList& m_list;
    EventLoop& m_loop;
    // Written to by the watching thread of a camera that has unplugged itself.
    sdbus::UnixFd m_unplugged;
    std::map<std::string, std::unique_ptr<Plugged>> m_cameras;
};

}  // namespace GateholdService
