// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Real cameras whose cable is pulled at the worst of moments, and put back.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <iostream>
#include <thread>
#include <utility>

#include "desk.h"
#include "wait-until.h"

namespace {

using namespace RealKernel;
using Nerio::Lumiq::Camera;
using Nerio::Lumiq::PixelFormat;
using Clock = std::chrono::steady_clock;

// The result of an operation that must come to an end. One that does not can only be left behind.
template <typename Operation>
bool endsInTime(Operation operation) {
    auto result = std::async(std::launch::async, operation);
    if (result.wait_for(TestSupport::waitLimit) == std::future_status::timeout) {
        std::cerr << "hangs: giving up the whole run" << std::endl;
        std::_Exit(70);
    }
    return result.get();
}

class ACable : public AtTheDesk, public ::testing::WithParamInterface<FindCamera> {
protected:
    RealCamera& camera = GetParam()();
    Film film;
    std::shared_ptr<Camera> opened = open(camera);

    void SetUp() override { ASSERT_NE(opened, nullptr); }

    ~ACable() override {
        if (opened) {
            opened->setListener(nullptr);
        }
    }

    void start() {
        ASSERT_NE(opened, nullptr);
        opened->setListener(&film);
        ASSERT_TRUE(opened->startCapture(kVga, PixelFormat::YUYV));
        ASSERT_TRUE(film.waitForFrames(film.frameCount() + 3));
    }

    /// The host has heard that the camera is gone, last; before that perhaps from the capture
    /// thread, which may see it first.
    void expectJustTheRemoval() {
        const auto errors = film.errors();
        ASSERT_FALSE(errors.empty());
        EXPECT_EQ(errors.back(), "Camera removed");
        EXPECT_LE(errors.size(), 2U);
        EXPECT_TRUE(errors.size() == 1 || errors.front().starts_with("error revents: "))
            << errors.front();
    }

    void letGo() {
        if (opened) {
            EXPECT_TRUE(endsInTime([this] { return opened->stopCapture(); }));
            opened->setListener(nullptr);
            opened.reset();
        }
    }

    /// Returns when no frame has come for far longer than one takes.
    void waitUntilNothingComes() {
        std::size_t seen = 0;
        EXPECT_TRUE(TestSupport::waitUntil([&] {
            const std::size_t before = std::exchange(seen, film.frameCount());
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            return before == film.frameCount();
        }));
    }

    void pullAndWait() {
        const std::string id = camera.id();
        camera.unplug();
        EXPECT_TRUE(desk.cameras().waitUntilGone(id)) << "nobody says that it is gone";
    }

    void plugAgainAndStream() {
        letGo();
        camera.restore();
        streams(camera);
    }

    using Work = std::function<void()>;

    /// How long something with the camera takes when nobody pulls the cable.
    static Clock::duration lengthOf(const Work& work) {
        const auto begin = Clock::now();
        work();
        return Clock::now() - begin;
    }

    /// Does something with the camera and pulls the cable so much after its beginning. True when it
    /// was not over when the cable was pulled.
    bool pullDuring(const Work& work, Clock::duration delay) {
        const std::string id = camera.id();
        std::promise<void> begun;
        std::atomic<bool> over = false;
        auto working = std::async(std::launch::async, [&] {
            begun.set_value();
            work();
            over = true;
        });
        begun.get_future().wait();
        std::this_thread::sleep_for(delay);
        const bool met = !over;
        camera.pullAway();
        EXPECT_TRUE(endsInTime([&] {
            working.get();
            return true;
        }));
        letGo();
        EXPECT_TRUE(desk.cameras().waitUntilGone(id));
        return met;
    }

    /// Pulls the cable at different moments of a piece of work, and puts it back each time; ever
    /// earlier where the work is over first, since it takes longer at one time than at another.
    void pullThroughout(const Work& prepare, const Work& work) {
        ASSERT_NO_FATAL_FAILURE(prepare());
        auto length = lengthOf(work);
        letGo();
        int met = 0;
        constexpr int moments = 3;
        constexpr int most = 10;
        for (int round = 0; round < moments || (met == 0 && round < most); ++round) {
            opened = open(camera);
            ASSERT_NE(opened, nullptr);
            ASSERT_NO_FATAL_FAILURE(prepare());
            if (pullDuring(work, length * (2 * (round % moments) + 1) / (2 * moments))) {
                ++met;
            } else {
                length /= 2;
            }
            camera.plug();
        }
        EXPECT_GE(met, 1) << "the cable was never pulled in time";
        streams(camera);
    }
};

TEST_P(ACable, CanBePulledWhileNobodyUsesTheCamera) {
    pullAndWait();
    EXPECT_FALSE(opened->startCapture(kVga, PixelFormat::YUYV));
    plugAgainAndStream();
}

TEST_P(ACable, EndsTheStreamWhenItIsPulled) {
    start();
    pullAndWait();
    EXPECT_FALSE(opened->captureStarted()) << "the removal stops the capture";
    expectJustTheRemoval();
    plugAgainAndStream();
}

TEST_P(ACable, WakesAStalledStreamWhenItIsPulled) {
    start();
    camera.stall();
    waitUntilNothingComes();
    const auto before = std::chrono::steady_clock::now();
    pullAndWait();
    // Nobody waits for the ten seconds that a camera has to deliver something.
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(8));
    expectJustTheRemoval();
    plugAgainAndStream();
}

TEST_P(ACable, CanBePulledDuringAStart) {
    pullThroughout([this] { opened->setListener(&film); },
                   [this] { opened->startCapture(kVga, PixelFormat::YUYV); });
}

TEST_P(ACable, CanBePulledDuringAStop) {
    pullThroughout([this] { start(); }, [this] { EXPECT_TRUE(opened->stopCapture()); });
}

INSTANTIATE_TEST_SUITE_P(Vivid, ACable, ::testing::Values(vividWebcam));
INSTANTIATE_TEST_SUITE_P(UsbBulk, ACable, ::testing::Values(bulkCamera));
INSTANTIATE_TEST_SUITE_P(Usb, ACable, ::testing::Values(isochronousCamera));

}  // namespace
