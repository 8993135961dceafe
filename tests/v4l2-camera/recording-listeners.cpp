// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Remembers what the back end told.

#include "recording-listeners.h"

#include <algorithm>

namespace TestSupport {

void RecordingCameraListener::onCameraFrame(std::shared_ptr<Nerio::Lumiq::GraphicBuffer> buffer) {
    if (onFrame) {
        onFrame(buffer);
    }
    const std::int64_t timestamp = buffer->timestamp;
    buffer.reset();
    const std::lock_guard lock(m_mutex);
    m_timestamps.push_back(timestamp);
    m_frameThread = std::this_thread::get_id();
    m_changed.notify_all();
}

void RecordingCameraListener::onCameraError(const std::string& message) {
    if (onError) {
        onError(message);
    }
    const std::lock_guard lock(m_mutex);
    m_errors.push_back(message);
    m_errorThread = std::this_thread::get_id();
    m_changed.notify_all();
}

bool RecordingCameraListener::waitForFrames(std::size_t count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, waitLimit, [&] { return m_timestamps.size() >= count; });
}

bool RecordingCameraListener::waitForErrors(std::size_t count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, waitLimit, [&] { return m_errors.size() >= count; });
}

std::size_t RecordingCameraListener::frameCount() {
    const std::lock_guard lock(m_mutex);
    return m_timestamps.size();
}

std::vector<std::string> RecordingCameraListener::errors() {
    const std::lock_guard lock(m_mutex);
    return m_errors;
}

std::thread::id RecordingCameraListener::frameThread() {
    const std::lock_guard lock(m_mutex);
    return m_frameThread;
}

std::thread::id RecordingCameraListener::errorThread() {
    const std::lock_guard lock(m_mutex);
    return m_errorThread;
}

std::vector<std::int64_t> RecordingCameraListener::timestamps() {
    const std::lock_guard lock(m_mutex);
    return m_timestamps;
}

void RecordingManagerListener::cameraAdded(const Nerio::Lumiq::CameraInfo& info) {
    if (onAdded) {
        onAdded(info);
    }
    record("added " + info.id);
}

void RecordingManagerListener::cameraRemoved(const std::string& id) {
    if (onRemoved) {
        onRemoved(id);
    }
    record("removed " + id);
}

void RecordingManagerListener::record(const std::string& what) {
    const std::lock_guard lock(m_mutex);
    m_events.push_back({what, std::this_thread::get_id()});
    m_changed.notify_all();
}

bool RecordingManagerListener::waitFor(const std::string& what) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, waitLimit, [&] {
        return std::any_of(m_events.begin(), m_events.end(),
                           [&](const Event& event) { return event.what == what; });
    });
}

std::vector<std::string> RecordingManagerListener::events() {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> all;
    for (const Event& event : m_events) {
        all.push_back(event.what);
    }
    return all;
}

std::thread::id RecordingManagerListener::threadOf(const std::string& what) {
    const std::lock_guard lock(m_mutex);
    for (const Event& event : m_events) {
        if (event.what == what) {
            return event.thread;
        }
    }
    return {};
}

}  // namespace TestSupport
