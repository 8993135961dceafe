// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The format tables, row by row, and what conversion adds to a list of formats.

#include "pixel-formats.h"

#include <gmock/gmock.h>

#include <span>

namespace Nerio::Lumiq {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::uint32_t YU12 = 0x32315559;
constexpr std::uint32_t NV12 = 0x3231564E;
constexpr std::uint32_t YUYV = 0x56595559;
constexpr std::uint32_t UYVY = 0x59565955;
constexpr std::uint32_t MJPG = 0x47504A4D;
constexpr std::uint32_t JPEG = 0x4745504A;
constexpr std::uint32_t H264 = 0x34363248;
constexpr std::uint32_t VP80 = 0x30385056;
constexpr std::uint32_t VP90 = 0x30395056;
constexpr std::uint32_t HEVC = 0x43564548;

constexpr PixelFormat asFormat(std::uint32_t code) {
    return static_cast<PixelFormat>(code);
}

TEST(AFourCharacterCode, IsAFormatOfTheSameNumber) {
    EXPECT_EQ(fourccOf(PixelFormat::MJPG), MJPG);
    EXPECT_EQ(fourccOf(asFormat(3)), 3U);
}

TEST(AFourCharacterCode, PrintsAsItsCharactersUpToTheFirstZero) {
    EXPECT_EQ(fourccText(YUYV), "YUYV");
    EXPECT_EQ(fourccText(0x20363159), "Y16 ");
    EXPECT_EQ(fourccText(0x00363159), "Y16");
    EXPECT_EQ(fourccText(0x58003159), "Y1");
    EXPECT_EQ(fourccText(0), "");
    EXPECT_EQ(fourccText(0xFF), "\xFF");
}

TEST(TheOfferedFormats, AreTheSixThatHostsKnow) {
    EXPECT_EQ(offeredFormat(YU12), PixelFormat::YUV420Planar);
    EXPECT_EQ(offeredFormat(NV12), PixelFormat::YUV420SemiPlanar);
    for (const std::uint32_t itself : {YUYV, UYVY, MJPG, H264}) {
        EXPECT_EQ(offeredFormat(itself), asFormat(itself)) << fourccText(itself);
    }
    for (const std::uint32_t other : {JPEG, VP80, VP90, HEVC, 0U, 1U, 65533U, 0xFFFFFFFFU}) {
        EXPECT_EQ(offeredFormat(other), std::nullopt) << other;
    }
}

TEST(TheRequestRows, ListTheirCodesByPreference) {
    EXPECT_THAT(rawCandidates(), ElementsAre(YU12, NV12, YUYV, UYVY));
    EXPECT_THAT(encodedCandidates(), ElementsAre(H264, VP80, MJPG, JPEG));
    EXPECT_THAT(planarSources(), ElementsAre(YU12, MJPG, YUYV, UYVY));
}

TEST(TheCaptureCandidates, ListTheirCodesByPreference) {
    for (const PixelFormat planar : {PixelFormat::YUV420Planar, asFormat(YU12)}) {
        EXPECT_THAT(captureCandidates(planar), ElementsAre(YU12, YUYV, UYVY, MJPG));
    }
    for (const PixelFormat semiPlanar : {PixelFormat::YUV420SemiPlanar, asFormat(NV12)}) {
        EXPECT_THAT(captureCandidates(semiPlanar), ElementsAre(NV12, YUYV, UYVY, MJPG));
    }
    EXPECT_THAT(captureCandidates(PixelFormat::YCbCrFlexible),
                ElementsAre(MJPG, YU12, NV12, YUYV, UYVY));
    EXPECT_THAT(captureCandidates(PixelFormat::Raw), ElementsAre(YU12, NV12, YUYV, UYVY));
    EXPECT_THAT(captureCandidates(PixelFormat::Encoded), ElementsAre(H264, VP80, MJPG, JPEG));
}

TEST(TheCaptureCandidates, OfADevicesOwnFormatAreItself) {
    for (const std::uint32_t code : {VP80, H264, JPEG, MJPG, YUYV, UYVY}) {
        EXPECT_THAT(captureCandidates(asFormat(code)), ElementsAre(code)) << fourccText(code);
    }
}

TEST(TheCaptureCandidates, OfEverythingElseAreNone) {
    for (const std::uint32_t code : {VP90, HEVC, 0U, 3U, 65531U, 65532U, 65535U, 0xFFFFFFFFU}) {
        EXPECT_THAT(captureCandidates(asFormat(code)), IsEmpty()) << code;
    }
}

using Sources = std::map<PixelFormat, PixelFormat>;
constexpr std::uint64_t converted = 2;

std::vector<PixelFormatDescription> completed(FormatSet formats, Sources& sources) {
    addConvertedFormats(formats, sources);
    return {formats.begin(), formats.end()};
}

constexpr PixelFormatDescription direct(std::uint32_t format) {
    return {asFormat(format), 0};
}
constexpr PixelFormatDescription planarByConversion{PixelFormat::YUV420Planar, converted};

TEST(AConversion, GivesPlanarImagesFromEachOfItsSources) {
    for (const std::uint32_t source : {MJPG, YUYV, UYVY}) {
        Sources sources;
        EXPECT_THAT(completed({direct(source)}, sources),
                    ElementsAre(planarByConversion, direct(source)));
        EXPECT_THAT(sources, ElementsAre(Pair(PixelFormat::YUV420Planar, asFormat(source))));
    }
}

TEST(AConversion, TakesTheSourceWithTheSmallerCode) {
    Sources sources;
    EXPECT_THAT(completed({direct(YUYV), direct(UYVY), direct(MJPG)}, sources),
                ElementsAre(planarByConversion, direct(MJPG), direct(YUYV), direct(UYVY)));
    EXPECT_THAT(sources, ElementsAre(Pair(PixelFormat::YUV420Planar, PixelFormat::MJPG)));
    sources.clear();
    (void)completed({direct(UYVY), direct(YUYV)}, sources);
    EXPECT_THAT(sources, ElementsAre(Pair(PixelFormat::YUV420Planar, PixelFormat::YUYV)));
}

TEST(AConversion, LeavesAFormatAloneThatIsThereAlready) {
    Sources sources;
    EXPECT_THAT(completed({direct(1), direct(YUYV)}, sources),
                ElementsAre(direct(1), direct(YUYV)));
    EXPECT_THAT(sources, IsEmpty());
    EXPECT_THAT(completed({planarByConversion, direct(YUYV)}, sources),
                ElementsAre(planarByConversion, direct(YUYV)));
    EXPECT_THAT(sources, IsEmpty());
}

TEST(AConversion, StartsFromDirectFormatsOnly) {
    Sources sources;
    EXPECT_THAT(completed({{PixelFormat::YUYV, converted}}, sources),
                ElementsAre(PixelFormatDescription{PixelFormat::YUYV, converted}));
    EXPECT_THAT(sources, IsEmpty());
    // Only that one flag says so.
    EXPECT_THAT(completed({{PixelFormat::YUYV, 5}}, sources),
                ElementsAre(planarByConversion, PixelFormatDescription{PixelFormat::YUYV, 5}));
}

TEST(AConversion, AddsNothingToFormatsItDoesNotKnow) {
    Sources sources;
    EXPECT_THAT(completed({direct(2), direct(H264), direct(65533)}, sources),
                ElementsAre(direct(2), direct(65533), direct(H264)));
    EXPECT_THAT(sources, IsEmpty());
}

TEST(AConversion, RemembersTheLatestSource) {
    Sources sources{{PixelFormat::YUV420Planar, PixelFormat::UYVY}};
    (void)completed({direct(MJPG)}, sources);
    EXPECT_THAT(sources, ElementsAre(Pair(PixelFormat::YUV420Planar, PixelFormat::MJPG)));
    (void)completed({direct(H264)}, sources);
    EXPECT_THAT(sources, ElementsAre(Pair(PixelFormat::YUV420Planar, PixelFormat::MJPG)));
}

}  // namespace
}  // namespace Nerio::Lumiq
