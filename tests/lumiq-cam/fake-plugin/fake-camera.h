// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera that follows a script, with the locks and threads that a real back end has.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "fake-script.h"
#include "lumiq/camera.h"

namespace FakePlugin {

// Host threads call the operations; the capture thread is its own. Breaches of the contract by the
// host are written to standard error as lines that begin with "fake:".
class FakeCamera final : public Nerio::Lumiq::Camera,
                         public std::enable_shared_from_this<FakeCamera> {
public:
    // remove is called on a thread of its own when the script has the camera go.
    FakeCamera(const CameraScript& script, std::function<void()> remove);
    ~FakeCamera() override;

    bool getInfo(CameraInfo& info) override;
    std::vector<PixelFormat> getSupportedPixelFormats() override;
    bool startCapture(const CameraCapability& capability, PixelFormat format) override;
    bool stopCapture() override;
    bool captureStarted() const override { return m_started; }
    std::string getParameterRange(Nerio::Lumiq::CameraParameter) override { return {}; }
    std::string getParameter(Nerio::Lumiq::CameraParameter) override { return {}; }
    bool setParameter(Nerio::Lumiq::CameraParameter, const std::string&) override { return false; }
    std::vector<PixelFormatDescription> getSupportedFormats() override { return m_script.formats; }
    bool isFormatSupported(const PixelFormatDescription& description) override;
    bool isFormatSupported(PixelFormat format) override;
    bool queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) override;
    bool findClosestCapability(PixelFormat format, const CameraCapabilityEx& desired,
                               CameraCapabilityEx& result,
                               Nerio::Lumiq::CameraCapabilityPriority priority) override;
    bool startCapture(const CameraCapabilityEx& capability, PixelFormat format) override;
    bool queryCapabilities(std::vector<CameraCapability>& capabilities) override;

    // The device is gone: what the manager does to an open camera. Bus thread.
    void onRemoved();

private:
    void loop();
    bool deliver(std::uint32_t number);
    void report(const std::string& error);
    void finishScript();
    bool waitForPace();

    const CameraScript m_script;
    const std::function<void()> m_remove;
    std::atomic<bool> m_started{false};
    std::mutex m_deviceMutex;
    std::mutex m_waitMutex;
    std::condition_variable m_wake;
    CameraCapabilityEx m_capability;
    std::thread m_thread;
};

}  // namespace FakePlugin
