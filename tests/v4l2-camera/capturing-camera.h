// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera that captures at a hundred frames a second, with faults to order. Used on the test's
// thread.

#ifndef LUMIQ_TEST_CAPTURING_CAMERA_H
#define LUMIQ_TEST_CAPTURING_CAMERA_H

#include <algorithm>
#include <memory>
#include <string>

#include "camera-fixture.h"

namespace TestSupport {

inline constexpr Nerio::Lumiq::CameraCapabilityEx fastVga{640, 480, {100, 1}};

inline std::string fastCamera(const std::string& fault = "") {
    return R"({"name": "Loop", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"]}], "faults": [)" +
           fault + "]}";
}

class CapturingFixture : public CameraFixture {
protected:
    RecordingCameraListener listener;
    std::shared_ptr<Nerio::Lumiq::Camera> opened;

    void start(const std::string& fault = "") {
        opened = plugAndOpen(fastCamera(fault));
        opened->setListener(&listener);
        ASSERT_TRUE(opened->startCapture(fastVga, Nerio::Lumiq::PixelFormat::YUYV));
    }

    void startWithout(const std::string& fault = "") {
        opened = plugAndOpen(fastCamera(fault));
        ASSERT_TRUE(opened->startCapture(fastVga, Nerio::Lumiq::PixelFormat::YUYV));
    }

    ~CapturingFixture() override {
        if (opened) {
            opened->stopCapture();
            opened->setListener(nullptr);
        }
    }

    /// Waits until the capture thread has handed back this many buffers since the trace began.
    static bool waitForRequeues(std::size_t count) {
        return TestSupport::waitUntil([count] {
            const auto calls = Simulator::tracedCalls();
            return std::count_if(calls.begin(), calls.end(), [](const Simulator::TracedCall& call) {
                       return call.name == "VIDIOC_QBUF";
                   }) >= static_cast<std::ptrdiff_t>(count);
        });
    }
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_CAPTURING_CAMERA_H
