// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Pulls cables through sysfs and through lumiq-usb-camera's socket; see the header.
#include "real-camera.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "control-socket.h"
#include "kernel-answers.h"
#include "wait-until.h"

namespace RealKernel {
namespace {

void writeTo(const std::string& file, const std::string& text) {
    std::ofstream stream(file);
    stream << text << std::flush;
    if (!stream) {
        throw std::runtime_error("cannot write \"" + text + "\" to " + file);
    }
}

// The video node that bears this name in sysfs; empty when there is none.
std::string nodeNamed(const std::string& name) {
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/video4linux")) {
        std::ifstream stream(entry.path() / "name");
        std::string line;
        if (std::getline(stream, line) && line == name) {
            return "/dev/" + entry.path().filename().string();
        }
    }
    return "";
}

std::string nextSocket() {
    static std::atomic<int> count{0};
    return "/run/usb-camera-" + std::to_string(count.fetch_add(1));
}

std::vector<std::string> commandFor(UsbKind kind, const std::string& socket) {
    const std::string folder = LUMIQ_USB_CAMERA_DESCRIPTIONS;
    std::vector<std::string> command{LUMIQ_USB_CAMERA_PROGRAM, "run", "--control", socket};
    if (kind == UsbKind::Bulk) {
        command.insert(command.end(), {"--bulk", "--uvc15", folder + "/usb-bulk.json"});
    } else {
        command.push_back(folder + "/usb-isochronous.json");
    }
    return command;
}

// The value of a word in the camera's answer ("port=0 bus=1-1 node=/dev/video4"); empty when it
// does not have it.
std::string wordOf(const std::string& status, const std::string& name) {
    const std::string word = " " + name + "=";
    const std::size_t at = status.find(word);
    if (at == std::string::npos) {
        return "";
    }
    const std::size_t begin = at + word.size();
    return status.substr(begin, status.find(' ', begin) - begin);
}

}  // namespace

std::string cameraId(const std::string& node) {
    return "/io/nerio/Gatehold1/Uvc/" + std::filesystem::path(node).filename().string();
}

std::string VividCamera::node() const {
    const std::string node = nodeNamed("vivid-00" + std::to_string(m_instance) + "-vid-cap");
    if (node.empty()) {
        throw std::runtime_error("the virtual video driver has no instance " +
                                 std::to_string(m_instance));
    }
    return node;
}

void VividCamera::unplug() {
    writeTo("/sys/bus/platform/drivers/vivid/unbind", "vivid.0");
}

void VividCamera::plug() {
    writeTo("/sys/bus/platform/drivers/vivid/bind", "vivid.0");
}

void VividCamera::stall() {
    setControls(node(), "percentage_of_dropped_buffers=100");
}

void VividCamera::restore() {
    if (nodeNamed("vivid-000-vid-cap").empty()) {
        plug();
    }
    setControls(node(), "percentage_of_dropped_buffers=0");
}

UsbCamera::UsbCamera(UsbKind kind)
    : m_kind(kind), m_socket(nextSocket()), m_process(commandFor(kind, m_socket)) {
    waitForNode();
}

UsbCamera::~UsbCamera() {
    m_process.signal(SIGTERM);
    m_process.wait();
    if (!TestSupport::waitUntil([this] { return !std::filesystem::exists(m_node); })) {
        std::cerr << m_node << " outlives its camera\n";
    }
}

// False as well while the camera is starting and nobody listens yet.
bool UsbCamera::hasNode() {
    std::string status;
    try {
        status = tell("status");
    } catch (const std::system_error&) {
        return false;
    }
    m_node = wordOf(status, "node");
    m_device = "/sys/bus/usb/devices/" + wordOf(status, "bus");
    return !m_node.empty() && access(m_node.c_str(), R_OK | W_OK) == 0;
}

void UsbCamera::waitForNode() {
    if (!TestSupport::waitUntil([this] { return hasNode() || !m_process.running(); }) ||
        !m_process.running()) {
        throw std::runtime_error("no node for the USB camera: " + m_process.standardError());
    }
}

std::string UsbCamera::tell(const std::string& command) const {
    const std::string answer = ::UsbCamera::tellCamera(m_socket, command, TestSupport::waitLimit);
    if (answer.starts_with("error: ")) {
        throw std::runtime_error(command + ": " + answer);
    }
    return answer;
}

void UsbCamera::unplug() {
    tell("unplug");
    m_plugged = false;
}

void UsbCamera::pullAway() {
    writeTo(m_device + "/remove", "1");
    if (!TestSupport::waitUntil([this] { return !std::filesystem::exists(m_device); })) {
        throw std::runtime_error(m_device + " cannot be removed");
    }
    unplug();
}

void UsbCamera::plug() {
    tell("plug");
    m_plugged = true;
    waitForNode();
}

void UsbCamera::stall() {
    tell("stall");
}

void UsbCamera::restore() {
    tell("clear");
    if (tell("status") == "unplugged") {
        plug();
    }
}

}  // namespace RealKernel
