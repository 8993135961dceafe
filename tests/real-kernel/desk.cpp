// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The service, the host and the list of cameras; see the header.
#include "desk.h"

#include <stdexcept>
#include <utility>

#include "gatehold-process.h"
#include "wait-until.h"

namespace RealKernel {

using Nerio::Lumiq::PixelFormat;

namespace {

// What comes after this program in the same machine finds no camera of it.
class PutAway : public ::testing::Environment {
    void TearDown() override { Desk::instance().putUsbCameraAway(); }
};
[[maybe_unused]] const auto* const putAway = ::testing::AddGlobalTestEnvironment(new PutAway);

}  // namespace

void CameraSet::cameraAdded(const Nerio::Lumiq::CameraInfo& info) {
    const std::lock_guard lock(m_mutex);
    m_ids.insert(info.id);
    m_changed.notify_all();
}

void CameraSet::cameraRemoved(const std::string& id) {
    const std::lock_guard lock(m_mutex);
    m_ids.erase(id);
    m_changed.notify_all();
}

template <typename Condition>
bool CameraSet::waitFor(Condition condition) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, TestSupport::waitLimit, condition);
}

bool CameraSet::waitUntilThere(const std::string& id) {
    return waitFor([&] { return m_ids.contains(id); });
}

bool CameraSet::waitUntilGone(const std::string& id) {
    return waitFor([&] { return !m_ids.contains(id); });
}

bool CameraSet::waitUntilJust(const std::set<std::string>& ids) {
    return waitFor([&] { return m_ids == ids; });
}

Desk& Desk::instance() {
    // Never destroyed: the back end's threads call it until the process ends.
    static Desk* const desk = new Desk;
    return *desk;
}

Desk::Desk() {
    startService();
    m_library.manager().setListener(&m_cameras);
    if (!m_library.manager().init()) {
        throw std::runtime_error("the back end cannot reach the service");
    }
}

void Desk::startService() {
    m_service = TestSupport::GateholdProcess::run(
        "unix:path=/run/dbus/system_bus_socket",
        {"--real", "--verbose", "--ready-fd",
         std::to_string(TestSupport::ChildProcess::readyDescriptor)});
    if (m_service->readyLine().empty()) {
        throw std::runtime_error("no service: " + m_service->standardError());
    }
}

UsbCamera& Desk::usbCamera(UsbKind kind) {
    if (m_usbCamera && (m_usbCamera->kind() != kind || !m_usbCamera->running())) {
        putUsbCameraAway();
    }
    if (!m_usbCamera) {
        m_usbCamera = std::make_unique<UsbCamera>(kind);
    }
    m_usbCamera->restore();
    EXPECT_TRUE(m_cameras.waitUntilThere(m_usbCamera->id()));
    return *m_usbCamera;
}

void Desk::putUsbCameraAway() {
    if (const auto camera = std::exchange(m_usbCamera, nullptr)) {
        const std::string id = camera->id();
        if (camera->running()) {
            camera->unplug();
        }
        EXPECT_TRUE(m_cameras.waitUntilGone(id));
    }
}

std::set<std::string> Desk::standing() const {
    std::set<std::string> ids{VividCamera(0).id(), VividCamera(1).id(), VividCamera(2).id()};
    if (m_usbCamera && m_usbCamera->isPlugged()) {
        ids.insert(m_usbCamera->id());
    }
    return ids;
}

RealCamera& vividWebcam() {
    static VividCamera camera(0);
    camera.restore();
    return camera;
}

RealCamera& isochronousCamera() {
    return Desk::instance().usbCamera(UsbKind::Isochronous);
}

RealCamera& bulkCamera() {
    return Desk::instance().usbCamera(UsbKind::Bulk);
}

AtTheDesk::AtTheDesk() {
    EXPECT_TRUE(desk.cameras().waitUntilJust(desk.standing()));
}

std::shared_ptr<Nerio::Lumiq::Camera> AtTheDesk::open(const RealCamera& camera) const {
    EXPECT_TRUE(desk.cameras().waitUntilThere(camera.id())) << camera.id();
    // Once a camera has gone while nobody had it open, the next one opened is told of no removal
    // until some camera of its id has been let go; this one is.
    (void)desk.manager().openCamera(camera.id());
    auto opened = desk.manager().openCamera(camera.id());
    EXPECT_NE(opened, nullptr);
    return opened;
}

void AtTheDesk::streams(const RealCamera& camera, std::size_t frames) const {
    const auto opened = open(camera);
    ASSERT_NE(opened, nullptr);
    Film film;
    opened->setListener(&film);
    ASSERT_TRUE(opened->startCapture(kVga, PixelFormat::YUYV));
    EXPECT_TRUE(film.waitForFrames(frames));
    EXPECT_TRUE(opened->stopCapture());
    opened->setListener(nullptr);
    EXPECT_TRUE(film.errors().empty()) << film.errors().front();
}

}  // namespace RealKernel
