// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The cameras on the bus; see the header.
#include "camera-list.h"

#include <string_view>
#include <utility>

#include "messages.h"
#include "protocol.h"

namespace GateholdService {

CameraList::CameraList(sdbus::IConnection& connection)
    : m_connection(connection),
      m_manager(connection.addObjectManager(sdbus::ObjectPath{Protocol::kManagerPath},
                                            sdbus::return_slot)) {}

void CameraList::add(const std::string& node, Camera camera) {
    if (contains(node)) {
        return;
    }
    auto object = std::make_unique<CameraObject>(m_connection, pathOf(node), std::move(camera));
    sayVerbose(node + ": \"" + object->camera().name + "\" arrived");
    if (m_announcing) {
        object->announceArrival();
    }
    m_objects.emplace(node, std::move(object));
}

void CameraList::remove(const std::string& node) {
    const auto found = m_objects.find(node);
    if (found == m_objects.end()) {
        return;
    }
    sayVerbose(node + ": \"" + found->second->camera().name + "\" left");
    if (m_announcing) {
        found->second->announceDeparture();
    }
    m_objects.erase(found);
}

void CameraList::announce() {
    m_announcing = true;
    for (const auto& [node, object] : m_objects) {
        object->announceArrival();
    }
}

sdbus::ObjectPath CameraList::pathOf(const std::string& node) {
    return sdbus::ObjectPath{std::string(Protocol::kManagerPath) + "/" + node};
}

std::string CameraList::nodeOf(const sdbus::ObjectPath& path) {
    const std::string prefix = std::string(Protocol::kManagerPath) + "/";
    return path.compare(0, prefix.size(), prefix) == 0 ? path.substr(prefix.size()) : std::string();
}

}  // namespace GateholdService
