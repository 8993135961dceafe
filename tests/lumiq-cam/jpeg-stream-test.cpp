// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Where JPEG pictures end, and what is added to them.
#include "jpeg-stream.h"

#include <gtest/gtest.h>

#include "fake-picture.h"

namespace {

using Data = std::vector<std::uint8_t>;

Data operator+(Data left, const Data& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Data kStart{0xFF, 0xD8};
const Data kEnd{0xFF, 0xD9};
// A segment that holds a whole small picture, as cameras put thumbnails into their headers.
const Data kThumbnail{0xFF, 0xE1, 0x00, 0x08, 0xFF, 0xD8, 0xFF, 0xD9, 0x11, 0x22};
// A scan with an escaped byte and a restart marker in its data.
const Data kScan{0xFF, 0xDA, 0x00, 0x03, 0x01, 0x12, 0xFF, 0x00, 0x34, 0xFF, 0xD3, 0x56};
const Data kRemains{0x99, 0xFF, 0xD9, 0x00, 0x00};

TEST(JpegLength, EndsAtTheEndOfTheImageNotAtWhatFollowsIt) {
    const Data picture = kStart + kScan + kEnd;
    EXPECT_EQ(LumiqCam::jpegLength(picture + kRemains), picture.size());
}

TEST(JpegLength, PassesOverAThumbnailInTheHeader) {
    const Data picture = kStart + kThumbnail + kScan + kEnd;
    EXPECT_EQ(LumiqCam::jpegLength(picture + kRemains), picture.size());
}

TEST(JpegLength, PassesOverFillBytesBeforeAMarker) {
    const Data picture = kStart + kScan + Data{0xFF, 0xFF} + kEnd;
    EXPECT_EQ(LumiqCam::jpegLength(picture), picture.size());
}

TEST(JpegLength, KnowsSeveralScans) {
    const Data picture = kStart + kScan + kScan + kEnd;
    EXPECT_EQ(LumiqCam::jpegLength(picture), picture.size());
}

TEST(JpegLength, IsUnknownWithoutAnEnd) {
    EXPECT_EQ(LumiqCam::jpegLength(kStart + kScan), std::nullopt);
}

TEST(JpegLength, IsUnknownForOtherData) {
    EXPECT_EQ(LumiqCam::jpegLength(Data{}), std::nullopt);
    EXPECT_EQ(LumiqCam::jpegLength(Data{0xFF}), std::nullopt);
    EXPECT_EQ(LumiqCam::jpegLength(kScan + kEnd), std::nullopt);
}

TEST(JpegLength, IsUnknownWhenASegmentIsLongerThanTheBuffer) {
    EXPECT_EQ(LumiqCam::jpegLength(kStart + Data{0xFF, 0xE1, 0xFF, 0xFF, 0x00}), std::nullopt);
    EXPECT_EQ(LumiqCam::jpegLength(kStart + Data{0xFF, 0xE1, 0x00}), std::nullopt);
    EXPECT_EQ(LumiqCam::jpegLength(kStart + Data{0xFF, 0xE1, 0x00, 0x01, 0xFF, 0xD9}),
              std::nullopt);
}

TEST(HuffmanTables, ThatLibjpegWritesAreTheOnesAdded) {
    using Nerio::Lumiq::PixelFormat;
    const auto whole = FakePlugin::driverBuffer(PixelFormat::MJPG, {32, 32}, 3, false);
    const auto bare = FakePlugin::driverBuffer(PixelFormat::MJPG, {32, 32}, 3, true);
    ASSERT_LT(bare.size() + 400, whole.size());
    // libjpeg writes a segment for each table, here they share one: three segment heads less.
    EXPECT_EQ(LumiqCam::withHuffmanTables(bare).size(), whole.size() - 3 * 4);
}

TEST(HuffmanTables, ThatAreThereAreLeftAlone) {
    using Nerio::Lumiq::PixelFormat;
    const auto whole = FakePlugin::driverBuffer(PixelFormat::MJPG, {32, 32}, 3, false);
    EXPECT_EQ(LumiqCam::withHuffmanTables(whole), whole);
}

TEST(HuffmanTables, AreNotAddedToWhatIsNoJpeg) {
    EXPECT_EQ(LumiqCam::withHuffmanTables(kScan), kScan);
    EXPECT_EQ(LumiqCam::withHuffmanTables(Data{}), Data{});
    const Data broken = kStart + Data{0xFF, 0xE1, 0xFF, 0xFF};
    EXPECT_EQ(LumiqCam::withHuffmanTables(broken), broken);
}

}  // namespace
