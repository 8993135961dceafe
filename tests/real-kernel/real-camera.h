// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Cameras of the kernel's own drivers whose cable a test can pull: the virtual video driver, and
// USB cameras behind the virtual host controller. Test thread.
#pragma once

#include <cstdint>
#include <string>

#include "child-process.h"

namespace RealKernel {

/// How the device-access service calls the camera of a node ("/dev/video0").
std::string cameraId(const std::string& node);

class RealCamera {
public:
    RealCamera() = default;
    RealCamera(const RealCamera&) = delete;
    RealCamera& operator=(const RealCamera&) = delete;
    virtual ~RealCamera() = default;

    /// Its node now; it may be another one each time it is plugged in.
    virtual std::string node() const = 0;
    std::string id() const { return cameraId(node()); }

    virtual void unplug() = 0;
    /// Takes the camera from whoever is in the middle of using it, and unplugs it.
    virtual void pullAway() { unplug(); }
    /// Returns when its node is there.
    virtual void plug() = 0;
    /// Sends no more frames until it is plugged in again.
    virtual void stall() = 0;
    /// As it was at first: plugged in and without faults, whatever a test has left behind.
    virtual void restore() = 0;
};

/// An instance of the virtual video driver. They all share one cable.
class VividCamera : public RealCamera {
public:
    /// Instances are counted from 0; run-tests says which is what.
    explicit VividCamera(int instance) : m_instance(instance) {}

    std::string node() const override;
    void unplug() override;
    void plug() override;
    void stall() override;
    void restore() override;

private:
    const int m_instance;
};

/// Isochronous transfers and UVC 1.1, or bulk transfers and UVC 1.5.
enum class UsbKind { Isochronous, Bulk };

/// Frames until the bars of such a camera are back where they were, as its description says.
constexpr std::uint32_t barCycle(UsbKind kind) {
    return kind == UsbKind::Isochronous ? 16 : 5;
}

/// A program at the other end of the virtual host controller's cable. Each is a process of its own
/// and goes with its object.
class UsbCamera : public RealCamera {
public:
    /// Returns when its node is there.
    explicit UsbCamera(UsbKind kind);
    /// Returns when its node is gone.
    ~UsbCamera() override;

    UsbKind kind() const { return m_kind; }
    bool running() { return m_process.running(); }
    bool isPlugged() const { return m_plugged; }

    std::string node() const override { return m_node; }
    void unplug() override;
    /// The kernel takes the device from its driver as when it has gone, while the connection still
    /// answers what the driver takes back: the virtual host controller may otherwise lose a
    /// transfer, and whoever waits for that never wakes.
    void pullAway() override;
    void plug() override;
    void stall() override;
    void restore() override;

    /// Sends one of lumiq-usb-camera's commands and returns its answer; throws std::runtime_error
    /// when it refuses. Nothing is started for it: the camera has obeyed when this returns.
    std::string tell(const std::string& command) const;

private:
    void waitForNode();
    bool hasNode();

    const UsbKind m_kind;
    const std::string m_socket;
    TestSupport::ChildProcess m_process;
    std::string m_node;
    std::string m_device;  ///< Its folder in sysfs.
    bool m_plugged = true;
};

}  // namespace RealKernel
