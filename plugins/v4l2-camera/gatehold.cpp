// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Speaks to the device-access service. The only file that knows sdbus-c++. init() and open() run on
// host threads, the signal handlers on the bus thread.

#include "gatehold.h"

#include <fcntl.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <system_error>
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

// A blocking call reads signals off the bus while it waits for its reply, and the library wakes its
// event loop to handle them when the call succeeds, but not when it fails. Without this the removal
// of a camera that refuses to open because it was just unplugged would wait for the next thing to
// happen on the bus.
void wakeEventLoop(const sdbus::IConnection& connection) {
    try {
        ::eventfd_write(connection.getEventLoopPollData().eventFd, 1);
    } catch (const sdbus::Error&) {
        // The bus is gone, and with it the loop.
    }
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
        const int fd = ::fcntl(received.get(), F_DUPFD_CLOEXEC, 0);
        if (fd == -1) {
            throw std::system_error(errno, std::generic_category(), "dup");
        }
        return {UniqueFd(fd), {}};
    } catch (const sdbus::Error& error) {
        wakeEventLoop(*m_connection);
        return {UniqueFd(), describe(error)};
    } catch (const std::system_error& error) {
        // Out of descriptors, here or in the bus library while it reads the reply.
        return {UniqueFd(), error.what()};
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
    if (isBusThread()) {
        // A listener is ending the process. Its call never returns, so what made it stays as it is.
        m_eventLoop.detach();
        static_cast<void>(m_objectManager.release());
        return;
    }
    if (const auto current = connection()) {
        current->leaveEventLoop();
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
    const std::shared_ptr<sdbus::IConnection> fresh = sdbus::createSystemBusConnection();
    // What an earlier attempt left goes first: a proxy must not outlive its connection.
    m_objectManager.reset();
    {
        const Internal::MutexLock lock(m_connectionMutex);
        m_connection = fresh;
    }
    m_objectManager = std::make_unique<ObjectManager>(
        *fresh, serviceName, sdbus::ObjectPath{objectManagerPath}, *m_manager);
    try {
        m_objectManager->handleExistingObjects();
    } catch (const sdbus::Error& error) {
        LUMIQ_LOG(Error) << "Can't init gatehold: " << describe(error);
        return false;
    }
    m_initialized = startEventLoop();
    return m_initialized;
}

bool Gatehold::isBusThread() {
    const Internal::MutexLock lock(m_connectionMutex);
    return m_eventLoop.get_id() == std::this_thread::get_id();
}

bool Gatehold::startEventLoop() {
    try {
        const std::shared_ptr<sdbus::IConnection> current = connection();
        const Internal::MutexLock lock(m_connectionMutex);
        m_eventLoop = std::thread([this, current] { runEventLoop(*current); });
        return true;
    } catch (const std::system_error& error) {
        LUMIQ_LOG_AS(Error, "init")
            << "Can't init gatehold: " << error.code() << " / " << error.what();
        return false;
    }
}

// The bus thread. The library's own asynchronous loop would take the process down when the bus goes
// away; losing the bus costs the host its arrivals and departures, nothing else.
void Gatehold::runEventLoop(sdbus::IConnection& connection) {
    constexpr const char* lost = "Lost the system bus, no more camera arrivals or departures: ";
    try {
        connection.enterEventLoop();
    } catch (const sdbus::Error& error) {
        LUMIQ_LOG(Error) << lost << describe(error);
    } catch (const std::exception& error) {
        LUMIQ_LOG(Error) << lost << error.what();
    }
}

std::shared_ptr<sdbus::IConnection> Gatehold::connection() {
    const Internal::MutexLock lock(m_connectionMutex);
    return m_connection;
}

std::unique_ptr<UvcDeviceProxy> Gatehold::deviceProxy(const std::string& path) {
    // Without a connection there is nobody to ask: the host forgot CameraManager::init().
    const std::shared_ptr<sdbus::IConnection> busConnection = connection();
    LUMIQ_ASSERT(busConnection != nullptr);
    return std::make_unique<UvcDeviceProxy>(busConnection, path);
}

}  // namespace Nerio::Lumiq
