// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera on a thread of its own, plugged into a test: the test gets the kernel's end of the
// cable, and tells the camera what to do over its control socket, as a script would.

#ifndef LUMIQ_TESTS_USB_CAMERA_RUNNING_CAMERA_H
#define LUMIQ_TESTS_USB_CAMERA_RUNNING_CAMERA_H

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include "camera.h"
#include "kernel-end.h"
#include "temporary-folder.h"

namespace UsbCameraTest {

/// A test in the kernel's place.
class TestPort final : public UsbCamera::UsbPort {
public:
    Simulator::OwnedDescriptor plug() override {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
            throw UsbCamera::PortError("no socket pair");
        }
        const std::lock_guard lock(m_mutex);
        m_cables.emplace_back(ends[1]);
        m_plugged.notify_all();
        return Simulator::OwnedDescriptor(ends[0]);
    }
    std::string whereabouts() override { return "port=test"; }

    /// The kernel's end of the next cable that is plugged in.
    Simulator::OwnedDescriptor kernelsEnd() {
        std::unique_lock lock(m_mutex);
        if (!m_plugged.wait_for(lock, std::chrono::seconds(20),
                                [this] { return !m_cables.empty(); })) {
            throw std::runtime_error("no camera is plugged in");
        }
        Simulator::OwnedDescriptor end = std::move(m_cables.front());
        m_cables.pop_front();
        return end;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_plugged;
    std::deque<Simulator::OwnedDescriptor> m_cables;
};

class RunningCamera {
public:
    explicit RunningCamera(const std::string& json,
                           UsbCamera::Transport transport = UsbCamera::Transport::Isochronous,
                           UsbCamera::UvcVersion version = UsbCamera::UvcVersion::v1_1)
        : m_socketPath((m_folder.path() / "control").string()),
          m_control(m_socketPath),
          m_stop(eventfd(0, EFD_CLOEXEC)),
          m_camera(Simulator::parseDescription(json), version, transport, m_port) {
        m_camera.plugIn();
        m_thread = std::thread([this] { m_camera.run(m_stop.get(), &m_control); });
    }
    RunningCamera(const RunningCamera&) = delete;
    RunningCamera& operator=(const RunningCamera&) = delete;
    ~RunningCamera() {
        eventfd_write(m_stop.get(), 1);
        m_thread.join();
    }

    KernelEnd kernel() { return KernelEnd(m_port.kernelsEnd()); }
    std::string tell(const std::string& command) {
        return UsbCamera::tellCamera(m_socketPath, command, std::chrono::seconds(20));
    }

private:
    const TestSupport::TemporaryFolder m_folder;
    const std::string m_socketPath;
    const UsbCamera::ControlSocket m_control;
    const Simulator::OwnedDescriptor m_stop;
    TestPort m_port;
    UsbCamera::Camera m_camera;
    std::thread m_thread;
};

/// A description with one format of two sizes at 200 frames per second.
inline std::string describedAs(const std::string& code, const std::string& more = "") {
    return R"({"name": "Test camera", "formats": [{"fourcc": ")" + code +
           R"(", "sizes": ["320x240", "640x480"], "intervals": ["1/200", "1/100"]}])" +
           (more.empty() ? "" : ", ") + more + "}";
}

}  // namespace UsbCameraTest

#endif
