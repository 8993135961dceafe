// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Plugging into the kernel's virtual host controller, with a folder in the place of sysfs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "running-camera.h"
#include "vhci-port.h"

namespace UsbCameraTest {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* header = "hub port sta spd dev      sockfd local_busid\n";
constexpr const char* taken = "hs  0000 006 003 00000001 000003 3-1\n";
constexpr const char* alsoTaken = "hs  0001 005 000 00000000 000000 0-0\n";
constexpr const char* freePort = "hs  0002 004 000 00000000 000000 0-0\n";
constexpr const char* fastPort = "ss  0008 004 000 00000000 000000 0-0\n";

/// As much of sysfs as the camera reads and writes.
class ASysfs : public testing::Test {
protected:
    ASysfs() {
        std::filesystem::create_directories(controller());
        write(controller() / "attach", "");
    }
    [[nodiscard]] std::filesystem::path controller() const {
        return m_folder.path() / "devices/platform/vhci_hcd.0";
    }
    static void write(const std::filesystem::path& path, const std::string& text) {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    [[nodiscard]] std::string attached() const {
        std::ifstream file(controller() / "attach");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] std::string root() const { return m_folder.path().string(); }

    const TestSupport::TemporaryFolder m_folder;
};

std::string complaint(UsbCamera::VhciPort& port) {
    try {
        port.plug();
    } catch (const UsbCamera::PortError& error) {
        return error.what();
    }
    return "none";
}

TEST(AListOfPorts, IsReadWithoutItsHeading) {
    const auto ports =
        UsbCamera::parsePorts(std::string(header) + taken + alsoTaken + freePort + fastPort);
    ASSERT_EQ(ports.size(), 4U);
    EXPECT_FALSE(ports[0].free());
    EXPECT_EQ(ports[0].busId, "3-1");
    EXPECT_FALSE(ports[1].free());
    EXPECT_TRUE(ports[2].free());
    EXPECT_TRUE(ports[2].highSpeed);
    EXPECT_EQ(ports[3].port, 8U);
    EXPECT_FALSE(ports[3].highSpeed);
}

TEST_F(ASysfs, GetsTheKernelsEndOfACableForTheFirstFreePort) {
    write(controller() / "status", std::string(header) + taken + alsoTaken + fastPort + freePort);
    UsbCamera::VhciPort port(root());
    const auto cable = port.plug();
    EXPECT_GE(cable.get(), 0);
    EXPECT_THAT(attached(), StartsWith("2 "));
    EXPECT_THAT(attached(), EndsWith(" 1 3")) << "device and speed";
}

TEST_F(ASysfs, OffersPortsOfFurtherControllers) {
    write(controller() / "status", std::string(header) + taken);
    write(controller() / "status.1",
          std::string(header) + "hs  0017 004 000 00000000 000000 0-0\n");
    UsbCamera::VhciPort port(root());
    port.plug();
    EXPECT_THAT(attached(), StartsWith("17 "));
}

TEST_F(ASysfs, ShowsTheNodeForPictures) {
    write(controller() / "status", std::string(header) + freePort);
    UsbCamera::VhciPort port(root());
    EXPECT_EQ(port.whereabouts(), "");
    port.plug();
    EXPECT_EQ(port.whereabouts(), "port=2");
    write(controller() / "status", std::string(header) + "hs  0002 006 003 00000001 000003 3-2\n");
    EXPECT_EQ(port.whereabouts(), "port=2 bus=3-2");
    const auto nodes = m_folder.path() / "bus/usb/devices/3-2/3-2:1.0/video4linux";
    write(nodes / "video5/index", "1\n");
    write(nodes / "video4/index", "0\n");
    EXPECT_EQ(port.whereabouts(), "port=2 bus=3-2 node=/dev/video4");
}

TEST_F(ASysfs, WithoutAFreePortSaysWhatToDo) {
    write(controller() / "status", std::string(header) + taken);
    UsbCamera::VhciPort any(root());
    EXPECT_THAT(complaint(any), HasSubstr("unplug a camera"));
    UsbCamera::VhciPort first(root(), 0);
    EXPECT_THAT(complaint(first), HasSubstr("--port"));
}

TEST(AMachineWithoutAController, IsToldWhichModuleToLoad) {
    try {
        const UsbCamera::VhciPort port("/nowhere");
        FAIL();
    } catch (const UsbCamera::PortError& error) {
        EXPECT_THAT(error.what(), HasSubstr("modprobe vhci-hcd"));
    }
}

}  // namespace
}  // namespace UsbCameraTest
