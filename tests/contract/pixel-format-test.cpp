// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The names, the order and the equality of pixel formats. One thread.

#include "lumiq/pixel-format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Nerio::Lumiq {
namespace {

PixelFormat formatOf(std::uint32_t value) {
    return static_cast<PixelFormat>(value);
}

constexpr std::uint64_t converted = 2;

TEST(ThePixelFormats, HaveTheNumbersThatHostsWereBuiltWith) {
    const std::vector<std::pair<PixelFormat, std::uint32_t>> numbers = {
        {PixelFormat::Invalid, 0},          {PixelFormat::YUV420Planar, 1},
        {PixelFormat::YUV420SemiPlanar, 2}, {PixelFormat::YCbCrFlexible, 255},
        {PixelFormat::Mappable, 65531},     {PixelFormat::NotMappable, 65532},
        {PixelFormat::Raw, 65533},          {PixelFormat::Encoded, 65534},
        {PixelFormat::Preferred, 65535},    {PixelFormat::YU12, 0x32315559},
        {PixelFormat::NV12, 0x3231564E},    {PixelFormat::YUYV, 0x56595559},
        {PixelFormat::UYVY, 0x59565955},    {PixelFormat::MJPG, 0x47504A4D},
        {PixelFormat::JPEG, 0x4745504A},    {PixelFormat::H264, 0x34363248},
        {PixelFormat::VP80, 0x30385056},
    };
    for (const auto& [format, number] : numbers) {
        EXPECT_EQ(static_cast<std::uint32_t>(format), number) << toString(format);
    }
}

TEST(TheNameOfAPixelFormat, IsAWordForEachAbstractValue) {
    const std::vector<std::pair<std::uint32_t, std::string>> names = {
        {0, "Invalid"},         {1, "YUV420Planar"}, {2, "YUV420SemiPlanar"},
        {255, "YCbCrFlexible"}, {65531, "Mappable"}, {65532, "NotMappable"},
        {65533, "Raw"},         {65534, "Encoded"},  {65535, "Preferred"},
    };
    for (const auto& [value, name] : names) {
        EXPECT_EQ(toString(formatOf(value)), name);
    }
}

TEST(TheNameOfAPixelFormat, IsItsFourBytesFromTheLowestForEveryOtherValue) {
    EXPECT_EQ(toString(formatOf(0x47504A4D)), "MJPG");
    EXPECT_EQ(toString(formatOf(0x56595559)), "YUYV");
    EXPECT_EQ(toString(formatOf(0x32315559)), "YU12");
    EXPECT_EQ(toString(PixelFormat::HEVC), "HEVC");
    EXPECT_EQ(toString(PixelFormat::VP90), "VP90");
}

TEST(TheNameOfAPixelFormat, KeepsBytesThatCannotBePrinted) {
    EXPECT_EQ(toString(formatOf(3)), std::string("\3\0\0\0", 4));
    EXPECT_EQ(toString(formatOf(65530)), std::string("\xFA\xFF\0\0", 4));
    EXPECT_EQ(toString(formatOf(0x00010000)), std::string("\0\0\1\0", 4));
    EXPECT_EQ(toString(formatOf(0xFFFFFFFF)), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(toString(formatOf(254)).size(), 4U);
    EXPECT_EQ(toString(formatOf(256)).size(), 4U);
}

TEST(APixelFormatDescription, IsInvalidAndDirectAtFirst) {
    const PixelFormatDescription description;
    EXPECT_EQ(description.format, PixelFormat::Invalid);
    EXPECT_EQ(description.flags, 0U);
    EXPECT_EQ(+PixelFormatDescription::SupportedWithConverting, converted);
}

TEST(APixelFormatDescription, EqualsAnotherOnlyWithTheSameFormatAndAllTheSameFlagBits) {
    const PixelFormatDescription direct{PixelFormat::YUYV, 0};
    EXPECT_TRUE(direct == (PixelFormatDescription{PixelFormat::YUYV, 0}));
    EXPECT_FALSE(direct == (PixelFormatDescription{PixelFormat::YUYV, converted}));
    EXPECT_FALSE(direct == (PixelFormatDescription{PixelFormat::UYVY, 0}));
    for (unsigned int bit = 0; bit < 64; ++bit) {
        const PixelFormatDescription flagged{PixelFormat::YUYV, std::uint64_t{1} << bit};
        EXPECT_FALSE(direct == flagged) << "bit " << bit;
        EXPECT_TRUE(flagged == flagged) << "bit " << bit;
    }
}

TEST(ASetOfDescriptionsByFormat, KeepsTheFirstOfEachFormat) {
    std::set<PixelFormatDescription, CompareOnlyPixelFormat> formats;
    EXPECT_TRUE(formats.insert({PixelFormat::YUV420Planar, converted}).second);
    EXPECT_FALSE(formats.insert({PixelFormat::YUV420Planar, 0}).second);
    EXPECT_TRUE(formats.insert({PixelFormat::YUYV, 0}).second);
    EXPECT_FALSE(formats.insert({PixelFormat::YUYV, converted}).second);

    ASSERT_EQ(formats.size(), 2U);
    EXPECT_TRUE(*formats.begin() == (PixelFormatDescription{PixelFormat::YUV420Planar, converted}));
    EXPECT_TRUE(*formats.rbegin() == (PixelFormatDescription{PixelFormat::YUYV, 0}));
}

TEST(ASetOfDescriptionsByFormat, IsOrderedBySignedNumber) {
    std::set<PixelFormatDescription, CompareOnlyPixelFormat> formats;
    for (const std::uint32_t value : {0x7FFFFFFFU, 0xFFFFFFFFU, 1U, 0x80000000U, 0U, 65535U}) {
        formats.insert({formatOf(value), 0});
    }
    std::vector<std::uint32_t> order;
    for (const PixelFormatDescription& each : formats) {
        order.push_back(static_cast<std::uint32_t>(each.format));
    }
    EXPECT_EQ(order,
              (std::vector<std::uint32_t>{0x80000000U, 0xFFFFFFFFU, 0, 1, 65535, 0x7FFFFFFFU}));
}

TEST(TheComparisonByFormat, IsStrict) {
    const CompareOnlyPixelFormat less;
    const PixelFormatDescription direct{PixelFormat::YUYV, 0};
    const PixelFormatDescription alsoYuyv{PixelFormat::YUYV, converted};
    EXPECT_FALSE(less(direct, direct));
    EXPECT_FALSE(less(direct, alsoYuyv));
    EXPECT_FALSE(less(alsoYuyv, direct));
    EXPECT_TRUE(less(direct, {PixelFormat::UYVY, 0}));
    EXPECT_FALSE(less({PixelFormat::UYVY, 0}, direct));
}

}  // namespace
}  // namespace Nerio::Lumiq
