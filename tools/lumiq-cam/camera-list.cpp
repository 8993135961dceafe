// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Keeping and searching the list of cameras; see the header.
#include "camera-list.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "exit-code.h"
#include "text-values.h"

namespace LumiqCam {
namespace {

using Nerio::Lumiq::CameraInfo;
using Cameras = std::vector<CameraInfo>;

auto hasId(const std::string& id) {
    return [&id](const CameraInfo& camera) { return camera.id == id; };
}

// One line for each camera that has one of the ids.
std::string listing(const Cameras& all, const Cameras& chosen) {
    std::string text;
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (std::any_of(chosen.begin(), chosen.end(), hasId(all[index].id))) {
            text += "\n  " + std::to_string(index) + "  " + printable(all[index].name) + "  " +
                    printable(all[index].id);
        }
    }
    return text;
}

[[noreturn]] void refuseUnknown(const Cameras& cameras, const std::string& text) {
    const std::string what = "there is no camera \"" + printable(text) + "\"";
    if (cameras.empty()) {
        throw Failure(ExitCode::NoCamera, what + "; there is none at all",
                      "Plug one in; \"lumiq-cam watch\" shows when it is there.");
    }
    throw Failure(ExitCode::NoCamera, what, "These are there:" + listing(cameras, cameras));
}

Cameras withNameLike(const Cameras& cameras, const std::string& text) {
    const std::string wanted = lowerCase(text);
    Cameras like, same;
    for (const CameraInfo& camera : cameras) {
        const std::string name = lowerCase(camera.name);
        if (name == wanted) {
            same.push_back(camera);
        }
        if (name.find(wanted) != std::string::npos) {
            like.push_back(camera);
        }
    }
    return same.size() == 1 ? same : like;
}

}  // namespace

void CameraList::cameraAdded(const CameraInfo& info) {
    {
        const std::lock_guard lock(m_mutex);
        m_cameras.push_back(info);
        m_events.push_back({true, info, std::chrono::system_clock::now()});
    }
    m_wakeUp.notify();
}

void CameraList::cameraRemoved(const std::string& id) {
    {
        const std::lock_guard lock(m_mutex);
        const auto found = std::find_if(m_cameras.begin(), m_cameras.end(), hasId(id));
        CameraEvent event{false, {}, std::chrono::system_clock::now()};
        event.camera.id = id;
        if (found != m_cameras.end()) {
            event.camera = *found;
            m_cameras.erase(found);
        }
        m_events.push_back(std::move(event));
    }
    m_wakeUp.notify();
}

Cameras CameraList::cameras() const {
    const std::lock_guard lock(m_mutex);
    return m_cameras;
}

bool CameraList::contains(const std::string& id) const {
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_cameras.begin(), m_cameras.end(), hasId(id));
}

std::vector<CameraEvent> CameraList::takeEvents() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_events, {});
}

CameraInfo pickCamera(const Cameras& cameras, const std::string& text) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (!text.empty() && end == text.data() + text.size()) {
        if (error != std::errc{} || index >= cameras.size()) {
            refuseUnknown(cameras, text);
        }
        return cameras[index];
    }
    const auto found = std::find_if(cameras.begin(), cameras.end(), hasId(text));
    if (found != cameras.end()) {
        return *found;
    }
    const Cameras candidates = text.empty() ? Cameras{} : withNameLike(cameras, text);
    if (candidates.size() > 1) {
        throw Failure(
            ExitCode::NoCamera,
            "\"" + printable(text) + "\" fits " + std::to_string(candidates.size()) + " cameras",
            "Name one of them by its number or id:" + listing(cameras, candidates));
    }
    if (candidates.empty()) {
        refuseUnknown(cameras, text);
    }
    return candidates.front();
}

}  // namespace LumiqCam
