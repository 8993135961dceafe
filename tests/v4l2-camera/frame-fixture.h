// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Captures a few images of one format and lets a test look at them. Used on the test's thread; the
// looking happens on the capture thread.

#ifndef LUMIQ_TEST_FRAME_FIXTURE_H
#define LUMIQ_TEST_FRAME_FIXTURE_H

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

#include "camera-fixture.h"

namespace TestSupport {

inline constexpr std::uint16_t W = 640;
inline constexpr std::uint16_t H = 480;

class FrameFixture : public CameraFixture {
protected:
    using Look = std::function<void(Nerio::Lumiq::GraphicBuffer&)>;

    RecordingCameraListener listener;
    std::shared_ptr<Nerio::Lumiq::Camera> camera;

    ~FrameFixture() override {
        if (camera) {
            camera->stopCapture();
            camera->setListener(nullptr);
        }
    }

    /// Captures from a camera of this one format until `frames` images have been looked at.
    void capture(const std::string& code, const Look& look, const std::string& fault = "",
                 std::size_t frames = 1, Nerio::Lumiq::CameraCapabilityEx size = {W, H, {100, 1}}) {
        const std::string text = std::to_string(size.width) + "x" + std::to_string(size.height);
        camera = plugAndOpen(R"({"name": "Frames", "intervals": ["1/100"], "formats": [
            {"fourcc": ")" + code +
                             R"(", "sizes": [")" + text + R"("]}], "faults": [)" + fault + "]}");
        listener.onFrame = [this, look, frames](const auto& buffer) {
            if (listener.frameCount() < frames) {
                look(*buffer);
            }
        };
        camera->setListener(&listener);
        ASSERT_TRUE(camera->startCapture(size, request(code)));
        ASSERT_TRUE(listener.waitForFrames(frames));
        camera->stopCapture();
    }

    static Nerio::Lumiq::PixelFormat request(const std::string& code) {
        if (code == "YU12") {
            return Nerio::Lumiq::PixelFormat::YUV420Planar;
        }
        if (code == "NV12") {
            return Nerio::Lumiq::PixelFormat::YUV420SemiPlanar;
        }
        return code == "VP80" || code == "JPEG"
                   ? Nerio::Lumiq::PixelFormat::Encoded
                   : static_cast<Nerio::Lumiq::PixelFormat>(code[0] | code[1] << 8 | code[2] << 16 |
                                                            code[3] << 24);
    }

    std::size_t linesLike(const std::string& part) {
        const auto all = log.messages();
        return static_cast<std::size_t>(
            std::count_if(all.begin(), all.end(),
                          [&](const auto& each) { return each.find(part) != std::string::npos; }));
    }
};

/// I420 in one piece, the planes one after the other.
inline void expectPlanarLayout(const Nerio::Lumiq::YCbCrFrame& image, int width, int height) {
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    EXPECT_EQ(image.yStride, width);
    EXPECT_EQ(image.cStride, width / 2);
    EXPECT_EQ(image.chromaStep, 1);
    EXPECT_EQ(image.cb - image.y, width * height);
    EXPECT_EQ(image.cr - image.cb, width * height / 4);
}

}  // namespace TestSupport

#endif  // LUMIQ_TEST_FRAME_FIXTURE_H
