// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the records of the contract hold at first, how they convert, and where each field lies:
// hosts and plug-ins are built apart and meet in memory. The numbers are those of 64-bit Linux. One
// thread.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "lumiq/camera-capability.h"
#include "lumiq/camera-info.h"
#include "lumiq/camera-parameter.h"
#include "lumiq/frame.h"
#include "lumiq/graphic-buffer.h"
#include "lumiq/log.h"
#include "lumiq/size.h"
#include "record-checks.h"

namespace Nerio::Lumiq {
namespace {

static_assert(isPlainValue<CameraInfo>);
static_assert(isPlainValue<CameraCapability>);
static_assert(isPlainValue<CameraCapabilityEx>);
static_assert(isPlainValue<CameraCapabilityRanges>);
static_assert(isPlainValue<Fraction<unsigned int>>);
static_assert(isPlainValue<PixelFormatDescription>);
static_assert(isPlainValue<Size>);
static_assert(isPlainValue<SizeRange>);
static_assert(isPlainValue<Frame>);
static_assert(isPlainValue<YCbCrFrame>);

static_assert(has32Bits<PixelFormat>);
static_assert(has32Bits<CameraCapabilityPriority>);
static_assert(has32Bits<CameraParameter>);
static_assert(has32Bits<LogLevel>);

TEST(TheLayoutOf, CameraInfo) {
    EXPECT_EQ(sizeof(CameraInfo), 136U);
    EXPECT_FIELD(CameraInfo, id, 0, std::string);
    EXPECT_FIELD(CameraInfo, name, 32, std::string);
    EXPECT_FIELD(CameraInfo, provider, 64, std::string);
    EXPECT_FIELD(CameraInfo, reserved1, 96, std::uint32_t);
    EXPECT_FIELD(CameraInfo, reserved2, 100, std::uint32_t);
    EXPECT_FIELD(CameraInfo, reservedText, 104, std::string);
}

TEST(TheLayoutOf, TheCapabilities) {
    EXPECT_EQ(sizeof(CameraCapability), 12U);
    EXPECT_FIELD(CameraCapability, width, 0, std::uint32_t);
    EXPECT_FIELD(CameraCapability, height, 4, std::uint32_t);
    EXPECT_FIELD(CameraCapability, fps, 8, std::uint32_t);

    EXPECT_EQ(sizeof(CameraCapabilityEx), 16U);
    EXPECT_FIELD(CameraCapabilityEx, width, 0, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityEx, height, 4, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityEx, fps, 8, Fraction<unsigned int>);
    EXPECT_EQ(sizeof(Fraction<unsigned int>), 8U);
    EXPECT_EQ(offsetof(Fraction<unsigned int>, numerator), 0U);
    EXPECT_EQ(offsetof(Fraction<unsigned int>, denominator), 4U);
}

TEST(TheLayoutOf, CameraCapabilityRanges) {
    EXPECT_EQ(sizeof(CameraCapabilityRanges), 48U);
    EXPECT_FIELD(CameraCapabilityRanges, minWidth, 0, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityRanges, maxWidth, 4, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityRanges, widthStep, 8, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityRanges, minHeight, 12, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityRanges, maxHeight, 16, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityRanges, heightStep, 20, std::uint32_t);
    EXPECT_FIELD(CameraCapabilityRanges, minFps, 24, Fraction<unsigned int>);
    EXPECT_FIELD(CameraCapabilityRanges, maxFps, 32, Fraction<unsigned int>);
    EXPECT_FIELD(CameraCapabilityRanges, fpsStep, 40, Fraction<unsigned int>);
}

TEST(TheLayoutOf, TheSmallRecords) {
    EXPECT_EQ(sizeof(PixelFormatDescription), 16U);
    EXPECT_FIELD(PixelFormatDescription, format, 0, PixelFormat);
    EXPECT_FIELD(PixelFormatDescription, flags, 8, std::uint64_t);

    EXPECT_EQ(sizeof(Size), 8U);
    EXPECT_FIELD(Size, width, 0, std::int32_t);
    EXPECT_FIELD(Size, height, 4, std::int32_t);
    EXPECT_EQ(sizeof(SizeRange), 16U);
    EXPECT_FIELD(SizeRange, min, 0, Size);
    EXPECT_FIELD(SizeRange, max, 8, Size);
}

TEST(TheLayoutOf, Frame) {
    EXPECT_EQ(sizeof(FramePlane), 16U);
    EXPECT_FIELD(FramePlane, width, 0, std::uint16_t);
    EXPECT_FIELD(FramePlane, height, 2, std::uint16_t);
    EXPECT_FIELD(FramePlane, stride, 4, std::uint16_t);
    EXPECT_FIELD(FramePlane, data, 8, const std::uint8_t*);

    EXPECT_EQ(sizeof(EncodedPlane), 16U);
    EXPECT_FIELD(EncodedPlane, width, 0, std::uint16_t);
    EXPECT_FIELD(EncodedPlane, height, 2, std::uint16_t);
    EXPECT_FIELD(EncodedPlane, size, 4, std::uint32_t);
    EXPECT_FIELD(EncodedPlane, data, 8, const std::uint8_t*);

    EXPECT_EQ(sizeof(Frame), 80U);
    EXPECT_FIELD(Frame, format, 0, PixelFormat);
    EXPECT_FIELD(Frame, planes, 8, FramePlane[4]);
    EXPECT_FIELD(Frame, encoded, 8, EncodedPlane);
    EXPECT_FIELD(Frame, timestamp, 72, std::int64_t);
}

TEST(TheLayoutOf, YCbCrFrame) {
    EXPECT_EQ(sizeof(YCbCrFrame), 48U);
    EXPECT_FIELD(YCbCrFrame, y, 0, const std::uint8_t*);
    EXPECT_FIELD(YCbCrFrame, cb, 8, const std::uint8_t*);
    EXPECT_FIELD(YCbCrFrame, cr, 16, const std::uint8_t*);
    EXPECT_FIELD(YCbCrFrame, yStride, 24, std::uint16_t);
    EXPECT_FIELD(YCbCrFrame, cStride, 26, std::uint16_t);
    EXPECT_FIELD(YCbCrFrame, chromaStep, 28, std::uint16_t);
    EXPECT_FIELD(YCbCrFrame, width, 30, std::uint16_t);
    EXPECT_FIELD(YCbCrFrame, height, 32, std::uint16_t);
    EXPECT_FIELD(YCbCrFrame, timestamp, 40, std::int64_t);
}

class AnyBuffer : public GraphicBuffer {
public:
    std::shared_ptr<YCbCrFrame> mapYCbCr() override { return {}; }
    std::shared_ptr<void> map() override { return {}; }
    std::shared_ptr<Frame> mapFrame() override { return {}; }
    int rotation() const override { return 0; }
};

TEST(TheLayoutOf, GraphicBuffer) {
    const AnyBuffer buffer;
    const auto* const start =
        reinterpret_cast<const char*>(static_cast<const GraphicBuffer*>(&buffer));
    const auto offsetOf = [&](const auto& field) {
        return reinterpret_cast<const char*>(&field) - start;
    };
    EXPECT_EQ(sizeof(GraphicBuffer), 48U);
    EXPECT_EQ(offsetOf(buffer.width), 8);
    EXPECT_EQ(offsetOf(buffer.height), 10);
    EXPECT_EQ(offsetOf(buffer.timestamp), 16);
    EXPECT_EQ(offsetOf(buffer.reserved1), 24);
    EXPECT_EQ(offsetOf(buffer.reserved2), 32);
    EXPECT_EQ(offsetOf(buffer.reserved3), 40);
    static_assert(std::is_same_v<decltype(GraphicBuffer::width), std::uint16_t>);
    static_assert(std::is_same_v<decltype(GraphicBuffer::height), std::uint16_t>);
    static_assert(std::is_same_v<decltype(GraphicBuffer::timestamp), std::int64_t>);
    static_assert(std::is_same_v<decltype(GraphicBuffer::reserved1), std::uint32_t>);
    static_assert(std::is_same_v<decltype(GraphicBuffer::reserved2), std::uint64_t>);
    static_assert(std::is_same_v<decltype(GraphicBuffer::reserved3), std::uint32_t>);
}

TEST(AGraphicBuffer, HasNoTimeAndNoSizeAtFirst) {
    const AnyBuffer buffer;
    EXPECT_EQ(buffer.width, 0);
    EXPECT_EQ(buffer.height, 0);
    EXPECT_EQ(buffer.timestamp, -1);
    EXPECT_EQ(buffer.reserved1, 0U);
    EXPECT_EQ(buffer.reserved2, 0U);
    EXPECT_EQ(buffer.reserved3, 0U);
}

TEST(ACameraInfo, IsEmptyAtFirst) {
    const CameraInfo info;
    EXPECT_EQ(info.id, "");
    EXPECT_EQ(info.name, "");
    EXPECT_EQ(info.provider, "");
    EXPECT_EQ(info.reserved1, 0U);
    EXPECT_EQ(info.reserved2, 0U);
    EXPECT_EQ(info.reservedText, "");
}

TEST(ACameraInfo, CarriesAllSixFieldsThroughCopyAndMove) {
    const std::string id(100, 'i');
    const CameraInfo original{id, "name", "provider", 7, 0xFFFFFFFF, "text"};
    CameraInfo copy;
    copy = original;
    const CameraInfo moved = std::move(copy);
    for (const CameraInfo& each : {CameraInfo(original), moved}) {
        EXPECT_EQ(each.id, id);
        EXPECT_EQ(each.name, "name");
        EXPECT_EQ(each.provider, "provider");
        EXPECT_EQ(each.reserved1, 7U);
        EXPECT_EQ(each.reserved2, 0xFFFFFFFFU);
        EXPECT_EQ(each.reservedText, "text");
    }
}

TEST(TheCapabilityRanges, SayNothingFoundAtFirst) {
    const CameraCapabilityRanges ranges;
    for (const std::uint32_t each : {ranges.minWidth, ranges.maxWidth, ranges.widthStep,
                                     ranges.minHeight, ranges.maxHeight, ranges.heightStep}) {
        EXPECT_EQ(each, 0U);
    }
    for (const Fraction<unsigned int>& each : {ranges.minFps, ranges.maxFps, ranges.fpsStep}) {
        EXPECT_EQ(each.numerator, 0U);
        EXPECT_EQ(each.denominator, 1U);
    }
}

TEST(ACapability, IsZeroAtFirst) {
    const CameraCapability plain;
    EXPECT_EQ(plain.width, 0U);
    EXPECT_EQ(plain.height, 0U);
    EXPECT_EQ(plain.fps, 0U);
    const CameraCapabilityEx extended;
    EXPECT_EQ(extended.width, 0U);
    EXPECT_EQ(extended.height, 0U);
    EXPECT_EQ(extended.fps.numerator, 0U);
    EXPECT_EQ(extended.fps.denominator, 1U);
}

TEST(ACapability, ConvertsToTheExtendedFormWithItsRateOverOne) {
    const auto extended = [](const CameraCapabilityEx& each) { return each; };
    const CameraCapabilityEx usual = extended(CameraCapability{640, 480, 30});
    EXPECT_EQ(usual.width, 640U);
    EXPECT_EQ(usual.height, 480U);
    EXPECT_EQ(usual.fps.numerator, 30U);
    EXPECT_EQ(usual.fps.denominator, 1U);

    const CameraCapabilityEx none = extended(CameraCapability{});
    EXPECT_EQ(none.fps.numerator, 0U);
    EXPECT_EQ(none.fps.denominator, 1U);
}

TEST(TheEnumerations, HaveTheNumbersThatHostsWereBuiltWith) {
    EXPECT_EQ(static_cast<std::uint32_t>(CameraCapabilityPriority::SizeWidth), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(CameraCapabilityPriority::SizeHeight), 1U);
    EXPECT_EQ(static_cast<std::uint32_t>(CameraCapabilityPriority::FpsWidth), 2U);
    EXPECT_EQ(static_cast<std::uint32_t>(CameraCapabilityPriority::FpsHeight), 3U);
    EXPECT_EQ(static_cast<std::uint32_t>(LogLevel::Debug), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(LogLevel::Info), 1U);
    EXPECT_EQ(static_cast<std::uint32_t>(LogLevel::Error), 2U);
}

TEST(AFrame, IsAllZeroAndWithoutTimeAtFirst) {
    const Frame frame{};
    EXPECT_EQ(frame.format, PixelFormat::Invalid);
    for (const FramePlane& plane : frame.planes) {
        EXPECT_EQ(plane.width, 0);
        EXPECT_EQ(plane.height, 0);
        EXPECT_EQ(plane.stride, 0);
        EXPECT_EQ(plane.data, nullptr);
    }
    EXPECT_EQ(frame.timestamp, -1);
}

TEST(AFrame, SharesTheFirstPlanesStorageWithTheEncodedLayout) {
    const std::uint8_t byte = 0;
    Frame frame;
    frame.encoded = {1280, 720, 70000, &byte};
    // Read as another party would: from memory, at the offsets of the contract.
    const auto* const bytes = reinterpret_cast<const char*>(&frame);
    std::uint32_t size = 0;
    std::memcpy(&size, bytes + 12, sizeof size);
    const std::uint8_t* data = nullptr;
    std::memcpy(&data, bytes + 16, sizeof data);
    EXPECT_EQ(size, 70000U);
    EXPECT_EQ(data, &byte);
    EXPECT_EQ(frame.planes[1].data, nullptr);
}

TEST(AYCbCrFrame, IsEmptyAndWithoutTimeAtFirst) {
    const YCbCrFrame frame{};
    EXPECT_EQ(frame.y, nullptr);
    EXPECT_EQ(frame.cb, nullptr);
    EXPECT_EQ(frame.cr, nullptr);
    EXPECT_EQ(frame.yStride, 0);
    EXPECT_EQ(frame.cStride, 0);
    EXPECT_EQ(frame.chromaStep, 0);
    EXPECT_EQ(frame.width, 0);
    EXPECT_EQ(frame.height, 0);
    EXPECT_EQ(frame.timestamp, -1);
}

}  // namespace
}  // namespace Nerio::Lumiq
