// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Speaks to the device-access service. The only file that knows sdbus-c++. init() and open() run on
// host threads, the signal handlers on the bus thread.

#include "gatehold.h"

#include <fcntl.h>
#include <sdbus-c++/sdbus-c++.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

#include "lumiq/internal/assert.h"
#include "lumiq/internal/log.h"
#include "v4l2-camera-manager.h"

namespace Nerio::Lumiq {
namespace {

const sdbus::BusName serviceName{"io.nerio.Gatehold1"};
constexpr const char* objectManagerPath = "/io/nerio/Gatehold1/Uvc";
constexpr const char* deviceInterface = "io.nerio.Gatehold1.UvcDevice";

std::string describe(const sdbus::Error& error) {
    return error.getName() + " / " + error.getMessage();
}

}  // namespace

UvcDeviceProxy::UvcDeviceProxy(std::shared_ptr<sdbus::IConnection> connection,
                               const std::string& path)
    : m_connection(std::move(connection)),
      m_proxy(sdbus::createProxy(*m_connection, serviceName, sdbus::ObjectPath{path})) {}

UvcDeviceProxy::~UvcDeviceProxy() = default;

UvcDeviceProxy::Opened UvcDeviceProxy::open() {
    try {
        sdbus::UnixFd received;
        m_proxy->callMethod("Open").onInterface(deviceInterface).storeResultsTo(received);
        UniqueFd device(::fcntl(received.get(), F_DUPFD_CLOEXEC, 0));
        if (!device.isValid()) {
            std::ostringstream text;
            text << Internal::SystemError{errno};
            return {UniqueFd(), text.str()};
        }
        return {std::move(device), {}};
    } catch (const sdbus::Error& error) {
        return {UniqueFd(), describe(error)};
    }
}

/// Follows the service's list of cameras and tells the manager.
class Gatehold::ObjectManager final : public sdbus::ProxyInterfaces<sdbus::ObjectManager_proxy> {
public:
    ObjectManager(sdbus::IConnection& connection, const sdbus::BusName& destination,
                  sdbus::ObjectPath path, V4L2CameraManager& manager)
        : ProxyInterfaces(connection, destination, std::move(path)), m_manager(&manager) {
        registerProxy();
    }
    ObjectManager(const ObjectManager&) = delete;
    ObjectManager& operator=(const ObjectManager&) = delete;
    ObjectManager(ObjectManager&&) = delete;
    ObjectManager& operator=(ObjectManager&&) = delete;
    ~ObjectManager() { unregisterProxy(); }

    /// Reports every camera that the service has, in the order of their paths.
    void handleExistingObjects() {
        for (const auto& [path, interfaces] : GetManagedObjects()) {
            onInterfacesAdded(path, interfaces);
        }
    }

protected:
    using Properties = std::map<sdbus::MemberName, sdbus::Variant>;

    void onInterfacesAdded(const sdbus::ObjectPath& path,
                           const std::map<sdbus::InterfaceName, Properties>& interfaces) override {
        const Properties properties = interfaces.at(sdbus::InterfaceName{deviceInterface});
        const auto name = properties.at(sdbus::MemberName{"Name"}).get<std::string>();
        const auto capabilities =
            properties.at(sdbus::MemberName{"Capabilities"}).get<std::uint32_t>();
        const auto deviceCaps = properties.at(sdbus::MemberName{"DeviceCaps"}).get<std::uint32_t>();
        CameraInfo info;
        if (m_manager->queryCameraInfo(path, name, capabilities, deviceCaps, info)) {
            m_manager->onCameraAdded(info);
        } else {
            LUMIQ_LOG(Error) << "queryCameraInfo failed";
        }
    }

    // Whatever interfaces it lost: a camera that the service takes anything from is no longer
    // whole.
    void onInterfacesRemoved(const sdbus::ObjectPath& path,
                             const std::vector<sdbus::InterfaceName>& /*interfaces*/) override {
        m_manager->onCameraRemoved(path);
    }

private:
    V4L2CameraManager* m_manager;
};

Gatehold::Gatehold(V4L2CameraManager& manager) : m_manager(&manager) {}

Gatehold::~Gatehold() {
    if (m_connection) {
        m_connection->leaveEventLoop();
    }
    if (m_eventLoop.joinable()) {
        m_eventLoop.join();
    }
    m_objectManager.reset();
}

bool Gatehold::init() {
    if (m_initialized) {
        return true;
    }
    // What an earlier attempt left goes first: a proxy must not outlive its connection.
    m_objectManager.reset();
    m_connection = sdbus::createSystemBusConnection();
    m_objectManager = std::make_unique<ObjectManager>(
        *m_connection, serviceName, sdbus::ObjectPath{objectManagerPath}, *m_manager);
    try {
        m_objectManager->handleExistingObjects();
        m_eventLoop = std::thread([this] { runEventLoop(); });
    } catch (const sdbus::Error& error) {
        LUMIQ_LOG(Error) << "Can't init gatehold: " << describe(error);
        return false;
    }
    m_initialized = true;
    return true;
}

// The bus thread. The library's own asynchronous loop would take the process down when the bus goes
// away; losing the bus costs the host its arrivals and departures, nothing else.
void Gatehold::runEventLoop() {
    try {
        m_connection->enterEventLoop();
    } catch (const sdbus::Error& error) {
        LUMIQ_LOG(Error) << "Lost the system bus, no more camera arrivals or departures: "
                         << describe(error);
    } catch (const std::exception& error) {
        LUMIQ_LOG(Error) << "Lost the system bus, no more camera arrivals or departures: "
                         << error.what();
    }
}

std::unique_ptr<UvcDeviceProxy> Gatehold::deviceProxy(const std::string& path) {
    // Without a connection there is nobody to ask: the host forgot CameraManager::init().
    LUMIQ_ASSERT(m_connection != nullptr);
    return std::make_unique<UvcDeviceProxy>(m_connection, path);
}

}  // namespace Nerio::Lumiq
