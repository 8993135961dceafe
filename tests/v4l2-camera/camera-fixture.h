// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Simulated cameras behind the service of a test: the back end opens them over the bus and speaks
// to them in this process. Test programs link lumiq-simulator-core. Used on the test's thread.

#ifndef LUMIQ_TEST_CAMERA_FIXTURE_H
#define LUMIQ_TEST_CAMERA_FIXTURE_H

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "bus-fixture.h"
#include "simulated-device.h"
#include "simulator-trace.h"
#include "wait-until.h"

namespace TestSupport {

/// True while the kernel has this thread of ours asleep (proc(5), /proc/pid/task/tid/stat).
[[nodiscard]] inline bool isAsleep(pid_t thread) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(stat, text);
    const auto name = text.rfind(") ");
    return name != std::string::npos && text.size() > name + 2 && text[name + 2] == 'S';
}

/// A thread of the host that runs into something which holds it up. Joined when it goes.
class HostThread {
public:
    explicit HostThread(std::function<void()> work)
        : m_thread([this, run = std::move(work)] {
              m_id = ::gettid();
              run();
              m_done = true;
          }) {}
    HostThread(const HostThread&) = delete;
    HostThread& operator=(const HostThread&) = delete;
    ~HostThread() { join(); }

    /// True as soon as it waits for something. False when it came to its end instead, or when the
    /// limit passed first.
    [[nodiscard]] bool fallsAsleep() {
        return waitUntil([this] { return m_done || (m_id != 0 && isAsleep(m_id)); }) && !m_done;
    }
    [[nodiscard]] bool isDone() const { return m_done; }
    void join() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    std::atomic<pid_t> m_id{0};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

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
