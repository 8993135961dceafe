// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Questions to a camera that captures: which of them a host may put inside a listener's call, and
// which wait for the capture thread.

#include <gmock/gmock.h>

#include <atomic>
#include <future>

#include "capturing-camera.h"
#include "listed-entries.h"

namespace {

using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::PixelFormatDescription;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::fastVga;
using TestSupport::HostThread;
using TestSupport::IsPoint;
using TestSupport::requestsOf;

class AQuestionDuringACapture : public TestSupport::CapturingFixture {
protected:
    /// The greatest width in a format; 0 when there is no answer.
    std::uint32_t widthIn(PixelFormat format) {
        CameraCapabilityRanges ranges;
        return opened->queryCapabilityRanges(format, ranges) ? ranges.maxWidth : 0;
    }
};

TEST_F(AQuestionDuringACapture, ForRawFormatsWaitsForTheCycleThatDeliversAFrame) {
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> once{false};
    listener.onFrame = [&](const auto&) {
        if (!once.exchange(true)) {
            entered.set_value();
            release.get_future().wait();
        }
    };
    start();
    entered.get_future().wait();
    // From now on the camera remembers its formats, and asks only what it has to ask anew.
    EXPECT_EQ(widthIn(PixelFormat::YUYV), 640U);
    Simulator::startTrace();
    HostThread asking([this] { EXPECT_EQ(widthIn(PixelFormat::Raw), 640U); });
    EXPECT_TRUE(asking.fallsAsleep());
    EXPECT_THAT(requestsOf(Simulator::tracedCalls()), IsEmpty());
    release.set_value();
    asking.join();
    const auto requests = requestsOf(Simulator::stopTrace());
    ASSERT_THAT(requests, Contains("VIDIOC_ENUM_FMT"));
    EXPECT_EQ(requests.front(), "VIDIOC_QBUF") << "the buffer went back first";
}

TEST_F(AQuestionDuringACapture, ForFormatsAndPlanarImagesIsAnsweredInsideAFrameCall) {
    std::vector<PixelFormatDescription> formats;
    std::uint32_t width = 0;
    CameraCapabilityEx closest;
    listener.onFrame = [&](const auto&) {
        if (listener.frameCount() == 0) {
            formats = opened->getSupportedFormats();
            width = widthIn(PixelFormat::YUV420Planar);
            (void)opened->findClosestCapability(PixelFormat::YUV420Planar, fastVga, closest,
                                                CameraCapabilityPriority::FpsWidth);
        }
    };
    start();
    ASSERT_TRUE(listener.waitForFrames(3));
    opened->stopCapture();
    EXPECT_THAT(formats, Not(IsEmpty()));
    EXPECT_EQ(width, 640U);
    EXPECT_THAT(closest, IsPoint(640, 480, 100, 1));
}

}  // namespace
