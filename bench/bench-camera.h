// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A simulated camera, once behind the library and once bare, for benchmarks to compare. Used on the
// benchmark's thread.

#ifndef LUMIQ_BENCH_CAMERA_H
#define LUMIQ_BENCH_CAMERA_H

#include <cstdint>
#include <memory>
#include <string>

#include "lumiq/camera.h"
#include "plugin-library.h"
#include "private-bus.h"
#include "recording-listeners.h"
#include "scripted-service.h"
#include "simulated-device.h"

namespace Bench {

/// A bus, a service with one camera, and the library with that camera open.
class BenchCamera {
public:
    explicit BenchCamera(const std::string& description);
    BenchCamera(const BenchCamera&) = delete;
    BenchCamera& operator=(const BenchCamera&) = delete;
    ~BenchCamera();

    Nerio::Lumiq::Camera& camera() { return *m_camera; }
    Simulator::SimulatedDevice& device() { return *m_device; }

private:
    std::shared_ptr<Simulator::SimulatedDevice> m_device;
    TestSupport::PrivateBus m_bus;
    std::unique_ptr<TestSupport::ScriptedService> m_service;
    TestSupport::PluginLibrary m_library;
    std::shared_ptr<Nerio::Lumiq::Camera> m_camera;
};

/// One format, one size, one rate.
std::string description(const std::string& fourcc, int width, int height,
                        const std::string& interval);

/// What this thread has used of a processor, in nanoseconds.
std::int64_t threadTime();

}  // namespace Bench

#endif  // LUMIQ_BENCH_CAMERA_H
