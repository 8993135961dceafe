// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Setting the listener of a camera and of a manager while its calls run: it waits for one that runs
// on another thread and works from inside. Two threads.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "recording-implementations.h"

namespace Nerio::Lumiq {
namespace {

// Calls listeners as back ends do: under the listener lock.
class DeliveringCamera : public RecordingCamera {
public:
    explicit DeliveringCamera(CallLog& log) : RecordingCamera(log) {}
    void deliver() {
        const std::lock_guard lock(m_listenerMutex);
        if (m_listener != nullptr) {
            m_listener->onCameraFrame(nullptr);
        }
    }
};

class DeliveringManager : public RecordingManager {
public:
    explicit DeliveringManager(CallLog& log) : RecordingManager(log) {}
    void deliver() {
        const std::lock_guard lock(m_listenerMutex);
        if (m_listener != nullptr) {
            m_listener->cameraRemoved("id");
        }
    }
};

// Runs what the test wants inside the one callback that is delivered.
class ScriptedCameraListener : public CameraListener {
public:
    explicit ScriptedCameraListener(std::function<void()> body) : m_body(std::move(body)) {}
    void onCameraFrame(std::shared_ptr<GraphicBuffer> /*buffer*/) override { m_body(); }
    void onCameraError(const std::string& /*message*/) override {}

private:
    std::function<void()> m_body;
};

class ScriptedManagerListener : public CameraManagerListener {
public:
    explicit ScriptedManagerListener(std::function<void()> body) : m_body(std::move(body)) {}
    void cameraAdded(const CameraInfo& /*info*/) override {}
    void cameraRemoved(const std::string& /*id*/) override { m_body(); }

private:
    std::function<void()> m_body;
};

struct CameraCase {
    using Source = DeliveringCamera;
    using Listener = ScriptedCameraListener;
};
struct ManagerCase {
    using Source = DeliveringManager;
    using Listener = ScriptedManagerListener;
};

template <typename Case>
class SettingAListener : public testing::Test {
protected:
    CallLog log;
    typename Case::Source source{log};
};

using Cases = testing::Types<CameraCase, ManagerCase>;
TYPED_TEST_SUITE(SettingAListener, Cases);

TYPED_TEST(SettingAListener, StoresIt) {
    typename TypeParam::Listener first([] {});
    typename TypeParam::Listener second([] {});
    EXPECT_EQ(this->source.listener(), nullptr);
    this->source.setListener(&first);
    EXPECT_EQ(this->source.listener(), &first);
    this->source.setListener(&second);
    EXPECT_EQ(this->source.listener(), &second);
    this->source.setListener(nullptr);
    EXPECT_EQ(this->source.listener(), nullptr);
}

TYPED_TEST(SettingAListener, WaitsForACallThatRunsOnAnotherThread) {
    std::promise<void> entered;
    std::promise<void> removing;
    std::promise<void> removed;
    std::atomic<bool> callIsOver = false;
    typename TypeParam::Listener listener([&] {
        entered.set_value();
        removing.get_future().wait();
        // A setter that does not wait is through long before this is over.
        removed.get_future().wait_for(std::chrono::milliseconds(100));
        callIsOver = true;
    });
    this->source.setListener(&listener);

    auto delivery = std::async(std::launch::async, [&] { this->source.deliver(); });
    entered.get_future().wait();
    removing.set_value();
    this->source.setListener(nullptr);
    EXPECT_TRUE(callIsOver);
    removed.set_value();
    delivery.get();
}

TYPED_TEST(SettingAListener, WorksFromInsideItsOwnCall) {
    int calls = 0;
    typename TypeParam::Listener listener([&] {
        ++calls;
        this->source.setListener(nullptr);
    });
    this->source.setListener(&listener);
    this->source.deliver();
    this->source.deliver();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(this->source.listener(), nullptr);
}

TYPED_TEST(SettingAListener, CanPassTheTaskOnFromInsideACall) {
    int successorsCalls = 0;
    typename TypeParam::Listener successor([&] { ++successorsCalls; });
    typename TypeParam::Listener listener([&] { this->source.setListener(&successor); });
    this->source.setListener(&listener);
    this->source.deliver();
    EXPECT_EQ(successorsCalls, 0);
    this->source.deliver();
    EXPECT_EQ(successorsCalls, 1);
}

}  // namespace
}  // namespace Nerio::Lumiq
