// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Receiving frames; see the header.
#include "capture-session.h"

#include <exception>
#include <utility>

namespace LumiqCam {

CaptureSession::CaptureSession(std::shared_ptr<Nerio::Lumiq::Camera> camera,
                               const CaptureSettings& settings, const WakeUp& wakeUp)
    : m_camera(std::move(camera)),
      m_settings(settings),
      m_wakeUp(wakeUp),
      m_copier(settings.take) {}

CaptureSession::~CaptureSession() {
    try {
        stop();
    } catch (const std::exception&) {
        // A lock that cannot be taken: there is nothing left to try.
        m_camera->setListener(nullptr);
    }
}

bool CaptureSession::start() {
    m_progress.lastFrame = Clock::now();
    m_camera->setListener(this);
    return m_camera->startCapture(m_settings.point.capability(), m_settings.point.format);
}

void CaptureSession::stop() {
    m_camera->stopCapture();
    m_camera->setListener(nullptr);
}

std::optional<CapturedFrame> CaptureSession::takeFrame() {
    const std::lock_guard lock(m_mutex);
    if (m_queue.empty()) {
        return std::nullopt;
    }
    CapturedFrame frame = std::move(m_queue.front());
    m_queue.pop_front();
    return frame;
}

std::vector<CameraError> CaptureSession::takeErrors() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_errors, {});
}

CaptureProgress CaptureSession::progress() const {
    const std::lock_guard lock(m_mutex);
    return m_progress;
}

StreamSummary CaptureSession::stream() const {
    const StreamStatistics statistics = [this] {
        const std::lock_guard lock(m_mutex);
        return m_statistics;
    }();
    return statistics.summary(toNumber(m_settings.point.fps));
}

void CaptureSession::onCameraFrame(std::shared_ptr<Nerio::Lumiq::GraphicBuffer> buffer) {
    try {
        if (buffer && wantsFrame(*buffer) && keep(m_copier.copy(*buffer))) {
            m_wakeUp.notify();
        }
    } catch (const std::exception& error) {  // No memory; the plug-in must not see it.
        onCameraError(std::string("a frame cannot be kept: ") + error.what());
    }
}

bool CaptureSession::wantsFrame(const Nerio::Lumiq::GraphicBuffer& buffer) {
    const std::lock_guard lock(m_mutex);
    if (m_settings.count != 0 && m_progress.accepted >= m_settings.count) {
        return false;
    }
    m_statistics.add(buffer.timestamp);
    m_progress.lastFrame = Clock::now();
    if (m_queue.size() >= kQueueLength) {
        ++m_progress.dropped;
        return false;
    }
    return true;
}

bool CaptureSession::keep(std::optional<CapturedFrame> frame) {
    const std::lock_guard lock(m_mutex);
    if (!frame) {
        ++m_progress.unusable;
        m_progress.problem = m_copier.lastProblem();
        m_progress.hopeless = m_copier.hopeless();
        return true;
    }
    m_progress.delivered = frame->delivered;
    m_progress.converted += frame->converted ? 1 : 0;
    ++m_progress.accepted;
    if (!m_settings.handOver) {
        return m_progress.accepted == m_settings.count;
    }
    m_queue.push_back(std::move(*frame));
    return true;
}

void CaptureSession::onCameraError(const std::string& message) {
    {
        const std::lock_guard lock(m_mutex);
        m_errors.push_back({message, Clock::now()});
    }
    m_wakeUp.notify();
}

}  // namespace LumiqCam
