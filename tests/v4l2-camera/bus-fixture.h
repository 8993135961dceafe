// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A bus, a service and the library, as every test of the back end needs them. The log is captured
// first and released last.

#ifndef LUMIQ_TEST_BUS_FIXTURE_H
#define LUMIQ_TEST_BUS_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <memory>

#include "clog-capture.h"
#include "plugin-library.h"
#include "private-bus.h"
#include "recording-listeners.h"
#include "scripted-service.h"

namespace TestSupport {

/// The bus is that of this process from its construction on.
class ProcessBus {
public:
    ProcessBus() { ::setenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().c_str(), 1); }
    PrivateBus& bus() { return m_bus; }

private:
    PrivateBus m_bus;
};

class BusFixture : public ::testing::Test {
protected:
    ClogCapture log;
    ProcessBus processBus;
    std::unique_ptr<ScriptedService> service = std::make_unique<ScriptedService>();
    RecordingManagerListener managerListener;
    PluginLibrary library;
    Nerio::Lumiq::CameraManager& manager = library.manager();

    ~BusFixture() override {
        manager.setListener(nullptr);
        service.reset();
        processBus.bus().stop();
        waitForTheBusThread();
    }

    static std::string path(const std::string& leaf) { return serviceRoot + "/" + leaf; }

    /// Connects the manager with the listener set.
    void connect() {
        manager.setListener(&managerListener);
        ASSERT_TRUE(manager.init());
    }

private:
    // The library lives on, and so that its last words do not fall into the next test's log, they
    // are waited for.
    void waitForTheBusThread() {
        try {
            if (manager.init()) {
                EXPECT_TRUE(log.waitForPrefixEver("runEventLoop: Lost the system bus"));
            }
        } catch (const std::exception&) {
            // Never connected, so there is no thread.
        }
    }
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_BUS_FIXTURE_H
