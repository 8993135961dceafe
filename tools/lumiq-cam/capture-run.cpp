// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Running a capture; see the header.
#include "capture-run.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "report.h"

namespace LumiqCam {
namespace {

using namespace std::chrono_literals;

// How long after the device's own error the news of the removal may come over the bus.
constexpr auto kRemovalGrace = 2s;
// So many frames that cannot be used, and none that can, are no accident.
constexpr std::uint64_t kPatienceFrames = 30;
constexpr auto kProgressInterval = 200ms;

double secondsOf(std::chrono::steady_clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

}  // namespace

const char* toText(End end) {
    switch (end) {
        case End::Count:
            return "count";
        case End::Duration:
            return "duration";
        case End::Stopped:
            return "stopped";
        case End::Removed:
            return "removed";
        case End::TimedOut:
            return "timed-out";
        case End::Failed:
            return "failed";
        case End::OutputFailed:
            return "output-failed";
    }
    return "failed";
}

CaptureRun::CaptureRun(Host& host, const Options& options, std::string cameraId,
                       std::shared_ptr<Nerio::Lumiq::Camera> camera, const OperatingPoint& point)
    : m_host(host),
      m_options(options),
      m_cameraId(std::move(cameraId)),
      m_point(point),
      m_writer(options.output, point.fps),
      m_session(
          std::move(camera),
          {point,
           options.convert ? Take::Picture : takeFor(options.output.container, options.wish.format),
           options.count, options.output.container != Container::None},
          host.wakeUp()),
      m_progressLine(isatty(STDERR_FILENO) != 0 && !options.verbose) {}

CaptureOutcome CaptureRun::run() {
    start();
    loop();
    finish();
    return std::move(m_outcome);
}

void CaptureRun::start() {
    m_started = Clock::now();
    if (m_session.start()) {
        return;
    }
    if (heedRemoval()) {
        throw Failure(*m_outcome.failure);
    }
    throw Failure(ExitCode::CaptureFailed,
                  "the camera does not start capturing " + printable(toString(m_point.format)) +
                      " " + toText(m_point.size) + " at " + toText(m_point.fps) + " fps",
                  "Another program may be using it; \"lumiq-cam show\" lists what it can do, and "
                  "--verbose shows the plug-in's log.");
}

void CaptureRun::loop() {
    try {
        while (!isOver()) {
            showProgress();
            m_host.wakeUp().wait(nextLook());
        }
    } catch (const Failure& failure) {
        m_outcome.end = failure.code() == ExitCode::OutputFailed ? End::OutputFailed : End::Failed;
        m_outcome.failure = failure;
    }
}

bool CaptureRun::isOver() {
    // What arrived before a failure is worth as much as any other frame, so it is written first.
    writeArrived();
    const CaptureProgress progress = m_session.progress();
    if (m_options.count != 0 && progress.accepted >= m_options.count) {
        return end(End::Count);
    }
    if (heedErrors() || heedRemoval()) {
        return true;
    }
    if (StopSignals::requested()) {
        return end(End::Stopped);
    }
    return heedUnusableFrames(progress) || heedTime(progress);
}

void CaptureRun::writeArrived() {
    while (const auto frame = m_session.takeFrame()) {
        m_writer.write(*frame);
    }
}

bool CaptureRun::heedErrors() {
    for (CameraError& error : m_session.takeErrors()) {
        if (error.text == "Camera removed") {
            return end(End::Removed, ExitCode::CameraRemoved, "the camera was removed");
        }
        if (error.text == "timeout") {
            return end(End::TimedOut, ExitCode::TimedOut, "the camera delivers no frames any more",
                       "Capture again; if that does not help, unplug it and plug it in again.");
        }
        if (error.text.starts_with("error revents")) {
            m_deviceError = std::move(error);
        } else {
            say("the camera reports: " + printable(error.text));
        }
    }
    if (m_deviceError && Clock::now() - m_deviceError->time > kRemovalGrace) {
        return end(End::Failed, ExitCode::CaptureFailed,
                   "the device failed (" + printable(m_deviceError->text) + ")",
                   "Capture again; if that does not help, unplug it and plug it in again.");
    }
    return false;
}

bool CaptureRun::heedRemoval() {
    for (const CameraEvent& event : m_host.cameraList().takeEvents()) {
        if (!event.added && event.camera.id == m_cameraId) {
            return end(End::Removed, ExitCode::CameraRemoved, "the camera was removed");
        }
    }
    return false;
}

bool CaptureRun::heedUnusableFrames(const CaptureProgress& progress) {
    const bool none = progress.accepted == 0 && progress.unusable >= kPatienceFrames;
    if (progress.hopeless) {
        return end(End::Failed, ExitCode::CaptureFailed, progress.problem,
                   "Write the frames as they are, to a file with an ending such as .h264 or .raw, "
                   "or ask for another format with --format.");
    }
    if (none) {
        return end(End::Failed, ExitCode::CaptureFailed,
                   "frames arrive, but none can be used: " + progress.problem,
                   "Ask for another size (an even one) or format; \"lumiq-cam show\" lists what "
                   "there is.");
    }
    return false;
}

bool CaptureRun::heedTime(const CaptureProgress& progress) {
    const auto now = Clock::now();
    if (m_options.duration > 0ms && now - m_started >= m_options.duration) {
        return end(End::Duration);
    }
    if (!m_deviceError && now - progress.lastFrame >= m_options.timeout) {
        return end(
            End::TimedOut, ExitCode::TimedOut,
            "no frame arrived for " + withDecimals(secondsOf(m_options.timeout), 1) + " seconds",
            "A camera that needs longer wants a greater --timeout.");
    }
    return false;
}

bool CaptureRun::end(End end) {
    m_outcome.end = end;
    return true;
}

bool CaptureRun::end(End end, ExitCode code, const std::string& what, const std::string& advice) {
    m_outcome.end = end;
    m_outcome.failure = Failure(code, what, advice);
    return true;
}

// Everything but the passing of time wakes the main thread.
std::chrono::milliseconds CaptureRun::nextLook() const {
    const auto now = Clock::now();
    auto next = m_deviceError ? m_deviceError->time + kRemovalGrace
                              : m_session.progress().lastFrame + m_options.timeout;
    if (m_options.duration > 0ms) {
        next = std::min(next, m_started + m_options.duration);
    }
    if (m_progressLine) {
        next = std::min(next, now + kProgressInterval);
    }
    return std::chrono::ceil<std::chrono::milliseconds>(next - now);
}

void CaptureRun::finish() {
    m_session.stop();
    m_outcome.seconds = secondsOf(Clock::now() - m_started);
    if (m_progressLine && m_shown != Clock::time_point{}) {
        std::fprintf(stderr, "\r\033[K");
    }
    if (m_outcome.end != End::OutputFailed) {
        try {
            writeArrived();
            m_writer.close();
        } catch (const Failure& failure) {
            m_outcome.end = End::OutputFailed;
            m_outcome.failure = failure;
        }
    }
    m_outcome.progress = m_session.progress();
    m_outcome.stream = m_session.stream();
    m_outcome.written = m_writer.frames();
    m_outcome.bytes = m_writer.bytes();
    m_outcome.files = m_writer.files();
}

void CaptureRun::showProgress() {
    const auto now = Clock::now();
    if (!m_progressLine || now - m_shown < kProgressInterval) {
        return;
    }
    m_shown = now;
    const StreamSummary stream = m_session.stream();
    std::fprintf(stderr, "\r\033[K%llu frames, %.2f fps, %llu lost, %llu dropped, %.0f s",
                 static_cast<unsigned long long>(stream.frames), stream.fps,
                 static_cast<unsigned long long>(stream.lost),
                 static_cast<unsigned long long>(m_session.progress().dropped),
                 secondsOf(now - m_started));
}

}  // namespace LumiqCam
