// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One running capture: receives the frames on the capture thread, and keeps them for the main
// thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "capture-settings.h"
#include "captured-frame.h"
#include "frame-copy.h"
#include "lumiq/camera-listener.h"
#include "lumiq/camera.h"
#include "stream-statistics.h"
#include "wake-up.h"

namespace LumiqCam {

// What the camera has reported so far.
struct CaptureProgress {
    std::uint64_t accepted = 0;   // Looked at, or taken for the output.
    std::uint64_t dropped = 0;    // Arrived while the queue was full.
    std::uint64_t unusable = 0;   // Arrived, but could not be used for the output.
    std::uint64_t converted = 0;  // The back end made 4:2:0 of them.
    std::string problem;          // Why the last unusable frame was that.
    bool hopeless = false;        // No frame of this capture will be usable.
    PixelFormat delivered = PixelFormat::Invalid;
    std::chrono::steady_clock::time_point lastFrame;  // Or the start.
};

// A failure that onCameraError told of.
struct CameraError {
    std::string text;
    std::chrono::steady_clock::time_point time;
};

// onCameraFrame: capture thread; onCameraError: capture or bus thread; the rest: main thread. The
// lock is never held while the camera or the output is used. Frames that are only looked at leave
// the main thread asleep until there are as many as wanted.
class CaptureSession final : public Nerio::Lumiq::CameraListener {
public:
    CaptureSession(std::shared_ptr<Nerio::Lumiq::Camera> camera, const CaptureSettings& settings,
                   const WakeUp& wakeUp);
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;
    // Stops the capture if it still runs.
    ~CaptureSession() override;

    // False when the back end refuses.
    bool start();
    // After it returns no call comes any more. Frames not taken yet stay.
    void stop();

    std::optional<CapturedFrame> takeFrame();
    std::vector<CameraError> takeErrors();
    CaptureProgress progress() const;
    StreamSummary stream() const;

    void onCameraFrame(std::shared_ptr<Nerio::Lumiq::GraphicBuffer> buffer) override;
    void onCameraError(const std::string& message) override;

private:
    using Clock = std::chrono::steady_clock;

    // Frames that wait for the main thread; more would only be memory, since a writer that is too
    // slow stays so.
    static constexpr std::size_t kQueueLength = 8;

    bool wantsFrame(const Nerio::Lumiq::GraphicBuffer& buffer);
    // True when the main thread has something to do about it.
    bool keep(std::optional<CapturedFrame> frame);

    const std::shared_ptr<Nerio::Lumiq::Camera> m_camera;
    const CaptureSettings m_settings;
    const WakeUp& m_wakeUp;
    FrameCopier m_copier;  // Capture thread only.

    mutable std::mutex m_mutex;
    // Guarded by m_mutex from here on.
    std::deque<CapturedFrame> m_queue;
    std::vector<CameraError> m_errors;
    StreamStatistics m_statistics;
    CaptureProgress m_progress;
};

}  // namespace LumiqCam
