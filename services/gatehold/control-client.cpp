// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Control commands; see the header.
#include "control-client.h"

#include <sdbus-c++/Error.h>
#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/IProxy.h>
#include <sdbus-c++/Types.h>
#include <simulated-device.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bus-name.h"
#include "exit-code.h"
#include "protocol.h"

namespace GateholdService {
namespace {

struct ListedCamera {
    sdbus::ObjectPath path;
    std::string name;
    std::uint32_t capabilities = 0;
    std::uint32_t deviceCaps = 0;

    std::string node() const { return path.substr(path.rfind('/') + 1); }
};

std::unique_ptr<sdbus::IProxy> proxyOf(sdbus::IConnection& connection, const char* path) {
    return sdbus::createProxy(connection, sdbus::ServiceName{Protocol::kServiceName},
                              sdbus::ObjectPath{path});
}

std::vector<ListedCamera> listCameras(sdbus::IConnection& connection) {
    using Properties = std::map<std::string, sdbus::Variant>;
    std::map<sdbus::ObjectPath, std::map<std::string, Properties>> objects;
    proxyOf(connection, Protocol::kManagerPath)
        ->callMethod("GetManagedObjects")
        .onInterface("org.freedesktop.DBus.ObjectManager")
        .storeResultsTo(objects);
    std::vector<ListedCamera> cameras;
    for (const auto& [path, interfaces] : objects) {
        const auto device = interfaces.find(Protocol::kDeviceInterface);
        if (device != interfaces.end()) {
            const Properties& properties = device->second;
            cameras.push_back({path, properties.at("Name").get<std::string>(),
                               properties.at("Capabilities").get<std::uint32_t>(),
                               properties.at("DeviceCaps").get<std::uint32_t>()});
        }
    }
    return cameras;
}

// An exact path, node or name wins over parts of names.
sdbus::ObjectPath findCamera(sdbus::IConnection& connection, const std::string& wanted) {
    std::vector<ListedCamera> partly;
    for (const ListedCamera& camera : listCameras(connection)) {
        if (camera.path == wanted || camera.node() == wanted) {
            return camera.path;
        }
        if (camera.name.find(wanted) != std::string::npos) {
            partly.push_back(camera);
        }
    }
    std::vector<ListedCamera> exactly;
    for (const ListedCamera& camera : partly) {
        if (camera.name == wanted) {
            exactly.push_back(camera);
        }
    }
    const auto& found = exactly.empty() ? partly : exactly;
    if (found.size() == 1) {
        return found.front().path;
    }
    throw Failure(ExitCode::noCamera,
                  (found.empty() ? "no camera is called \"" : "more than one camera is called \"") +
                      wanted + "\"; \"lumiq-gatehold control list\" shows what is there");
}

void printCameras(const std::vector<ListedCamera>& cameras) {
    for (const ListedCamera& camera : cameras) {
        std::array<char, 32> words{};
        std::snprintf(words.data(), words.size(), "%08x %08x", camera.capabilities,
                      camera.deviceCaps);
        std::cout << camera.path << ' ' << words.data() << ' ' << camera.name << '\n';
    }
}

void callControl(sdbus::IConnection& connection, const char* method,
                 const sdbus::ObjectPath& camera) {
    proxyOf(connection, Protocol::kControlPath)
        ->callMethod(method)
        .onInterface(Protocol::kControlInterface)
        .withArguments(camera);
}

sdbus::ObjectPath plug(sdbus::IConnection& connection, const std::string& file) {
    sdbus::ObjectPath path;
    proxyOf(connection, Protocol::kControlPath)
        ->callMethod("Plug")
        .onInterface(Protocol::kControlInterface)
        .withArguments(Simulator::loadDescription(file).json)
        .storeResultsTo(path);
    return path;
}

void runOn(sdbus::IConnection& connection, const ControlOptions& options) {
    using Command = ControlOptions::Command;
    switch (options.command) {
        case Command::list:
            printCameras(listCameras(connection));
            return;
        case Command::plug:
            std::cout << plug(connection, options.file) << '\n';
            return;
        case Command::unplug:
            callControl(connection, "Unplug", findCamera(connection, options.camera));
            return;
        case Command::fault:
            proxyOf(connection, Protocol::kControlPath)
                ->callMethod("SetFault")
                .onInterface(Protocol::kControlInterface)
                .withArguments(findCamera(connection, options.camera), options.fault);
            return;
        case Command::clear:
            callControl(connection, "ClearFaults", findCamera(connection, options.camera));
            return;
    }
}

// What the bus's and the service's error names mean to the one who gave the command.
Failure explained(const sdbus::Error& error) {
    struct Meaning {
        std::string_view name;
        ExitCode exitCode;
        const char* advice;
    };
    constexpr const char* start =
        ". Start a service with --control on this bus: \"lumiq-gatehold --control\".";
    constexpr const char* restart = ". The service runs without --control: start it with it.";
    const std::array<Meaning, 8> meanings{{
        {"org.freedesktop.DBus.Error.ServiceUnknown", ExitCode::noService, start},
        {"org.freedesktop.DBus.Error.NameHasNoOwner", ExitCode::noService, start},
        {"org.freedesktop.DBus.Error.UnknownObject", ExitCode::noService, restart},
        {"org.freedesktop.DBus.Error.UnknownInterface", ExitCode::noService, restart},
        {"org.freedesktop.DBus.Error.UnknownMethod", ExitCode::noService, restart},
        {"org.freedesktop.DBus.Error.AccessDenied", ExitCode::refused,
         ". On the system bus only root may use the control interface."},
        {Protocol::kErrorBadDescription, ExitCode::badDescription, ""},
        {Protocol::kErrorNoSuchCamera, ExitCode::noCamera, ""},
    }};
    for (const Meaning& meaning : meanings) {
        if (error.getName() == meaning.name) {
            return {meaning.exitCode, error.getMessage() + meaning.advice};
        }
    }
    return {ExitCode::failed, error.getName() + ": " + error.getMessage()};
}

}  // namespace

void runControlCommand(const ControlOptions& options) {
    const auto connection = connectToBus();
    try {
        runOn(*connection, options);
    } catch (const Simulator::DescriptionError& error) {
        throw Failure(ExitCode::badDescription, error.what());
    } catch (const sdbus::Error& error) {
        throw explained(error);
    }
}

}  // namespace GateholdService
