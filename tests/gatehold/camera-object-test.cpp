// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One camera's object, with cameras that no simulator has: that cannot be opened, or whose name is
// broken. Object and client are two connections of this program on a real bus.
#include "camera-object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <system_error>
#include <thread>

#include "bus-client.h"
#include "camera-list.h"
#include "private-bus.h"

namespace GateholdTest {
namespace {

using GateholdService::Camera;

// The service's side, served on a thread of its own until the test is over.
class ACameraObject : public ::testing::Test {
protected:
    void put(Camera camera) {
        list.add("video0", std::move(camera));
        connection->enterEventLoopAsync();
    }
    void TearDown() override { connection->leaveEventLoop(); }

    static Camera failing(int error) {
        return {"Broken", 0, 0, [error]() -> sdbus::UnixFd {
                    throw std::system_error(error, std::generic_category());
                }};
    }

    TestSupport::PrivateBus bus;
    std::unique_ptr<sdbus::IConnection> connection =
        sdbus::createSessionBusConnectionWithAddress(bus.address());
    GateholdService::CameraList list{*connection};
};

class OpeningClient {
public:
    OpeningClient(const std::string& address, const sdbus::IConnection& service)
        : m_connection(sdbus::createSessionBusConnectionWithAddress(address)),
          m_camera(sdbus::createProxy(*m_connection, service.getUniqueName(),
                                      sdbus::ObjectPath{pathOf("video0")})) {}

    // What "Open" fails with: name and message.
    std::pair<std::string, std::string> openError() {
        try {
            sdbus::UnixFd handle;
            m_camera->callMethod("Open").onInterface(kDeviceInterface).storeResultsTo(handle);
            return {};
        } catch (const sdbus::Error& error) {
            return {error.getName(), error.getMessage()};
        }
    }

    std::string name() {
        return m_camera->getProperty("Name").onInterface(kDeviceInterface).get<std::string>();
    }

private:
    std::unique_ptr<sdbus::IConnection> m_connection;
    std::unique_ptr<sdbus::IProxy> m_camera;
};

class ACameraObjectWhoseDeviceIsGone : public ACameraObject,
                                       public ::testing::WithParamInterface<int> {};

TEST_P(ACameraObjectWhoseDeviceIsGone, SaysSoWhenOpened) {
    put(failing(GetParam()));
    const auto [name, message] = OpeningClient(bus.address(), *connection).openError();
    EXPECT_EQ(name, "io.nerio.Gatehold1.Error.Gone");
    EXPECT_EQ(message, "The camera \"Broken\" has been unplugged");
}

INSTANTIATE_TEST_SUITE_P(WithEachErrnoOfIt, ACameraObjectWhoseDeviceIsGone,
                         ::testing::Values(ENODEV, ENXIO, ENOENT));

TEST_F(ACameraObject, TellsWhyItCannotBeOpened) {
    put(failing(EBUSY));
    const auto [name, message] = OpeningClient(bus.address(), *connection).openError();
    EXPECT_EQ(name, "io.nerio.Gatehold1.Error.Failed");
    EXPECT_EQ(message, "Cannot open the camera \"Broken\": Device or resource busy");
}

TEST_F(ACameraObject, MendsANameThatIsCutOffInTheMiddleOfACharacter) {
    put({"Kamera \xc3", 0, 0, {}});
    EXPECT_EQ(OpeningClient(bus.address(), *connection).name(), "Kamera \xef\xbf\xbd");
}

}  // namespace
}  // namespace GateholdTest
