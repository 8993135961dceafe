// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The cameras as the plug-in reports them. The manager's own list is not asked: a camera may leave
// between asking for the number and asking for one, and the index next to the last ends the
// process.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "lumiq/camera-info.h"
#include "lumiq/camera-manager-listener.h"
#include "wake-up.h"

namespace LumiqCam {

struct CameraEvent {
    bool added = false;
    Nerio::Lumiq::CameraInfo camera;
    std::chrono::system_clock::time_point time;
};

// Called by the plug-in on the bus thread, and during init on the main thread; everything else is
// called by the main thread, which never calls the plug-in with the lock held.
class CameraList final : public Nerio::Lumiq::CameraManagerListener {
public:
    explicit CameraList(const WakeUp& wakeUp) : m_wakeUp(wakeUp) {}

    void cameraAdded(const Nerio::Lumiq::CameraInfo& info) override;
    void cameraRemoved(const std::string& id) override;

    std::vector<Nerio::Lumiq::CameraInfo> cameras() const;
    bool contains(const std::string& id) const;
    // Arrivals and departures since the last call, in their order.
    std::vector<CameraEvent> takeEvents();

private:
    const WakeUp& m_wakeUp;
    mutable std::mutex m_mutex;
    std::vector<Nerio::Lumiq::CameraInfo> m_cameras;
    std::vector<CameraEvent> m_events;
};

// The camera that the text means: an index, an id, or a part of a name. Throws Failure (no-camera)
// that says which cameras there are.
Nerio::Lumiq::CameraInfo pickCamera(const std::vector<Nerio::Lumiq::CameraInfo>& cameras,
                                    const std::string& text);

}  // namespace LumiqCam
