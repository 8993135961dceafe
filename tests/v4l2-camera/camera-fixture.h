// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Simulated cameras behind the service of a test: the back end opens them over the bus and speaks
// to them in this process. Test programs link lumiq-simulator-core. Used on the test's thread.

#ifndef LUMIQ_TEST_CAMERA_FIXTURE_H
#define LUMIQ_TEST_CAMERA_FIXTURE_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bus-fixture.h"
#include "simulated-device.h"
#include "simulator-trace.h"

namespace TestSupport {

/// True as soon as the condition holds; for conditions that nobody signals. False when the limit
/// passed first.
[[nodiscard]] inline bool waitUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + waitLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// The V4L2 requests of a trace, in order, by name.
[[nodiscard]] inline std::vector<std::string> requestsOf(
    const std::vector<Simulator::TracedCall>& calls) {
    std::vector<std::string> names;
    for (const Simulator::TracedCall& call : calls) {
        if (call.name.rfind("VIDIOC_", 0) == 0) {
            names.push_back(call.name);
        }
    }
    return names;
}

/// The calls of a trace that this thread made: the service closes its own descriptors on another.
[[nodiscard]] inline std::vector<Simulator::TracedCall> ofThisThread(
    std::vector<Simulator::TracedCall> calls) {
    std::erase_if(calls, [](const Simulator::TracedCall& call) {
        return call.thread != std::this_thread::get_id();
    });
    return calls;
}

class CameraFixture : public BusFixture {
protected:
    /// Where the camera of a test lies that has only one.
    static inline const std::string onlyCamera = "camera";

    /// Makes a camera from its description and lets the service publish it; before or after
    /// connect(). It opens for as long as the fixture lives, however often.
    Simulator::SimulatedDevice& plug(const std::string& leaf, std::string_view description) {
        auto device =
            std::make_shared<Simulator::SimulatedDevice>(Simulator::parseDescription(description));
        ServiceObject object;
        object.name = device->name();
        object.capabilities = device->capabilities();
        object.deviceCaps = device->deviceCaps();
        object.open = [device] { return device->open(); };
        service->add(path(leaf), object);
        m_devices[leaf] = device;
        return *device;
    }

    /// The camera behind a published object: faults, unplugging, how many hold it open.
    Simulator::SimulatedDevice& device(const std::string& leaf = onlyCamera) {
        return *m_devices.at(leaf);
    }

    /// Plugs a camera in, connects unless that is done, and opens the camera once it is listed.
    std::shared_ptr<Nerio::Lumiq::Camera> plugAndOpen(std::string_view description,
                                                      const std::string& leaf = onlyCamera) {
        plug(leaf, description);
        connect();
        EXPECT_TRUE(managerListener.waitFor("added " + path(leaf)));
        return manager.openCamera(path(leaf));
    }

    /// The cable is pulled and the service says so; returns when the manager has taken it in.
    void pull(const std::string& leaf = onlyCamera) {
        device(leaf).unplug();
        service->remove(path(leaf));
        EXPECT_TRUE(managerListener.waitFor("removed " + path(leaf)));
    }

    /// True once no descriptor of the camera is open any more, the service's own included. False
    /// when the limit passed first.
    [[nodiscard]] bool closesEverything(const std::string& leaf = onlyCamera) {
        return waitUntil([this, &leaf] { return device(leaf).openHandles() == 0; });
    }

private:
    std::map<std::string, std::shared_ptr<Simulator::SimulatedDevice>> m_devices;
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_CAMERA_FIXTURE_H
