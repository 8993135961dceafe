// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// When a running capture wakes the main thread. The test stands in for the capture thread.
#include "capture-session.h"

#include <gtest/gtest.h>

#include <memory>

#include "fake-camera.h"

namespace {

using namespace std::chrono_literals;
using LumiqCam::CaptureSession;
using LumiqCam::PixelFormat;
using LumiqCam::Take;
using Nerio::Lumiq::Frame;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::YCbCrFrame;

class AFrame final : public GraphicBuffer {
public:
    explicit AFrame(bool hasView) : m_hasView(hasView) {
        width = 2;
        height = 2;
    }
    std::shared_ptr<YCbCrFrame> mapYCbCr() override { return {}; }
    std::shared_ptr<void> map() override { return {}; }
    std::shared_ptr<Frame> mapFrame() override {
        auto frame = std::make_shared<Frame>();
        frame->format = PixelFormat::H264;
        frame->encoded = {2, 2, 1, &m_byte};
        return m_hasView ? frame : nullptr;
    }
    int rotation() const override { return 0; }

private:
    bool m_hasView;
    std::uint8_t m_byte = 1;
};

class ACaptureSession : public testing::Test {
protected:
    CaptureSession& start(Take take, std::uint64_t count = 0) {
        const bool handOver = take != Take::Nothing;
        m_session.emplace(m_camera, LumiqCam::CaptureSettings{{}, take, count, handOver}, m_wakeUp);
        return *m_session;
    }
    void deliver(int frames, bool hasView = true) {
        for (int number = 0; number < frames; ++number) {
            m_session->onCameraFrame(std::make_shared<AFrame>(hasView));
        }
    }
    bool mainThreadIsWoken() const { return m_wakeUp.wait(0ms); }

private:
    LumiqCam::WakeUp m_wakeUp;
    FakePlugin::CameraScript m_script;
    std::shared_ptr<FakePlugin::FakeCamera> m_camera =
        std::make_shared<FakePlugin::FakeCamera>(m_script, [] {});
    std::optional<CaptureSession> m_session;
};

TEST_F(ACaptureSession, LeavesTheMainThreadAsleepWhileFramesAreOnlyLookedAt) {
    CaptureSession& session = start(Take::Nothing);
    deliver(100);
    EXPECT_FALSE(mainThreadIsWoken());
    EXPECT_EQ(session.progress().accepted, 100U);
    EXPECT_EQ(session.stream().frames, 100U);
    EXPECT_FALSE(session.takeFrame());
}

TEST_F(ACaptureSession, WakesTheMainThreadForTheLastFrameThatWasWanted) {
    start(Take::Nothing, 3);
    deliver(2);
    EXPECT_FALSE(mainThreadIsWoken());
    deliver(1);
    EXPECT_TRUE(mainThreadIsWoken());
    deliver(1);
    EXPECT_FALSE(mainThreadIsWoken());
}

TEST_F(ACaptureSession, WakesTheMainThreadForEachFrameThatIsToBeWritten) {
    CaptureSession& session = start(Take::AsDelivered);
    for (int number = 0; number < 3; ++number) {
        deliver(1);
        EXPECT_TRUE(mainThreadIsWoken()) << number;
        EXPECT_TRUE(session.takeFrame()) << number;
    }
}

TEST_F(ACaptureSession, WakesTheMainThreadForTrouble) {
    CaptureSession& session = start(Take::Nothing);
    deliver(1, false);
    EXPECT_TRUE(mainThreadIsWoken());
    EXPECT_EQ(session.progress().unusable, 1U);
    session.onCameraError("timeout");
    EXPECT_TRUE(mainThreadIsWoken());
}

}  // namespace
