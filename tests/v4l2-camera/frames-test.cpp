// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The two views of a captured image, for every format that a camera can deliver.

#include <gmock/gmock.h>
#include <libyuv.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "camera-fixture.h"
#include "frame-number.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::Frame;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::YCbCrFrame;
using ::testing::Each;
using TestSupport::CameraFixture;
using TestSupport::RecordingCameraListener;

constexpr std::uint16_t W = 640;
constexpr std::uint16_t H = 480;

class AFrame : public CameraFixture {
protected:
    using Look = std::function<void(GraphicBuffer&)>;

    RecordingCameraListener listener;
    std::shared_ptr<Camera> camera;

    ~AFrame() override {
        if (camera) {
            camera->stopCapture();
            camera->setListener(nullptr);
        }
    }

    /// Captures from a camera of this one format until `frames` images have been looked at.
    void capture(const std::string& code, const Look& look, const std::string& fault = "",
                 std::size_t frames = 1, CameraCapabilityEx size = {W, H, {100, 1}}) {
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

    static PixelFormat request(const std::string& code) {
        if (code == "YU12") {
            return PixelFormat::YUV420Planar;
        }
        if (code == "NV12") {
            return PixelFormat::YUV420SemiPlanar;
        }
        return code == "VP80" || code == "JPEG"
                   ? PixelFormat::Encoded
                   : static_cast<PixelFormat>(code[0] | code[1] << 8 | code[2] << 16 |
                                              code[3] << 24);
    }

    std::size_t linesLike(const std::string& part) {
        const auto all = log.messages();
        return static_cast<std::size_t>(
            std::count_if(all.begin(), all.end(),
                          [&](const auto& each) { return each.find(part) != std::string::npos; }));
    }
};

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

// What the library itself makes of the same bytes, with planes laid out alike.
struct Reference {
    explicit Reference(const YCbCrFrame& like)
        : pixels(static_cast<std::size_t>(like.width) * like.height * 3 / 2) {}
    std::uint8_t* y() { return pixels.data(); }
    std::uint8_t* cb(const YCbCrFrame& like) { return y() + (like.cb - like.y); }
    std::uint8_t* cr(const YCbCrFrame& like) { return y() + (like.cr - like.y); }
    std::vector<std::uint8_t> pixels;
};

void expectPlanarLayout(const YCbCrFrame& image, int width, int height) {
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    EXPECT_EQ(image.yStride, width);
    EXPECT_EQ(image.cStride, width / 2);
    EXPECT_EQ(image.chromaStep, 1);
    EXPECT_EQ(image.cb - image.y, width * height);
    EXPECT_EQ(image.cr - image.cb, width * height / 4);
}

struct Conversion {
    const char* code;
    const char* function;
};
class AConvertedFrame : public AFrame, public ::testing::WithParamInterface<Conversion> {};

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

constexpr const char* shortBuffers =
    R"({"call": "VIDIOC_REQBUFS", "bufferBytes": 4096, "count": "always"})";

class AShortBuffer : public AFrame, public ::testing::WithParamInterface<const char*> {};

TEST_P(AShortBuffer, IsNotConvertedAndSaysWhy) {
    capture(
        GetParam(), [&](GraphicBuffer& buffer) { EXPECT_EQ(buffer.mapYCbCr(), nullptr); },
        shortBuffers);
    EXPECT_EQ(linesLike("A buffer of 4096 bytes is too short for 640x480"), 1U);
    EXPECT_EQ(linesLike("Converting with"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Of, AShortBuffer, ::testing::Values("YUYV", "UYVY", "YU12", "NV12"));

TEST_F(AFrame, OfASizeTheDriverDidNotTakeIsNotReadBeyondItsEnd) {
    // The device silently makes 320x240 of what it does not have; the host asked for more.
    camera = plugAndOpen(R"({"name": "Small", "intervals": ["1/100"], "formats": [
        {"fourcc": "YUYV", "sizes": ["320x240"]}]})");
    listener.onFrame = [](const auto& buffer) { EXPECT_EQ(buffer->mapYCbCr(), nullptr); };
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{1920, 1080, {30, 1}}, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(2));
    EXPECT_GE(linesLike("is too short for 1920x1080"), 2U);
}

class AFrameOfOddSize : public AFrame, public ::testing::WithParamInterface<CameraCapabilityEx> {};

TEST_P(AFrameOfOddSize, IsConvertedWithinItsMemory) {
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

INSTANTIATE_TEST_SUITE_P(Sizes, AFrameOfOddSize,
                         ::testing::Values(CameraCapabilityEx{161, 120, {100, 1}},
                                           CameraCapabilityEx{161, 121, {100, 1}},
                                           CameraCapabilityEx{160, 121, {100, 1}},
                                           CameraCapabilityEx{1, 1, {100, 1}},
                                           CameraCapabilityEx{3, 2, {100, 1}}),
                         [](const auto& test) {
                             return std::to_string(test.param.width) + "x" +
                                    std::to_string(test.param.height);
                         });

struct Damage {
    const char* name;
    const char* fault;
};
class ADamagedMotionJpeg : public AFrame, public ::testing::WithParamInterface<Damage> {};

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

TEST_F(AFrame, AsksNothingOfTheDriverWhenItIsMappedOrDropped) {
    capture("YUYV", [&](GraphicBuffer& buffer) {
        Simulator::startTrace();
        (void)buffer.mapFrame();
        (void)buffer.mapYCbCr();
        EXPECT_TRUE(Simulator::stopTrace().empty());
    });
    std::shared_ptr<GraphicBuffer> kept;
    listener.onFrame = [&](const auto& buffer) { kept = buffer; };
    ASSERT_TRUE(camera->startCapture(CameraCapabilityEx{W, H, {100, 1}}, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 1));
    camera->stopCapture();
    Simulator::startTrace();
    kept.reset();
    EXPECT_TRUE(Simulator::stopTrace().empty());
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

}  // namespace
