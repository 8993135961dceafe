// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Runs one capture from start to end: waits, writes what arrived, and knows why it ended. Main
// thread.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "capture-session.h"
#include "exit-code.h"
#include "frame-writer.h"
#include "host.h"
#include "options.h"

namespace LumiqCam {

enum class End { Count, Duration, Stopped, Removed, TimedOut, Failed, OutputFailed };

const char* toText(End end);

struct CaptureOutcome {
    End end = End::Failed;
    std::optional<Failure> failure;
    CaptureProgress progress;
    StreamSummary stream;
    double seconds = 0;
    std::uint64_t written = 0;
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;

    ExitCode exitCode() const { return failure ? failure->code() : ExitCode::Ok; }
};

class CaptureRun {
public:
    CaptureRun(Host& host, const Options& options, std::string cameraId,
               std::shared_ptr<Nerio::Lumiq::Camera> camera, const OperatingPoint& point);

    // Throws Failure when the capture does not start.
    CaptureOutcome run();

private:
    using Clock = std::chrono::steady_clock;

    void start();
    void writeArrived();
    // Each returns true when the capture is over, with the reason in m_outcome.
    bool heedErrors();
    bool heedRemoval();
    bool heedUnusableFrames(const CaptureProgress& progress);
    bool heedTime(const CaptureProgress& progress);
    bool isOver();
    bool end(End end);
    bool end(End end, ExitCode code, const std::string& what, const std::string& advice = {});
    void loop();
    void finish();
    void showProgress();
    std::chrono::milliseconds nextLook() const;

    Host& m_host;
    const Options& m_options;
    const std::string m_cameraId;
    const OperatingPoint m_point;
    FrameWriter m_writer;
    CaptureSession m_session;
    const bool m_progressLine;
    Clock::time_point m_started;
    Clock::time_point m_shown;
    // Set when the device reported an error that is usually the first sign of an unplugged camera.
    std::optional<CameraError> m_deviceError;
    CaptureOutcome m_outcome;
};

}  // namespace LumiqCam
