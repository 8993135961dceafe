// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A desk with real cameras: the device-access service on the machine's system bus, and a host with
// the back end loaded. One for all the tests of a process, as a host has one manager. Test thread,
// but for CameraSet's two calls, which come on the bus thread.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "child-process.h"
#include "film.h"
#include "lumiq/camera-manager.h"
#include "plugin-library.h"
#include "real-camera.h"

namespace RealKernel {

/// The ids of the cameras that have come and not gone.
class CameraSet : public Nerio::Lumiq::CameraManagerListener {
public:
    void cameraAdded(const Nerio::Lumiq::CameraInfo& info) override;
    void cameraRemoved(const std::string& id) override;

    /// False when the limit passed first.
    [[nodiscard]] bool waitUntilThere(const std::string& id);
    [[nodiscard]] bool waitUntilGone(const std::string& id);
    [[nodiscard]] bool waitUntilJust(const std::set<std::string>& ids);

private:
    template <typename Condition>
    bool waitFor(Condition condition);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::set<std::string> m_ids;
};

class Desk {
public:
    /// The one of this process; made when it is first asked for.
    static Desk& instance();

    Nerio::Lumiq::CameraManager& manager() { return m_library.manager(); }
    CameraSet& cameras() { return m_cameras; }

    /// The USB camera of that kind, as new. It stays for all tests that ask for it one after the
    /// other: a USB camera takes a second to come.
    UsbCamera& usbCamera(UsbKind kind);
    void putUsbCameraAway();
    /// The cameras that are there when a test begins.
    std::set<std::string> standing() const;

    void killService() { m_service.reset(); }
    void startService();

private:
    Desk();

    std::optional<TestSupport::ChildProcess> m_service;
    TestSupport::PluginLibrary m_library;
    CameraSet m_cameras;
    std::unique_ptr<UsbCamera> m_usbCamera;
};

/// What every test at the desk has.
class AtTheDesk : public ::testing::Test {
protected:
    Desk& desk = Desk::instance();

    /// Returns when the host has heard that the cameras of the test before it are gone.
    AtTheDesk();

    /// Waits until the host knows the camera, and opens it. Null, and the test has failed, when it
    /// does not come.
    std::shared_ptr<Nerio::Lumiq::Camera> open(const RealCamera& camera) const;

    UsbCamera& usbCamera(UsbKind kind = UsbKind::Isochronous) { return desk.usbCamera(kind); }

    /// Opens the camera, captures some frames with both eyes on them, and stops.
    void streams(const RealCamera& camera, std::size_t frames = 5) const;
};

inline constexpr Nerio::Lumiq::CameraCapabilityEx kVga{640, 480, {25, 1}};

/// Finds the camera that a parameterised test is about, as new.
using FindCamera = RealCamera& (*)();
RealCamera& vividWebcam();
RealCamera& isochronousCamera();
RealCamera& bulkCamera();

}  // namespace RealKernel
