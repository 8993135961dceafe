// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The cameras on the bus, whatever their source. The sources put cameras in and take them out; used
// on the service's one thread.
#pragma once

#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/Types.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "camera-object.h"

namespace GateholdService {

class CameraList {
public:
    // Puts the object manager on the bus. The connection outlives the list.
    explicit CameraList(sdbus::IConnection& connection);

    // The camera's object is named after the node. Nothing happens if that node is there already.
    void add(const std::string& node, Camera camera);
    // Nothing happens if no such node is there.
    void remove(const std::string& node);

    bool contains(const std::string& node) const { return m_objects.count(node) != 0; }
    std::size_t size() const { return m_objects.size(); }

    // Tells clients of all cameras, and from now on of each arrival and departure. Called once the
    // bus name is owned: until then nobody would know who speaks. A client that stayed while the
    // service was restarted so learns what came in between.
    void announce();

    static sdbus::ObjectPath pathOf(const std::string& node);
    // The node of a camera's path; an empty string for a path that is no camera's.
    static std::string nodeOf(const sdbus::ObjectPath& path);

private:
    sdbus::IConnection& m_connection;
    sdbus::Slot m_manager;
    std::map<std::string, std::unique_ptr<CameraObject>> m_objects;
    bool m_announcing = false;
};

}  // namespace GateholdService
