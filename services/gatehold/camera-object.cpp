// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One camera on the bus; see the header.
#include "camera-object.h"

#include <sdbus-c++/Error.h>
#include <sdbus-c++/Message.h>
#include <sdbus-c++/VTableItems.h>

#include <cerrno>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "messages.h"
#include "protocol.h"

namespace GateholdService {
namespace {

// D-Bus carries valid UTF-8 only, and one bad name would spoil the whole list. Drivers cut a name
// off after 31 bytes, in the middle of a character if need be.
std::string validText(const std::string& text) {
    using Json = nlohmann::json;
    const auto repaired = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    return Json::parse(repaired).get<std::string>();
}

bool meansGone(int error) {
    return error == ENODEV || error == ENXIO || error == ENOENT;
}

}  // namespace

CameraObject::CameraObject(sdbus::IConnection& connection, const sdbus::ObjectPath& path,
                           Camera camera)
    : m_camera(std::move(camera)), m_object(sdbus::createObject(connection, path)) {
    m_camera.name = validText(m_camera.name);
    const auto constant = sdbus::Flags::CONST_PROPERTY_VALUE;
    m_object
        ->addVTable(sdbus::registerMethod("Open").withOutputParamNames("handle").implementedAs(
                        [this] { return open(); }),
                    sdbus::registerProperty("Name")
                        .withGetter([this] { return m_camera.name; })
                        .withUpdateBehavior(constant),
                    sdbus::registerProperty("Capabilities")
                        .withGetter([this] { return m_camera.capabilities; })
                        .withUpdateBehavior(constant),
                    sdbus::registerProperty("DeviceCaps")
                        .withGetter([this] { return m_camera.deviceCaps; })
                        .withUpdateBehavior(constant))
        .forInterface(Protocol::kDeviceInterface);
}

void CameraObject::announceArrival() {
    m_object->emitInterfacesAddedSignal({sdbus::InterfaceName{Protocol::kDeviceInterface}});
}

void CameraObject::announceDeparture() {
    m_object->emitInterfacesRemovedSignal({sdbus::InterfaceName{Protocol::kDeviceInterface}});
}

sdbus::UnixFd CameraObject::open() const {
    const std::string client = m_object->getCurrentlyProcessedMessage().getSender();
    try {
        auto handle = m_camera.open();
        sayVerbose("\"" + m_camera.name + "\" opened for " + client);
        return handle;
    } catch (const std::system_error& error) {
        const std::string reason = error.code().message();
        sayVerbose("\"" + m_camera.name + "\" not opened for " + client + ": " + reason);
        if (meansGone(error.code().value())) {
            throw sdbus::Error(sdbus::Error::Name{Protocol::kErrorGone},
                               "The camera \"" + m_camera.name + "\" has been unplugged");
        }
        throw sdbus::Error(sdbus::Error::Name{Protocol::kErrorFailed},
                           "Cannot open the camera \"" + m_camera.name + "\": " + reason);
    }
}

}  // namespace GateholdService
