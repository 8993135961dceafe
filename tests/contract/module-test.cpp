// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The built plug-in as a host meets it: loaded by path, asked for its module. What happens only
// once in a process is tested in a process of its own. The host's threads.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <array>
#include <barrier>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "lumiq/log.h"
#include "lumiq/module.h"
#include "own-process.h"

namespace {

int openLogCalls = 0;
std::string openLogIdent;

}  // namespace

// In libc's place, for the plug-in too: nothing of these tests reaches the machine's log.
extern "C" LUMIQ_CONTRACT void openlog(const char* ident, int /*option*/, int /*facility*/) {
    ++openLogCalls;
    openLogIdent = ident;
}
extern "C" LUMIQ_CONTRACT void syslog(int /*priority*/, const char* /*format*/, ...) {}

namespace Nerio::Lumiq {

class V4L2CameraManager;

namespace {

using TestSupport::inAProcessOfItsOwn;

class ThePlugin : public testing::Test {
protected:
    ThePlugin() : m_library(dlopen(LUMIQ_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)) {}
    ~ThePlugin() override {
        if (m_library != nullptr) {
            dlclose(m_library);
        }
    }

    void SetUp() override { ASSERT_NE(m_library, nullptr) << dlerror(); }

    template <typename Function>
    Function symbol(const char* name) {
        static_assert(std::is_pointer_v<Function>);
        const auto function = reinterpret_cast<Function>(dlsym(m_library, name));
        EXPECT_NE(function, nullptr) << name << " is not exported";
        return function;
    }

    Module* module() { return symbol<LumiqModuleFunction>("LumiqModule")(); }

private:
    void* m_library;
};

using ManagerFunction = V4L2CameraManager* (*)();
constexpr auto managerSymbol = "_ZN5Nerio5Lumiq18LumiqPluginManagerEv";

TEST_F(ThePlugin, HandsOutTheSameModuleEveryTime) {
    const auto entry = symbol<LumiqModuleFunction>("LumiqModule");
    Module* const first = entry();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(entry(), first);
    EXPECT_EQ(symbol<LumiqModuleFunction>("LumiqModule")(), first);
}

TEST_F(ThePlugin, HandsOutOneModuleAndOneManagerToEightThreadsAtOnce) {
    inAProcessOfItsOwn([this] {
        constexpr std::size_t count = 8;
        const auto entry = symbol<LumiqModuleFunction>("LumiqModule");
        const auto manager = symbol<ManagerFunction>(managerSymbol);
        std::array<Module*, count> modules{};
        std::array<void*, count> managers{};
        std::barrier start(count);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < count; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                modules[i] = entry();
                managers[i] = manager();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_NE(modules[i], nullptr);
            EXPECT_EQ(modules[i], modules[0]);
            EXPECT_NE(managers[i], nullptr);
            EXPECT_EQ(managers[i], managers[0]);
        }
    });
}

TEST_F(ThePlugin, RanksBelowEveryModuleThatKnowsItsHardware) {
    EXPECT_EQ(module()->priority(), -100);
}

TEST_F(ThePlugin, OffersNoCodecs) {
    EXPECT_EQ(module()->getCodecManager(), nullptr);
}

TEST_F(ThePlugin, HandsOutTheProcessWideManagerWithoutOwnership) {
    const std::shared_ptr<CameraManager> first = module()->getCameraManager();
    const std::shared_ptr<CameraManager> second = module()->getCameraManager();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first.use_count(), 0);
    EXPECT_FALSE(first.owner_before(std::shared_ptr<CameraManager>()));
    EXPECT_FALSE(std::shared_ptr<CameraManager>().owner_before(first));
    EXPECT_EQ(static_cast<void*>(first.get()), symbol<ManagerFunction>(managerSymbol)());
}

TEST_F(ThePlugin, KeepsTheManagerWhenTheHostLetsGoOfIt) {
    std::shared_ptr<CameraManager> first = module()->getCameraManager();
    std::shared_ptr<CameraManager> second = module()->getCameraManager();
    CameraManager* const manager = first.get();
    first.reset();
    second.reset();
    EXPECT_EQ(manager->getNumberOfCameras(), 0);
    EXPECT_EQ(module()->getCameraManager().get(), manager);
}

TEST_F(ThePlugin, ListsNoCamerasBeforeItIsInitialised) {
    const auto manager = module()->getCameraManager();
    EXPECT_EQ(manager->getNumberOfCameras(), 0);
    CameraInfo info;
    info.id = "untouched";
    for (const unsigned int index : {1U, 2U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(manager->getCameraInfo(index, info)) << index;
        EXPECT_EQ(info.id, "untouched");
    }
}

TEST_F(ThePlugin, AbortsAHostThatAsksForTheCameraOnePastTheLast) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto manager = module()->getCameraManager();
    CameraInfo info;
    EXPECT_EXIT(manager->getCameraInfo(0, info), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(ThePlugin, LetsTheProcessEndInOrder) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            (void)module()->getCameraManager()->getNumberOfCameras();
            std::exit(5);
        },
        testing::ExitedWithCode(5), "^$");
}

TEST_F(ThePlugin, StaysLoadedWhenTheHostUnloadsIt) {
    void* const library = dlopen(LUMIQ_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
    Module* const before = module();
    // Once for this handle, once for the fixture's.
    dlclose(library);
    dlclose(library);
    EXPECT_EQ(before->priority(), -100);
    void* const again = dlopen(LUMIQ_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    EXPECT_EQ(again, library);
    EXPECT_EQ(module(), before);
}

TEST_F(ThePlugin, LeavesTheLogAloneUntilTheHostAsksForIt) {
    inAProcessOfItsOwn([this] {
        std::streambuf* const before = std::clog.rdbuf();
        (void)module()->getCameraManager()->getNumberOfCameras();
        EXPECT_EQ(std::clog.rdbuf(), before);
        EXPECT_EQ(openLogCalls, 0);

        unsetenv("LUMIQ_NO_SYSLOG");
        const auto logInit = symbol<void (*)()>("_ZN5Nerio5Lumiq7LogInitEv");
        logInit();
        EXPECT_NE(std::clog.rdbuf(), before);
        EXPECT_EQ(openLogCalls, 1);
        EXPECT_EQ(openLogIdent, "lumiq");
    });
}

}  // namespace
}  // namespace Nerio::Lumiq
