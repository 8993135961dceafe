// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The pictures of a simulated camera: the number can be read in every format, the bars are there
// and move, and a JPEG says the same as an uncompressed frame.

#include <gtest/gtest.h>

#include <cstdio>  // jpeglib.h needs it first

#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdlib>
#include <cstring>

#include "camera-handle.h"
#include "frame-choice.h"
#include "frame-number.h"
#include "frame-painter.h"

namespace Simulator {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Failure {
    jpeg_error_mgr manager;
    std::jmp_buf back;
};

/// The JPEG as rows of Y, Cb, Cr; empty when it cannot be decoded or the library warns.
Bytes decode(const Bytes& data, std::uint32_t width, std::uint32_t height) {
    jpeg_decompress_struct jpeg{};
    Failure failure{};
    jpeg.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = [](j_common_ptr info) {
        std::longjmp(reinterpret_cast<Failure*>(info->err)->back, 1);
    };
    failure.manager.output_message = [](j_common_ptr) {};
    auto* const pixels = new Bytes(std::size_t{width} * height * 3);
    if (setjmp(failure.back) != 0) {
        jpeg_destroy_decompress(&jpeg);
        delete pixels;
        return {};
    }
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, data.data(), data.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg.out_color_space = JCS_YCbCr;
    jpeg_start_decompress(&jpeg);
    const bool right = jpeg.output_width == width && jpeg.output_height == height &&
                       jpeg.comp_info[0].h_samp_factor == 2 && jpeg.comp_info[0].v_samp_factor == 1;
    while (right && jpeg.output_scanline < height) {
        JSAMPROW row = pixels->data() + std::size_t{jpeg.output_scanline} * width * 3;
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    if (right) {
        jpeg_finish_decompress(&jpeg);
    }
    const bool warned = jpeg.err->num_warnings != 0;
    jpeg_destroy_decompress(&jpeg);
    Bytes result = right && !warned ? std::move(*pixels) : Bytes{};
    delete pixels;
    return result;
}

Bytes paint(FramePainter& painter, std::uint32_t capacity, std::uint32_t number) {
    Bytes frame(capacity);
    frame.resize(painter.paint(frame.data(), frame.size(), number));
    return frame;
}

Bytes paint(const char (&code)[5], std::uint32_t width, std::uint32_t height,
            std::uint32_t number) {
    const auto painter = makePainter(fourcc(code), width, height, Picture{});
    return paint(*painter, imageBytes(fourcc(code), width, height), number);
}

TEST(AFrameNumber, IsReadInEveryUncompressedFormat) {
    for (const std::uint32_t number : {0U, 1U, 15U, 999999U, 0xffffffU}) {
        SCOPED_TRACE(number);
        const Bytes yuyv = paint("YUYV", 640, 480, number);
        EXPECT_EQ(readFrameNumber(yuyv.data(), 1280, 640, 480, 2), number);
        const Bytes uyvy = paint("UYVY", 640, 480, number);
        EXPECT_EQ(readFrameNumber(uyvy.data() + 1, 1280, 640, 480, 2), number);
        const Bytes planar = paint("YU12", 640, 480, number);
        EXPECT_EQ(readFrameNumber(planar.data(), 640, 640, 480), number);
        const Bytes semiPlanar = paint("NV12", 640, 480, number);
        EXPECT_EQ(readFrameNumber(semiPlanar.data(), 640, 640, 480), number);
    }
}

TEST(AFrameNumber, IsReadAtAnyQualityOfAJpeg) {
    for (const int quality : {10, 50, 85, 100}) {
        Picture picture;
        picture.jpegQuality = quality;
        const auto painter = makePainter(fourcc("MJPG"), 1280, 720, picture);
        for (const std::uint32_t number : {0U, 7U, 16U, 17U, 123456U}) {
            const Bytes pixels =
                decode(paint(*painter, imageBytes(fourcc("MJPG"), 1280, 720), number), 1280, 720);
            ASSERT_FALSE(pixels.empty()) << "quality " << quality;
            EXPECT_EQ(readFrameNumber(pixels.data(), 1280 * 3, 1280, 720, 3), number);
        }
    }
}

TEST(AFrameNumber, IsNotFoundWhereThereIsNone) {
    const Bytes black(640 * 480, 16);
    EXPECT_EQ(readFrameNumber(black.data(), 640, 640, 480), std::nullopt);
    const Bytes grey(640 * 480, 128);
    EXPECT_EQ(readFrameNumber(grey.data(), 640, 640, 480), std::nullopt);
    EXPECT_EQ(readFrameNumber(black.data(), 64, 64, 48), std::nullopt);
    Bytes frame = paint("YU12", 640, 480, 5);
    for (std::size_t y = 0; y < codeCell; ++y) {
        std::fill_n(&frame[y * 640 + codeCell], codeCell, std::uint8_t{235});
    }
    EXPECT_EQ(readFrameNumber(frame.data(), 640, 640, 480), std::nullopt) << "one bit is wrong";
}

TEST(OpaqueFrames, CarryTheirNumber) {
    const Bytes h264 = paint("H264", 640, 480, 77);
    EXPECT_EQ(readOpaqueFrameNumber(h264.data(), h264.size()), 77U);
    const Bytes vp8 = paint("VP80", 640, 480, 0x01020304);
    EXPECT_EQ(readOpaqueFrameNumber(vp8.data(), vp8.size()), 0x01020304U);
    EXPECT_EQ(readOpaqueFrameNumber(vp8.data(), 11), std::nullopt);
    EXPECT_EQ(readOpaqueFrameNumber(vp8.data() + 1, vp8.size() - 1), std::nullopt);
}

TEST(TheBars, AreTheColoursTheyShouldBeAndMove) {
    const auto pixel = [](const Bytes& frame, std::size_t x) {
        const std::uint8_t* const pair = &frame[(400 * 640 + x) * 2];
        return std::array<int, 3>{pair[0], pair[1], pair[3]};
    };
    const Bytes first = paint("YUYV", 640, 480, 0);
    EXPECT_EQ(pixel(first, 40), (std::array<int, 3>{235, 128, 128}));
    EXPECT_EQ(pixel(first, 440), (std::array<int, 3>{81, 90, 240}));
    EXPECT_EQ(pixel(first, 600), (std::array<int, 3>{16, 128, 128}));
    const Bytes second = paint("YUYV", 640, 480, 1);
    EXPECT_EQ(pixel(second, 40), pixel(first, 80)) << "a sixteenth of the width further";
    EXPECT_EQ(paint("YUYV", 640, 480, 3).size(), 614400U);
    const Bytes around = paint("YUYV", 640, 480, 16);
    EXPECT_TRUE(std::equal(first.begin() + 1280 * 32, first.end(), around.begin() + 1280 * 32));
}

TEST(EveryFormat, ShowsTheSamePicture) {
    const std::uint32_t width = 320;
    const std::uint32_t height = 240;
    const Bytes yuyv = paint("YUYV", width, height, 21);
    const Bytes uyvy = paint("UYVY", width, height, 21);
    const Bytes planar = paint("YU12", width, height, 21);
    const Bytes semiPlanar = paint("NV12", width, height, 21);
    const Bytes jpeg = decode(paint("JPEG", width, height, 21), width, height);
    ASSERT_FALSE(jpeg.empty());
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t at = y * width + x;
            const std::size_t chroma = y / 2 * (width / 2) + x / 2;
            const std::uint8_t blue = yuyv[(at & ~std::size_t{1}) * 2 + 1];
            const std::uint8_t red = yuyv[(at & ~std::size_t{1}) * 2 + 3];
            ASSERT_EQ(uyvy[at * 2 + 1], yuyv[at * 2]);
            ASSERT_EQ(uyvy[at * 2], yuyv[at * 2 + 1]);
            ASSERT_EQ(planar[at], yuyv[at * 2]);
            ASSERT_EQ(semiPlanar[at], yuyv[at * 2]);
            ASSERT_EQ(planar[width * height + chroma], blue);
            ASSERT_EQ(planar[width * height * 5 / 4 + chroma], red);
            ASSERT_EQ(semiPlanar[width * height + chroma * 2], blue);
            ASSERT_EQ(semiPlanar[width * height + chroma * 2 + 1], red);
            // A JPEG uses the whole of a byte, video leaves room at both ends.
            ASSERT_NEAR(jpeg[at * 3], (yuyv[at * 2] - 16) * 255 / 219, 24) << x << ", " << y;
        }
    }
    const std::size_t lastRow = std::size_t{width} * (height - 1) * 3;
    const auto [darkest, brightest] = [&] {
        std::pair<int, int> range{255, 0};
        for (std::size_t at = lastRow; at < jpeg.size(); at += 3) {
            range = {std::min<int>(range.first, jpeg[at]), std::max<int>(range.second, jpeg[at])};
        }
        return range;
    }();
    EXPECT_LE(darkest, 4);
    EXPECT_GE(brightest, 251);
}

TEST(APainter, CopesWithEverySize) {
    const std::uint32_t sizes[][2] = {{1, 1},     {2, 2},    {7, 5},     {16, 16},   {127, 33},
                                      {128, 31},  {128, 32}, {129, 33},  {161, 121}, {176, 144},
                                      {641, 481}, {640, 40}, {1917, 33}, {33, 1917}};
    for (const auto& [width, height] : sizes) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        for (const std::uint32_t number : {0U, 5U, 15U, 31U}) {
            EXPECT_EQ(paint("YUYV", width, height, number).size(), width * height * 2);
            EXPECT_EQ(paint("YU12", width, height, number).size(),
                      width * height + 2 * ((width + 1) / 2) * ((height + 1) / 2));
            EXPECT_EQ(paint("NV12", width, height, number).size(),
                      paint("YU12", width, height, number).size());
            const Bytes pixels = decode(paint("MJPG", width, height, number), width, height);
            ASSERT_FALSE(pixels.empty());
            if (width >= codeWidth && height >= stripHeight) {
                EXPECT_EQ(readFrameNumber(pixels.data(), width * 3, width, height, 3), number);
            }
        }
    }
}

TEST(APainter, CutsWhatDoesNotFit) {
    for (const char* const code : {"YUYV", "NV12", "MJPG", "H264"}) {
        std::uint32_t fourCharacters = 0;
        std::memcpy(&fourCharacters, code, 4);
        const auto painter = makePainter(fourCharacters, 640, 480, Picture{});
        for (const std::size_t room : {1U, 10U, 100U, 1000U}) {
            Bytes frame(room + 1, 0xee);
            EXPECT_EQ(painter->paint(frame.data(), room, 3), room) << code;
            EXPECT_EQ(frame[room], 0xee) << code;
        }
    }
}

/// The first frame of a motion-JPEG camera with a fault.
Bytes firstFrame(const std::string& fault) {
    const auto device = SimulatorTest::makeDevice(
        SimulatorTest::describedAs("MJPG", "640x480", R"("faults": [)" + fault + "]"));
    SimulatorTest::CameraHandle camera(device);
    EXPECT_EQ(camera.start(), 0);
    EXPECT_EQ(camera.next(), 0);
    const std::uint8_t* const data = camera.data(camera.last().index);
    return {data, data + camera.last().bytesused};
}

bool ends(const Bytes& jpeg) {
    return jpeg.size() > 4 && jpeg[jpeg.size() - 2] == 0xff && jpeg[jpeg.size() - 1] == 0xd9;
}

TEST(ADamagedJpeg, IsShortOrScrambledAsDemanded) {
    const Bytes good = firstFrame("");
    EXPECT_TRUE(ends(good));
    EXPECT_FALSE(decode(good, 640, 480).empty());

    const Bytes truncated = firstFrame(R"({"frame": "truncated"})");
    EXPECT_EQ(truncated.size(), good.size() / 2);
    EXPECT_TRUE(ends(truncated));
    EXPECT_TRUE(decode(truncated, 640, 480).empty());

    const Bytes cut = firstFrame(R"({"frame": "short"})");
    EXPECT_EQ(cut.size(), good.size() / 2);
    EXPECT_FALSE(ends(cut));

    const Bytes garbled = firstFrame(R"({"frame": "garbled"})");
    EXPECT_EQ(garbled.size(), good.size());
    EXPECT_TRUE(ends(garbled));
    EXPECT_NE(garbled, good);
    EXPECT_TRUE(decode(garbled, 640, 480).empty());
}

}  // namespace
}  // namespace Simulator
