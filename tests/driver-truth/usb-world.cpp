// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starts the camera's program, and waits for what the kernel and udev make of it.

#include "usb-world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "control-socket.h"
#include "wait-until.h"

namespace DriverTruth {
namespace {

/// "nodrop=0"
void setParameter(const std::string& assignment) {
    const std::size_t equals = assignment.find('=');
    std::ofstream file("/sys/module/uvcvideo/parameters/" + assignment.substr(0, equals));
    if (!(file << assignment.substr(equals + 1) << std::flush)) {
        throw std::runtime_error("the driver does not take " + assignment);
    }
}

}  // namespace

UsbWorld::UsbWorld(const Scenario& scenario) {
    setParameter("nodrop=1");
    for (const std::string& assignment : scenario.parameters) {
        setParameter(assignment);
    }
    std::ofstream(m_description) << scenario.camera << std::flush;
    m_camera.emplace(std::vector<std::string>{LUMIQ_USB_CAMERA_PROGRAM, "run", "--control",
                                              m_socket, m_description});
    waitForNode();
}

UsbWorld::~UsbWorld() {
    m_camera->signal(SIGTERM);
    m_camera->wait();
    EXPECT_TRUE(waitUntilGone()) << m_node << " outlives its camera";
}

int UsbWorld::open(bool blocking) {
    return ::open(m_node.c_str(), O_RDWR | O_CLOEXEC | (blocking ? 0 : O_NONBLOCK));
}

void UsbWorld::unplug() {
    tell("unplug");
    if (!waitUntilGone()) {
        throw std::runtime_error(m_node + " outlives its cable");
    }
}

void UsbWorld::plug() {
    tell("clear");
    tell("plug");
    waitForNode();
}

void UsbWorld::setFault(const std::string& json) {
    tell("fault " + json);
}

void UsbWorld::clearFaults() {
    tell("clear");
}

void UsbWorld::tell(const std::string& command) const {
    const std::string answer = UsbCamera::tellCamera(m_socket, command, TestSupport::waitLimit);
    if (answer != "ok") {
        throw std::runtime_error(answer);
    }
}

/// Whether the camera knows its node and udev has given it to us; false as well while the program
/// starts and nobody listens.
bool UsbWorld::findNode() {
    try {
        const std::string status =
            UsbCamera::tellCamera(m_socket, "status", TestSupport::waitLimit);
        const std::size_t at = status.find("/dev/");
        m_node = at == std::string::npos ? "" : status.substr(at, status.find(' ', at) - at);
    } catch (const std::system_error&) {
        return false;
    }
    return !m_node.empty() && access(m_node.c_str(), R_OK | W_OK) == 0;
}

void UsbWorld::waitForNode() {
    if (!TestSupport::waitUntil([this] { return findNode() || !m_camera->running(); }) ||
        !m_camera->running()) {
        throw std::runtime_error("no node for the camera: " + m_camera->standardError());
    }
}

bool UsbWorld::waitUntilGone() const {
    return TestSupport::waitUntil([this] { return !std::filesystem::exists(m_node); });
}

}  // namespace DriverTruth
