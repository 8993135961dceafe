// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The control object; see the header.
#include "control.h"

#include <sdbus-c++/Error.h>
#include <sdbus-c++/VTableItems.h>

#include "protocol.h"

namespace GateholdService {
namespace {

[[noreturn]] void throwBadDescription(const Simulator::DescriptionError& error) {
    throw sdbus::Error(sdbus::Error::Name{Protocol::kErrorBadDescription}, error.what());
}

void demand(bool found, const sdbus::ObjectPath& camera) {
    if (!found) {
        throw sdbus::Error(sdbus::Error::Name{Protocol::kErrorNoSuchCamera},
                           camera + " is not a simulated camera");
    }
}

}  // namespace

Control::Control(sdbus::IConnection& connection, SimulatedCameras& cameras)
    : m_cameras(cameras),
      m_object(sdbus::createObject(connection, sdbus::ObjectPath{Protocol::kControlPath})) {
    using sdbus::ObjectPath;
    m_object
        ->addVTable(sdbus::registerMethod("Plug")
                        .withInputParamNames("description")
                        .withOutputParamNames("camera")
                        .implementedAs(
                            [this](const std::string& description) { return plug(description); }),
                    sdbus::registerMethod("Unplug").withInputParamNames("camera").implementedAs(
                        [this](const ObjectPath& camera) { unplug(camera); }),
                    sdbus::registerMethod("SetFault")
                        .withInputParamNames("camera", "fault")
                        .implementedAs([this](const ObjectPath& camera, const std::string& fault) {
                            setFault(camera, fault);
                        }),
                    sdbus::registerMethod("ClearFaults")
                        .withInputParamNames("camera")
                        .implementedAs([this](const ObjectPath& camera) { clearFaults(camera); }))
        .forInterface(Protocol::kControlInterface);
}

sdbus::ObjectPath Control::plug(const std::string& description) {
    try {
        return CameraList::pathOf(m_cameras.plug(Simulator::parseDescription(description)));
    } catch (const Simulator::DescriptionError& error) {
        throwBadDescription(error);
    }
}

void Control::unplug(const sdbus::ObjectPath& camera) {
    demand(m_cameras.unplug(CameraList::nodeOf(camera)), camera);
}

void Control::setFault(const sdbus::ObjectPath& camera, const std::string& fault) {
    try {
        demand(m_cameras.setFault(CameraList::nodeOf(camera), fault), camera);
    } catch (const Simulator::DescriptionError& error) {
        throwBadDescription(error);
    }
}

void Control::clearFaults(const sdbus::ObjectPath& camera) {
    demand(m_cameras.clearFaults(CameraList::nodeOf(camera)), camera);
}

}  // namespace GateholdService
