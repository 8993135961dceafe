// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The client of the device-access service on the system bus: which cameras there are, and an open
// descriptor for one of them. Owned by the camera manager. Its signals are handled on the bus
// thread.

#ifndef LUMIQ_GATEHOLD_H
#define LUMIQ_GATEHOLD_H

#include <memory>
#include <string>
#include <thread>

#include "lumiq/internal/mutex.h"
#include "unique-fd.h"

namespace sdbus {
class IConnection;
class IProxy;
}  // namespace sdbus

namespace Nerio::Lumiq {

class V4L2CameraManager;

/// The service's object for one camera. Used on the thread that opens the camera.
class UvcDeviceProxy {
public:
    UvcDeviceProxy(std::shared_ptr<sdbus::IConnection> connection, const std::string& path);
    UvcDeviceProxy(const UvcDeviceProxy&) = delete;
    UvcDeviceProxy& operator=(const UvcDeviceProxy&) = delete;
    ~UvcDeviceProxy();

    struct Opened {
        UniqueFd device;
        std::string error;  ///< Why there is no device.
    };

    /// Asks the service for the camera and waits for its answer, at most the bus library's
    /// time-out. The descriptor is closed on exec, and the caller's own.
    [[nodiscard]] Opened open();

private:
    // The connection outlives every proxy on it, also when the manager has connected anew since.
    std::shared_ptr<sdbus::IConnection> m_connection;
    std::unique_ptr<sdbus::IProxy> m_proxy;
};

/// The connection to the service.
class Gatehold {
public:
    explicit Gatehold(V4L2CameraManager& manager);
    Gatehold(const Gatehold&) = delete;
    Gatehold& operator=(const Gatehold&) = delete;

    /// Leaves the event loop, waits for the bus thread, and only then lets go of the proxy and the
    /// connection, so no signal is handled during or after it. On the bus thread, where a listener
    /// is ending the process, it waits for nothing.
    ~Gatehold();

    /// Called by one thread at a time. Connects, reports the cameras that are there to the manager
    /// on the calling thread, and starts the bus thread. False, with a log line, when the service
    /// fails; then it may be called again. Errors: an exception when the bus cannot be
    /// reached or the service lists an object that is no camera.
    bool init();

    /// The service's object for the camera with this object path. Aborts when there is no
    /// connection.
    [[nodiscard]] std::unique_ptr<UvcDeviceProxy> deviceProxy(const std::string& path);

private:
    class ObjectManager;

    std::shared_ptr<sdbus::IConnection> connection();
    bool startEventLoop();
    bool isBusThread();
    void runEventLoop(sdbus::IConnection& connection);

    bool m_initialized = false;
    V4L2CameraManager* m_manager;
    // A camera may be opened on one thread while another tries init() again, and the bus thread may
    // be at work before the one that started it knows its id.
    Internal::Mutex m_connectionMutex;
    std::shared_ptr<sdbus::IConnection> m_connection LUMIQ_GUARDED_BY(m_connectionMutex);
    std::unique_ptr<ObjectManager> m_objectManager;
    std::thread m_eventLoop LUMIQ_GUARDED_BY(m_connectionMutex);
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_GATEHOLD_H
