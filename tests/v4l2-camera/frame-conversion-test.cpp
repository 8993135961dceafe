// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Images converted to 4:2:0: what the converter makes of them, and what is left of damaged ones.

#include <gmock/gmock.h>
#include <libyuv.h>

#include <algorithm>
#include <vector>

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

// What the library itself makes of the same bytes, with planes laid out alike.
struct Reference {
    explicit Reference(const YCbCrFrame& like)
        : pixels(static_cast<std::size_t>(like.width) * like.height * 3 / 2) {}
    std::uint8_t* y() { return pixels.data(); }
    std::uint8_t* cb(const YCbCrFrame& like) { return y() + (like.cb - like.y); }
    std::uint8_t* cr(const YCbCrFrame& like) { return y() + (like.cr - like.y); }
    std::vector<std::uint8_t> pixels;
};

struct Conversion {
    const char* code;
    const char* function;
};
class AConvertedFrame : public FrameFixture, public ::testing::WithParamInterface<Conversion> {};

TEST_P(AConvertedFrame, HoldsWhatTheConverterMakesOfIt) {
    capture(GetParam().code, [&](GraphicBuffer& buffer) {
        const auto frame = buffer.mapFrame();
        const auto image = buffer.mapYCbCr();
        ASSERT_TRUE(image);
        expectPlanarLayout(*image, W, H);
        EXPECT_EQ(image->timestamp, buffer.timestamp);
        EXPECT_TRUE(Simulator::readFrameNumber(image->y, image->yStride, W, H));
        Reference reference(*image);
        const auto& plane = frame->planes[0];
        if (frame->format == PixelFormat::YUYV) {
            libyuv::YUY2ToI420(plane.data, plane.stride, reference.y(), W, reference.cb(*image),
                               W / 2, reference.cr(*image), W / 2, W, H);
        } else if (frame->format == PixelFormat::UYVY) {
            libyuv::UYVYToI420(plane.data, plane.stride, reference.y(), W, reference.cb(*image),
                               W / 2, reference.cr(*image), W / 2, W, H);
        } else {
            libyuv::MJPGToI420(frame->encoded.data, frame->encoded.size, reference.y(), W,
                               reference.cb(*image), W / 2, reference.cr(*image), W / 2, W, H, W,
                               H);
        }
        EXPECT_TRUE(std::equal(reference.pixels.begin(), reference.pixels.end(), image->y));
    });
    EXPECT_EQ(log.count(std::string("mapYCbCr: Converting with libyuv::") + GetParam().function),
              1U);
}

INSTANTIATE_TEST_SUITE_P(From, AConvertedFrame,
                         ::testing::Values(Conversion{"YUYV", "YUY2ToI420"},
                                           Conversion{"UYVY", "UYVYToI420"},
                                           Conversion{"MJPG", "MJPGToI420"}),
                         [](const auto& test) { return std::string(test.param.code); });

constexpr const char* shortBuffers =
    R"({"call": "VIDIOC_REQBUFS", "bufferBytes": 4096, "count": "always"})";

class AShortBuffer : public FrameFixture, public ::testing::WithParamInterface<const char*> {};

TEST_P(AShortBuffer, IsNotConvertedAndSaysWhy) {
    capture(
        GetParam(), [&](GraphicBuffer& buffer) { EXPECT_EQ(buffer.mapYCbCr(), nullptr); },
        shortBuffers);
    EXPECT_EQ(linesLike("A buffer of 4096 bytes is too short for 640x480"), 1U);
    EXPECT_EQ(linesLike("Converting with"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Of, AShortBuffer, ::testing::Values("YUYV", "UYVY", "YU12", "NV12"));

class AnImage : public FrameFixture {};

TEST_F(AnImage, OfASizeTheDriverDidNotTakeIsNotReadBeyondItsEnd) {
    // The device silently makes 320x240 of what it does not have; the host asked for more.
    camera = plugAndOpen(R"({"name": "Small", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["320x240"]}]})");
    listener.onFrame = [](const auto& buffer) { EXPECT_EQ(buffer->mapYCbCr(), nullptr); };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{1920, 1080, {30, 1}}, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(2));
    EXPECT_GE(linesLike("is too short for 1920x1080"), 2U);
}

class AnImageOfOddSize : public FrameFixture,
                         public ::testing::WithParamInterface<CameraCapabilityEx> {};

TEST_P(AnImageOfOddSize, IsConvertedWithinItsMemory) {
    // The driver's buffer ends with the last pixel, and under AddressSanitizer a byte beyond the
    // converted image would be found.
    const auto size = GetParam();
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    for (const char* code : {"YUYV", "UYVY"}) {
        capture(
            code,
            [&](GraphicBuffer& buffer) {
                const auto image = buffer.mapYCbCr();
                ASSERT_TRUE(image) << code;
                expectPlanarLayout(*image, width, height);
                const auto frame = buffer.mapFrame();
                const auto* packed = frame->planes[0].data;
                const int offset = frame->format == PixelFormat::YUYV ? 0 : 1;
                for (int row = 0; row < height; ++row) {
                    for (int column = 0; column < width; ++column) {
                        ASSERT_EQ(image->y[row * width + column],
                                  packed[(row * width + column) * 2 + offset])
                            << column << "," << row;
                    }
                }
            },
            "", 1, size);
        camera.reset();
        pull();
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, AnImageOfOddSize,
                         ::testing::Values(CameraCapabilityEx{161, 120, {100, 1}},
                                           CameraCapabilityEx{161, 121, {100, 1}},
                                           CameraCapabilityEx{160, 121, {100, 1}},
                                           CameraCapabilityEx{1, 1, {100, 1}},
                                           CameraCapabilityEx{3, 2, {100, 1}}),
                         [](const auto& test) {
                             return std::to_string(test.param.width) + "x" +
                                    std::to_string(test.param.height);
                         });

TEST_F(AnImage, OfAMotionJpegOfAnotherSizeIsBlack) {
    camera = plugAndOpen(R"({"name": "Small", "intervals": ["1/100"], "formats": [
        {"fourcc": "MJPG", "sizes": ["320x240"]}]})");
    listener.onFrame = [](const auto& buffer) {
        const auto image = buffer->mapYCbCr();
        ASSERT_TRUE(image);
        expectPlanarLayout(*image, W, H);
        EXPECT_EQ(std::count(image->y, image->cb, 0), W * H);
        EXPECT_EQ(std::count(image->cb, image->cb + W * H / 2, 128), W * H / 2);
    };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{W, H, {30, 1}}, PixelFormat::MJPG));
    ASSERT_TRUE(listener.waitForFrames(2));
}

struct Damage {
    const char* name;
    const char* fault;
};
class ADamagedMotionJpeg : public FrameFixture, public ::testing::WithParamInterface<Damage> {};

// Leaves its bytes in the memory that the next allocation of this size is likely to get.
void dirtyHeap(std::size_t size) {
    const std::vector<std::uint8_t> dirt(size, 0xA7);
    EXPECT_EQ(dirt.back(), 0xA7);
}

// What the decoder makes of an image over memory of one value.
std::vector<std::uint8_t> decodedOver(std::uint8_t value, const Frame& frame) {
    std::vector<std::uint8_t> pixels(std::size_t{W} * H * 3 / 2, value);
    std::uint8_t* cb = pixels.data() + W * H;
    libyuv::MJPGToI420(frame.encoded.data, frame.encoded.size, pixels.data(), W, cb, W / 2,
                       cb + W * H / 4, W / 2, W, H, W, H);
    return pixels;
}

TEST_P(ADamagedMotionJpeg, ShowsWhatCouldBeDecodedAndBlackElsewhere) {
    capture(
        "MJPG",
        [&](GraphicBuffer& buffer) {
            const auto frame = buffer.mapFrame();
            const auto over0x11 = decodedOver(0x11, *frame);
            const auto over0xEE = decodedOver(0xEE, *frame);
            dirtyHeap(over0x11.size());
            const auto image = buffer.mapYCbCr();
            ASSERT_TRUE(image);
            expectPlanarLayout(*image, W, H);
            std::size_t wrong = 0;
            for (std::size_t i = 0; i < over0x11.size(); ++i) {
                const std::uint8_t black = i < std::size_t{W} * H ? 0 : 128;
                const bool written = over0x11[i] == over0xEE[i];
                wrong += image->y[i] == (written ? over0x11[i] : black) ? 0U : 1U;
            }
            EXPECT_EQ(wrong, 0U);
        },
        GetParam().fault, 3);
    EXPECT_EQ(log.count("mapYCbCr: Converting with libyuv::MJPGToI420"), 3U);
}

INSTANTIATE_TEST_SUITE_P(
    ThatIs, ADamagedMotionJpeg,
    ::testing::Values(Damage{"Truncated", R"({"frame": "truncated", "count": "always"})"},
                      Damage{"Garbled", R"({"frame": "garbled", "count": "always"})"},
                      Damage{"Short", R"({"frame": "short", "count": "always"})"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
