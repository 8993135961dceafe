// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Converted images from the inside: every chroma sample of odd sizes, and what happens when there
// is no memory for an image. malloc is stood in for, so this is a program of its own. One thread.

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>

#include "logged-lines.h"
#include "pixel-formats.h"
#include "v4l2-camera-frame.h"

namespace {

// Memory of exactly this size is refused; 0: none is.
std::size_t refusedSize = 0;

}  // namespace

// The linker puts them around every call in this program.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size) {
    return size != 0 && size == refusedSize ? nullptr : __real_malloc(size);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

using Nerio::Lumiq::fourccOf;
using Nerio::Lumiq::LoggedLines;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::StreamFormat;
using Nerio::Lumiq::V4L2CameraBuffer;
using Nerio::Lumiq::V4L2CameraGraphicBuffer;
using Nerio::Lumiq::V4L2CameraYCbCrFrame;
using ::testing::ElementsAre;

// A packed format: where in two pixels' four bytes each sample is.
struct Packed {
    PixelFormat format;
    std::size_t luma;
    std::size_t cb;
    std::size_t cr;
};
constexpr Packed yuyv{PixelFormat::YUYV, 0, 1, 3};
constexpr Packed uyvy{PixelFormat::UYVY, 1, 0, 2};

// What a driver has put into a buffer: bytes without any pattern.
class Image {
public:
    Image(std::uint16_t width, std::uint16_t height)
        : m_width(width), m_height(height), m_bytes(std::size_t{2} * width * height) {
        std::generate(m_bytes.begin(), m_bytes.end(), [random = std::mt19937(7)]() mutable {
            return static_cast<std::uint8_t>(random());
        });
    }

    std::shared_ptr<V4L2CameraGraphicBuffer> deliverAs(PixelFormat format) const {
        const int file = ::memfd_create("image", MFD_CLOEXEC);
        EXPECT_EQ(::write(file, m_bytes.data(), m_bytes.size()),
                  static_cast<ssize_t>(m_bytes.size()));
        const auto buffer = std::make_shared<V4L2CameraBuffer>();
        EXPECT_EQ(buffer->map(file, static_cast<std::uint32_t>(m_bytes.size()), 0), 0);
        ::close(file);
        return std::make_shared<V4L2CameraGraphicBuffer>(
            nullptr, buffer, StreamFormat{fourccOf(format), m_width, m_height}, 1UL);
    }

    // Both chroma planes as they lie behind the luma. Two rows share a row of chroma, their mean.
    // Rows and planes may lie over each other by a sample or some; the later one then shows.
    std::vector<std::uint8_t> chroma(const Packed& packed) const {
        const std::size_t stride = m_width / 2;
        const std::size_t samples = (m_width + 1) / 2;
        const std::size_t rows = (m_height + 1) / 2;
        const std::size_t crOffset = std::size_t{m_width} * m_height / 4;
        std::vector<std::uint8_t> planes(crOffset + (rows - 1) * stride + samples, 128);
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t i = 0; i < samples; ++i) {
                planes[row * stride + i] = mean(row, 4 * i + packed.cb);
            }
            for (std::size_t i = 0; i < samples; ++i) {
                planes[crOffset + row * stride + i] = mean(row, 4 * i + packed.cr);
            }
        }
        return planes;
    }

    std::uint8_t luma(const Packed& packed, std::size_t pixel) const {
        return m_bytes[2 * pixel + packed.luma];
    }

private:
    std::uint8_t mean(std::size_t chromaRow, std::size_t byte) const {
        const std::size_t upper = 2 * chromaRow;
        const std::size_t lower = std::min<std::size_t>(upper + 1, m_height - 1U);
        return static_cast<std::uint8_t>((at(upper, byte) + at(lower, byte) + 1) / 2);
    }

    // An odd row has no second chroma sample for its last pixel: neutral, in the last two rows;
    // what other rows get there the next one covers.
    int at(std::size_t row, std::size_t byte) const {
        const std::size_t rowBytes = std::size_t{2} * m_width;
        return byte < rowBytes ? m_bytes[row * rowBytes + byte] : 128;
    }

    std::uint16_t m_width;
    std::uint16_t m_height;
    std::vector<std::uint8_t> m_bytes;
};

struct Size {
    std::uint16_t width;
    std::uint16_t height;
};
std::string nameOfSize(const ::testing::TestParamInfo<Size>& test) {
    return std::to_string(test.param.width) + "x" + std::to_string(test.param.height);
}
class APackedImage : public ::testing::TestWithParam<Size> {};

TEST_P(APackedImage, IsConvertedSampleBySample) {
    const auto [width, height] = GetParam();
    const Image source(width, height);
    for (const Packed& packed : {yuyv, uyvy}) {
        const auto buffer = source.deliverAs(packed.format);
        const auto image = buffer->mapYCbCr();
        ASSERT_TRUE(image);
        std::size_t wrongLuma = 0;
        for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
            wrongLuma += image->y[i] == source.luma(packed, i) ? 0U : 1U;
        }
        EXPECT_EQ(wrongLuma, 0U);
        const std::vector<std::uint8_t> expected = source.chroma(packed);
        const auto* wrong = std::mismatch(expected.begin(), expected.end(), image->cb).second;
        EXPECT_EQ(wrong - image->cb, static_cast<std::ptrdiff_t>(expected.size()))
            << "the first sample that differs; the second plane begins at "
            << image->cr - image->cb;
    }
}

INSTANTIATE_TEST_SUITE_P(OfSize, APackedImage,
                         ::testing::Values(Size{160, 120}, Size{161, 120}, Size{160, 121},
                                           Size{161, 121}, Size{3, 3}, Size{1, 1}),
                         nameOfSize);

class ASemiPlanarImage : public ::testing::TestWithParam<Size> {};

TEST_P(ASemiPlanarImage, HasItsChromaSamplesInPairsBehindTheLuma) {
    const auto [width, height] = GetParam();
    V4L2CameraYCbCrFrame image(nullptr, {fourccOf(PixelFormat::NV12), width, height}, 1);
    image.initSemiPlanar();
    ASSERT_NE(image.y, nullptr);
    EXPECT_EQ(image.y, image.pixels());
    EXPECT_EQ(image.cb - image.y, width * height);
    EXPECT_EQ(image.cr - image.cb, 1);
    EXPECT_EQ(image.yStride, width);
    EXPECT_EQ(image.cStride, width);
    EXPECT_EQ(image.chromaStep, 2);
    // The last sample is within the memory; AddressSanitizer would tell.
    const std::size_t lastRow = (height + 1U) / 2U - 1;
    const std::size_t lastColumn = (width + 1U) / 2U - 1;
    const_cast<std::uint8_t*>(image.cr)[lastRow * width + lastColumn * 2] = 1;
}

INSTANTIATE_TEST_SUITE_P(OfSize, ASemiPlanarImage,
                         ::testing::Values(Size{160, 120}, Size{161, 121}), nameOfSize);

class AnImageWithoutMemory : public ::testing::Test {
protected:
    ~AnImageWithoutMemory() override { refusedSize = 0; }
};

TEST_F(AnImageWithoutMemory, IsNoneSaysSoEachTimeAndIsThereOnceThereIsMemory) {
    const auto buffer = Image(160, 120).deliverAs(PixelFormat::YUYV);
    LoggedLines log;
    refusedSize = 160 * 120 * 3 / 2;
    EXPECT_EQ(buffer->mapYCbCr(), nullptr);
    const std::string converting =
        "[lumiq-v4l2-camera] mapYCbCr:N -- Converting with libyuv::YUY2ToI420";
    const std::string refused =
        "[lumiq-v4l2-camera] mapYCbCr:N -- No memory to convert 160x120 pixels";
    EXPECT_THAT(log.take(), ElementsAre(converting, refused));
    EXPECT_EQ(buffer->mapYCbCr(), nullptr);
    EXPECT_THAT(log.take(), ElementsAre(converting, refused));
    refusedSize = 0;
    const auto image = buffer->mapYCbCr();
    EXPECT_NE(image, nullptr);
    EXPECT_EQ(buffer->mapYCbCr(), image);
    EXPECT_THAT(log.take(), ElementsAre(converting));
}

TEST_F(AnImageWithoutMemory, OfAMotionJpegIsNoneToo) {
    const auto buffer = Image(160, 120).deliverAs(PixelFormat::MJPG);
    LoggedLines log;
    refusedSize = 160 * 120 * 3 / 2;
    EXPECT_EQ(buffer->mapYCbCr(), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre("[lumiq-v4l2-camera] mapYCbCr:N -- Converting with libyuv::MJPGToI420",
                            "[lumiq-v4l2-camera] mapYCbCr:N -- No memory to convert 160x120 "
                            "pixels"));
}

TEST_F(AnImageWithoutMemory, HasNoPlanesInEitherLayout) {
    refusedSize = 160 * 120 * 3 / 2;
    V4L2CameraYCbCrFrame planar(nullptr, {fourccOf(PixelFormat::YUYV), 160, 120}, 1);
    planar.initPlanar();
    EXPECT_EQ(planar.y, nullptr);
    EXPECT_EQ(planar.pixels(), nullptr);
    V4L2CameraYCbCrFrame semiPlanar(nullptr, {fourccOf(PixelFormat::YUYV), 160, 120}, 1);
    semiPlanar.initSemiPlanar();
    EXPECT_EQ(semiPlanar.y, nullptr);
    EXPECT_EQ(semiPlanar.pixels(), nullptr);
}

}  // namespace
