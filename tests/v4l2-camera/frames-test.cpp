// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The two views of a captured image, for every format that a camera can deliver.

#include <gmock/gmock.h>

#include "frame-fixture.h"
#include "frame-number.h"

namespace {

using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::Frame;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::YCbCrFrame;
using TestSupport::expectPlanarLayout;
using TestSupport::FrameFixture;
using TestSupport::H;
using TestSupport::W;

class AFrame : public FrameFixture {};

void expectUnused(const Frame& frame, int first) {
    for (int i = first; i < 4; ++i) {
        EXPECT_EQ(frame.planes[i].width, 0);
        EXPECT_EQ(frame.planes[i].height, 0);
        EXPECT_EQ(frame.planes[i].stride, 0);
        EXPECT_EQ(frame.planes[i].data, nullptr);
    }
}

void expectPlane(const Nerio::Lumiq::FramePlane& plane, int width, int height, int stride) {
    EXPECT_EQ(plane.width, width);
    EXPECT_EQ(plane.height, height);
    EXPECT_EQ(plane.stride, stride);
}

TEST_F(AFrame, OfAPackedFormatIsOnePlane) {
    capture("YUYV", [&](GraphicBuffer& buffer) {
        EXPECT_EQ(buffer.width, W);
        EXPECT_EQ(buffer.height, H);
        const auto frame = buffer.mapFrame();
        EXPECT_EQ(frame->format, PixelFormat::YUYV);
        expectPlane(frame->planes[0], W, H, 2 * W);
        expectUnused(*frame, 1);
        EXPECT_EQ(frame->timestamp, buffer.timestamp);
        EXPECT_TRUE(Simulator::readFrameNumber(frame->planes[0].data, 2 * W, W, H, 2));
    });
}

TEST_F(AFrame, OfUyvyIsOnePlaneWithChromaFirst) {
    capture("UYVY", [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        EXPECT_EQ(frame->format, PixelFormat::UYVY);
        expectPlane(frame->planes[0], W, H, 2 * W);
        expectUnused(*frame, 1);
        EXPECT_TRUE(Simulator::readFrameNumber(frame->planes[0].data + 1, 2 * W, W, H, 2));
    });
}

TEST_F(AFrame, OfAPlanarFormatIsThreePlanes) {
    capture("YU12", [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        EXPECT_EQ(frame->format, PixelFormat::YUV420Planar);
        expectPlane(frame->planes[0], W, H, W);
        expectPlane(frame->planes[1], W / 2, H / 2, W / 2);
        expectPlane(frame->planes[2], W / 2, H / 2, W / 2);
        EXPECT_EQ(frame->planes[1].data - frame->planes[0].data, 307200);
        EXPECT_EQ(frame->planes[2].data - frame->planes[0].data, 384000);
        expectUnused(*frame, 3);
    });
}

TEST_F(AFrame, OfASemiPlanarFormatIsTwoPlanes) {
    capture("NV12", [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        EXPECT_EQ(frame->format, PixelFormat::YUV420SemiPlanar);
        expectPlane(frame->planes[0], W, H, W);
        expectPlane(frame->planes[1], W / 2, H / 2, W);
        EXPECT_EQ(frame->planes[1].data - frame->planes[0].data, 307200);
        expectUnused(*frame, 2);
    });
}

class AnEncodedFrame : public AFrame, public ::testing::WithParamInterface<const char*> {};

TEST_P(AnEncodedFrame, TellsTheLengthOfTheWholeBuffer) {
    const std::string code = GetParam();
    capture(code, [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        EXPECT_EQ(toString(frame->format), code);
        EXPECT_EQ(frame->encoded.width, W);
        EXPECT_EQ(frame->encoded.height, H);
        // All that the driver has room for, whatever the image takes of it.
        EXPECT_EQ(frame->encoded.size, 2U * W * H);
        EXPECT_NE(frame->encoded.data, nullptr);
        expectUnused(*frame, 1);
    });
}

INSTANTIATE_TEST_SUITE_P(Of, AnEncodedFrame, ::testing::Values("MJPG", "JPEG", "H264", "VP80"));

TEST_F(AFrame, IsTheSameObjectEachTimeItIsMapped) {
    capture("YUYV", [&](GraphicBuffer& buffer) {
        EXPECT_EQ(buffer.mapFrame(), buffer.mapFrame());
        EXPECT_EQ(buffer.mapYCbCr(), buffer.mapYCbCr());
        EXPECT_NE(buffer.mapYCbCr(), nullptr);
    });
    EXPECT_EQ(log.count("mapYCbCr: Converting with libyuv::YUY2ToI420"), 1U);
}

TEST_F(AFrame, HasNoOtherViewAndNoRotation) {
    capture("YUYV", [&](GraphicBuffer& buffer) {
        EXPECT_EQ(buffer.map(), nullptr);
        EXPECT_EQ(buffer.rotation(), 0);
        EXPECT_EQ(buffer.reserved1, 0U);
        EXPECT_EQ(buffer.reserved2, 0U);
        EXPECT_EQ(buffer.reserved3, 0U);
    });
}

TEST_F(AFrame, OfAPlanarFormatIsWrappedWithoutACopy) {
    capture("YU12", [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        const auto image = buffer.mapYCbCr();
        ASSERT_TRUE(image);
        expectPlanarLayout(*image, W, H);
        EXPECT_EQ(image->y, frame->planes[0].data);
        EXPECT_TRUE(Simulator::readFrameNumber(image->y, image->yStride, W, H));
    });
    EXPECT_EQ(linesLike("Converting with"), 0U);
}

TEST_F(AFrame, OfASemiPlanarFormatIsWrappedWithoutACopy) {
    capture("NV12", [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        const auto image = buffer.mapYCbCr();
        ASSERT_TRUE(image);
        EXPECT_EQ(image->y, frame->planes[0].data);
        EXPECT_EQ(image->cb, frame->planes[1].data);
        EXPECT_EQ(image->cr, image->cb + 1);
        EXPECT_EQ(image->yStride, W);
        EXPECT_EQ(image->cStride, W);
        EXPECT_EQ(image->chromaStep, 2);
    });
    EXPECT_EQ(linesLike("Converting with"), 0U);
}

class AnOpaqueFrame : public AFrame, public ::testing::WithParamInterface<const char*> {};

TEST_P(AnOpaqueFrame, SaysEachTimeThatItCannotBeConverted) {
    capture(GetParam(), [&](GraphicBuffer& buffer) {
        EXPECT_EQ(buffer.mapYCbCr(), nullptr);
        EXPECT_EQ(buffer.mapYCbCr(), nullptr);
    });
    EXPECT_EQ(
        log.count(std::string("mapYCbCr: ") + GetParam() + " can't be converted to YCbCrFrame"),
        2U);
}

INSTANTIATE_TEST_SUITE_P(Of, AnOpaqueFrame, ::testing::Values("H264", "VP80", "JPEG"));

TEST_F(AFrame, AsksNothingOfTheDriverWhenItIsMapped) {
    capture("YUYV", [&](GraphicBuffer& buffer) {
        Simulator::startTrace();
        (void)buffer.mapFrame();
        (void)buffer.mapYCbCr();
        EXPECT_TRUE(TestSupport::ofThisThread(Simulator::stopTrace()).empty());
    });
}

TEST_F(AFrame, AsksNothingOfTheDriverWhenItIsDroppedWhileTheCaptureRuns) {
    camera = plugAndOpen(R"({"name": "Dropped", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"]}]})");
    std::shared_ptr<GraphicBuffer> kept;
    listener.onFrame = [&](const auto& buffer) {
        if (!kept) {
            kept = buffer;
        }
    };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{W, H, {100, 1}}, PixelFormat::YUYV));
    // The second one means that the first call is over.
    ASSERT_TRUE(listener.waitForFrames(2));
    ASSERT_EQ(kept.use_count(), 1);
    camera->setListener(nullptr);
    Simulator::startTrace();
    kept.reset();
    EXPECT_TRUE(TestSupport::ofThisThread(Simulator::stopTrace()).empty());
    EXPECT_TRUE(camera->captureStarted());
    camera->stopCapture();
}

TEST_F(AFrame, KeptBeyondTheStopIsEmptyAndHarmless) {
    std::shared_ptr<GraphicBuffer> kept;
    std::shared_ptr<YCbCrFrame> image;
    camera = plugAndOpen(R"({"name": "Kept", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480"]}]})");
    listener.onFrame = [&](const auto& buffer) { image = buffer->mapYCbCr(); };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{W, H, {100, 1}}, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(3));
    camera->stopCapture();
    // The converted image is the host's own.
    EXPECT_TRUE(Simulator::readFrameNumber(image->y, image->yStride, W, H));

    listener.onFrame = [&](const auto& buffer) { kept = buffer; };
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{W, H, {100, 1}}, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 2));
    camera->stopCapture();
    const auto frame = kept->mapFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->format, PixelFormat::Invalid);
    expectUnused(*frame, 0);
    EXPECT_EQ(kept->mapYCbCr(), nullptr);
}

class AMappedFrame : public AFrame, public ::testing::WithParamInterface<const char*> {};

TEST_P(AMappedFrame, IsNotConvertedAnyMoreOnceTheCaptureHasStopped) {
    const std::string size = std::to_string(W) + "x" + std::to_string(H);
    camera = plugAndOpen(std::string(R"({"name": "Kept", "formats": [{"fourcc": ")") + GetParam() +
                         R"(", "sizes": [")" + size + R"("], "intervals": ["1/100"]}]})");
    std::shared_ptr<GraphicBuffer> kept;
    std::shared_ptr<Frame> frame;
    listener.onFrame = [&](const auto& buffer) {
        kept = buffer;
        frame = buffer->mapFrame();
    };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{W, H, {100, 1}}, request(GetParam())));
    ASSERT_TRUE(listener.waitForFrames(1));
    camera->stopCapture();
    // What was mapped inside the call names memory that is gone; it must not be read.
    EXPECT_EQ(kept->mapYCbCr(), nullptr);
    EXPECT_EQ(kept->mapFrame(), frame);
    EXPECT_EQ(linesLike("A buffer of 0 bytes is too short for " + size), 1U);
    EXPECT_EQ(linesLike("Converting with"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Of, AMappedFrame,
                         ::testing::Values("YUYV", "UYVY", "YU12", "NV12", "MJPG"));

}  // namespace
