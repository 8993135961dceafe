// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera plug-in for tests of hosts: implements the contract with cameras that follow the script
// in LUMIQ_FAKE_PLUGIN. Loaded by the host; a thread of its own stands for the bus thread.
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <thread>

#include "fake-camera.h"
#include "fake-script.h"
#include "lumiq/log.h"
#include "lumiq/module.h"

namespace FakePlugin {
namespace {

class FakeManager final : public Nerio::Lumiq::CameraManager {
public:
    ~FakeManager() override {
        if (m_listener != nullptr) {
            std::fprintf(stderr, "fake: the manager ends with a listener\n");
        }
        {
            const std::lock_guard lock(m_mutex);
            m_ending = true;
        }
        m_wake.notify_all();
        if (m_busThread.joinable()) {
            m_busThread.join();
        }
    }

    bool init() override;
    int getNumberOfCameras() override;
    bool getCameraInfo(unsigned int index, CameraInfo& info) override;
    std::shared_ptr<Nerio::Lumiq::Camera> openCamera(const std::string& id) override;

    // The tool asks the camera it has opened, never the manager: a query through the manager would
    // make a real back end forget that the camera is open.
    bool queryCapabilities(const std::string&, std::vector<CameraCapability>&) override {
        return forbidden();
    }
    std::vector<PixelFormatDescription> getSupportedFormats(const std::string&) override {
        forbidden();
        return {};
    }
    bool queryCapabilityRanges(const std::string&, PixelFormat, CameraCapabilityRanges&) override {
        return forbidden();
    }
    bool findClosestCapability(const std::string&, PixelFormat, const CameraCapabilityEx&,
                               CameraCapabilityEx&,
                               Nerio::Lumiq::CameraCapabilityPriority) override {
        return forbidden();
    }

private:
    using Clock = std::chrono::steady_clock;

    static bool forbidden() {
        std::fprintf(stderr, "fake: the manager was queried about a camera\n");
        return false;
    }
    void add(const CameraScript& camera);
    void remove(const std::string& id);
    void post(std::string id);
    void busLoop();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_ending = false;
    std::vector<CameraScript> m_cameras;
    std::map<std::string, std::weak_ptr<FakeCamera>> m_open;
    std::deque<std::string> m_toRemove;
    std::thread m_busThread;
};

bool FakeManager::init() {
    for (const std::string& line : script().log) {
        std::clog << line << std::endl;
    }
    if (script().init == "false") {
        return false;
    }
    if (script().init != "true") {
        throw std::runtime_error(script().init);
    }
    for (const CameraScript& camera : script().cameras) {
        add(camera);
    }
    m_busThread = std::thread([this] { busLoop(); });
    return true;
}

int FakeManager::getNumberOfCameras() {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_cameras.size());
}

bool FakeManager::getCameraInfo(unsigned int index, CameraInfo& info) {
    const std::lock_guard lock(m_mutex);
    if (index > m_cameras.size()) {
        return false;
    }
    info = m_cameras.at(index).info;  // As in the V4L2 back end, the number itself is fatal.
    return true;
}

std::shared_ptr<Nerio::Lumiq::Camera> FakeManager::openCamera(const std::string& id) {
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_cameras.begin(), m_cameras.end(),
                                    [&](const CameraScript& item) { return item.info.id == id; });
    if (found == m_cameras.end()) {
        return {};
    }
    auto camera = std::make_shared<FakeCamera>(*found, [this, id] { post(id); });
    m_open[id] = camera;
    return camera;
}

void FakeManager::add(const CameraScript& camera) {
    {
        const std::lock_guard lock(m_mutex);
        m_cameras.push_back(camera);
    }
    const std::lock_guard listener(m_listenerMutex);
    if (m_listener != nullptr) {
        m_listener->cameraAdded(camera.info);
    }
}

void FakeManager::remove(const std::string& id) {
    std::shared_ptr<FakeCamera> open;
    {
        const std::lock_guard lock(m_mutex);
        m_cameras.erase(
            std::remove_if(m_cameras.begin(), m_cameras.end(),
                           [&](const CameraScript& item) { return item.info.id == id; }),
            m_cameras.end());
        open = m_open[id].lock();
    }
    if (open) {
        open->onRemoved();
    }
    const std::lock_guard listener(m_listenerMutex);
    if (m_listener != nullptr) {
        m_listener->cameraRemoved(id);
    }
}

void FakeManager::post(std::string id) {
    {
        const std::lock_guard lock(m_mutex);
        m_toRemove.push_back(std::move(id));
    }
    m_wake.notify_all();
}

void FakeManager::busLoop() {
    const auto start = Clock::now();
    std::deque<LaterEvent> later(script().later.begin(), script().later.end());
    std::unique_lock lock(m_mutex);
    while (!m_ending) {
        const auto next =
            later.empty() ? Clock::now() + std::chrono::hours(1) : start + later.front().after;
        m_wake.wait_until(lock, next, [this] { return m_ending || !m_toRemove.empty(); });
        std::deque<std::string> gone;
        gone.swap(m_toRemove);
        const bool due = !m_ending && !later.empty() && Clock::now() >= next;
        lock.unlock();
        for (const std::string& id : gone) {
            remove(id);
        }
        if (due) {
            const LaterEvent event = later.front();
            later.pop_front();
            event.add ? add(*event.add) : remove(event.remove);
        }
        lock.lock();
    }
}

class FakeModule final : public Nerio::Lumiq::Module {
public:
    int priority() const override { return 0; }
    std::shared_ptr<Nerio::Lumiq::CameraManager> getCameraManager() override {
        static FakeManager manager;
        return script().givesManager ? std::shared_ptr<Nerio::Lumiq::CameraManager>(
                                           std::shared_ptr<Nerio::Lumiq::CameraManager>(), &manager)
                                     : nullptr;
    }
    std::shared_ptr<Nerio::Lumiq::CodecManager> getCodecManager() override { return {}; }
};

}  // namespace
}  // namespace FakePlugin

Nerio::Lumiq::Module* LumiqModule() {
    static FakePlugin::FakeModule module;
    return FakePlugin::script().givesModule ? &module : nullptr;
}

namespace Nerio::Lumiq {

void LogInit() {
    std::fprintf(stderr, "LogInit was called\n");
}

}  // namespace Nerio::Lumiq
