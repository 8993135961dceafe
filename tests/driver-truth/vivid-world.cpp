// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Turns the driver's controls with v4l2-ctl, and pulls its cable through sysfs.

#include "vivid-world.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "child-process.h"
#include "fault.h"

namespace DriverTruth {
namespace {

constexpr const char* instance = "vivid-002-vid-cap";

/// sRGB, Rec. 709, ITU-R 601; at the start of the exposure.
constexpr const char* asUsbCameras =
    "colorspace=2,transfer_function=1,y_cbcr_encoding=1,timestamp_source=1";
constexpr const char* asAtFirst =
    "colorspace=1,transfer_function=0,y_cbcr_encoding=0,timestamp_source=0";

/// The buttons, and the faults of the simulated camera that do the same.
constexpr std::pair<const char*, const char*> buttons[] = {
    {R"({"frame": "broken"})", "inject_fatal_streaming_error"},
    {R"({"call": "VIDIOC_REQBUFS", "errno": "EINVAL"})", "inject_vidioc_reqbufs_error"},
    {R"({"call": "VIDIOC_QBUF", "errno": "EINVAL"})", "inject_vidioc_qbuf_error"},
    {R"({"call": "VIDIOC_STREAMON", "errno": "EINVAL"})", "inject_vidioc_streamon_error"},
};

/// The instance's node; empty while it is unplugged.
std::string findNode() {
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/video4linux")) {
        std::ifstream file(entry.path() / "name");
        std::string name;
        if (std::getline(file, name) && name == instance) {
            return "/dev/" + entry.path().filename().string();
        }
    }
    return "";
}

void setControls(const std::string& node, const std::string& assignments) {
    TestSupport::ChildProcess setting({"v4l2-ctl", "-d", node, "-c", assignments});
    if (setting.wait() != 0) {
        throw std::runtime_error(setting.standardError() + setting.standardOutput());
    }
}

void tellBus(const std::string& file) {
    std::ofstream stream("/sys/bus/platform/drivers/vivid/" + file);
    if (!(stream << "vivid.0" << std::flush)) {
        throw std::runtime_error("the driver refuses to " + file);
    }
}

}  // namespace

VividWorld::VividWorld() {
    settle();
}

VividWorld::~VividWorld() {
    try {
        if (findNode().empty()) {
            tellBus("bind");
        }
        setControls(findNode(), asAtFirst);
    } catch (const std::exception& error) {
        ADD_FAILURE() << "the driver is not as it was: " << error.what();
    }
}

void VividWorld::settle() {
    m_node = findNode();
    if (m_node.empty()) {
        throw std::runtime_error(std::string("there is no ") + instance);
    }
    setControls(m_node, asUsbCameras);
}

int VividWorld::open(bool blocking) {
    return ::open(m_node.c_str(), O_RDWR | O_CLOEXEC | (blocking ? 0 : O_NONBLOCK));
}

void VividWorld::unplug() {
    tellBus("unbind");
}

void VividWorld::plug() {
    tellBus("bind");
    settle();
}

void VividWorld::setFault(const std::string& json) {
    const Simulator::Fault fault = Simulator::parseFault(json);
    for (const auto& [known, button] : buttons) {
        if (Simulator::parseFault(known) == fault) {
            setControls(m_node, std::string(button) + "=1");
            return;
        }
    }
    throw std::runtime_error("the driver has no button for " + json);
}

void VividWorld::clearFaults() {
    throw std::runtime_error("the driver forgets no fault before it has struck");
}

}  // namespace DriverTruth
