// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Sets up the camera, and counts the time of a thread.

#include "bench-camera.h"

#include <time.h>

#include <cstdlib>
#include <stdexcept>

namespace Bench {

BenchCamera::BenchCamera(const std::string& text)
    : m_device(std::make_shared<Simulator::SimulatedDevice>(Simulator::parseDescription(text))) {
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().c_str(), 1);
    m_service = std::make_unique<TestSupport::ScriptedService>();
    const std::string path = TestSupport::serviceRoot + "/bench";
    TestSupport::ServiceObject object;
    object.open = [device = m_device] { return device->open(); };
    m_service->add(path, object);
    reinterpret_cast<void (*)()>(m_library.symbol("_ZN5Nerio5Lumiq7LogInitEv"))();
    if (!m_library.manager().init()) {
        throw std::runtime_error("the library does not initialise");
    }
    m_camera = m_library.manager().openCamera(path);
}

BenchCamera::~BenchCamera() {
    m_camera->stopCapture();
    m_camera->setListener(nullptr);
}

std::string description(const std::string& fourcc, int width, int height,
                        const std::string& interval) {
    return R"({"name": "Bench", "formats": [{"fourcc": ")" + fourcc + R"(", "sizes": [")" +
           std::to_string(width) + "x" + std::to_string(height) + R"("], "intervals": [")" +
           interval + R"("]}]})";
}

std::int64_t threadTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

}  // namespace Bench
