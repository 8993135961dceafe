// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Listeners that remember what they were told and let a test wait for it. The back end's threads
// call them, the test's thread waits.

#ifndef LUMIQ_TEST_RECORDING_LISTENERS_H
#define LUMIQ_TEST_RECORDING_LISTENERS_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "lumiq/camera-manager.h"
#include "wait-until.h"

namespace TestSupport {

class RecordingCameraListener : public Nerio::Lumiq::CameraListener {
public:
    using FrameHook = std::function<void(const std::shared_ptr<Nerio::Lumiq::GraphicBuffer>&)>;
    using ErrorHook = std::function<void(const std::string&)>;

    /// Run inside every call, before it is recorded. Set them before the listener is in use.
    FrameHook onFrame;
    ErrorHook onError;

    void onCameraFrame(std::shared_ptr<Nerio::Lumiq::GraphicBuffer> buffer) override;
    void onCameraError(const std::string& message) override;

    /// False when the limit passed first.
    [[nodiscard]] bool waitForFrames(std::size_t count);
    [[nodiscard]] bool waitForErrors(std::size_t count);

    [[nodiscard]] std::size_t frameCount();
    [[nodiscard]] std::vector<std::string> errors();
    [[nodiscard]] std::thread::id frameThread();
    [[nodiscard]] std::thread::id errorThread();
    [[nodiscard]] std::vector<std::int64_t> timestamps();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::int64_t> m_timestamps;
    std::vector<std::string> m_errors;
    std::thread::id m_frameThread;
    std::thread::id m_errorThread;
};

class RecordingManagerListener : public Nerio::Lumiq::CameraManagerListener {
public:
    struct Event {
        std::string what;  ///< "added ID" or "removed ID".
        std::thread::id thread;
    };

    /// Run inside every call, before it is recorded. Set them before the listener is in use.
    std::function<void(const Nerio::Lumiq::CameraInfo&)> onAdded;
    std::function<void(const std::string&)> onRemoved;

    void cameraAdded(const Nerio::Lumiq::CameraInfo& info) override;
    void cameraRemoved(const std::string& id) override;

    /// False when the limit passed first.
    [[nodiscard]] bool waitFor(const std::string& what);
    [[nodiscard]] std::vector<std::string> events();
    [[nodiscard]] std::thread::id threadOf(const std::string& what);

private:
    void record(const std::string& what);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Event> m_events;
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_RECORDING_LISTENERS_H
