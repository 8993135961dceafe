// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the example's decoder makes of bytes that are no picture, or not the one that was announced:
// it refuses them and goes on. Test thread.

#include <cstdint>
#include <random>
#include <string>

#include "software-codec.h"

namespace SdkTest {
namespace {

class ADecoder : public TheSoftwareCodec {
protected:
    void SetUp() override {
        TheSoftwareCodec::SetUp();
        decoder = startedDecoder(64, 48);
    }

    bool decodes(const Bytes& bytes) { return decoder->decode(bytes.data(), bytes.size(), -1); }

    /// Whatever came before: a whole picture is decoded well.
    void expectToGoOn() {
        while (decoder->takeDecoded()) {
        }
        ASSERT_TRUE(decodes(whole));
        const auto decoded = decoder->takeDecoded();
        ASSERT_TRUE(decoded);
        EXPECT_GT(likeness(picture, *decoded), 40);
    }

    const TestPicture picture{64, 48};
    const Bytes whole = writeJpeg(picture);
    std::shared_ptr<VideoDecoder> decoder;
};

TEST_F(ADecoder, RefusesWhatIsNoJpeg) {
    for (const Bytes& bytes : {Bytes{0}, Bytes{0xff, 0xd8}, Bytes{0xff, 0xd8, 0xff, 0xd9},
                               Bytes(1000, 0xff), Bytes(1000, 0)}) {
        EXPECT_FALSE(decodes(bytes)) << bytes.size();
    }
    EXPECT_FALSE(decoder->decode(whole.data(), 0, -1));
    EXPECT_FALSE(decoder->decode(nullptr, 5, -1));
    EXPECT_FALSE(decoder->takeDecoded());
    expectToGoOn();
}

TEST_F(ADecoder, RefusesAPictureThatBreaksOff) {
    // Without the mark of the end alone nothing is lost; the library then makes one up and warns.
    for (std::size_t size = 1; size < whole.size(); size += 7) {
        EXPECT_FALSE(decodes(Bytes(whole.begin(), whole.begin() + static_cast<long>(size))))
            << size << " of " << whole.size();
    }
    EXPECT_FALSE(decoder->takeDecoded());
    expectToGoOn();
}

TEST_F(ADecoder, SurvivesBytesThatWereChanged) {
    std::mt19937 random(20261120);
    int refused = 0;
    for (int i = 0; i < 2000; ++i) {
        Bytes bytes = whole;
        for (int changes = 0; changes < 3; ++changes) {
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        }
        refused += decodes(bytes) ? 0 : 1;
        if (const auto decoded = decoder->takeDecoded()) {
            EXPECT_EQ(decoded->width, 64);
            EXPECT_EQ(decoded->height, 48);
        }
    }
    EXPECT_GT(refused, 100);
    expectToGoOn();
}

TEST_F(ADecoder, RefusesAnotherSize) {
    for (const TestPicture& other :
         {TestPicture(48, 64), TestPicture(64, 50), TestPicture(62, 48), TestPicture(640, 480)}) {
        EXPECT_FALSE(decodes(writeJpeg(other))) << other.y.width << "x" << other.y.height;
    }
    EXPECT_FALSE(decoder->takeDecoded());
    expectToGoOn();
}

TEST_F(ADecoder, RefusesOtherLayoutsOfChroma) {
    for (const Layout& layout : {Layout{1, 1}, Layout{2, 1}, Layout{1, 2}, Layout{4, 1}}) {
        const Bytes jpeg = writeJpeg(picture, layout);
        EXPECT_EQ(readJpeg(jpeg).planes[1].width, 64 / layout.across);
        EXPECT_FALSE(decodes(jpeg)) << layout.across << " " << layout.down;
    }
    EXPECT_FALSE(decoder->takeDecoded());
    expectToGoOn();
}

TEST_F(ADecoder, TakesNothingBeforeItsStartAndAfterItsEnd) {
    const auto other = codecs->createVideoDecoder(CodecType::JPEG, false);
    EXPECT_FALSE(other->decode(whole.data(), whole.size(), -1));

    EXPECT_TRUE(decodes(whole));
    EXPECT_TRUE(decoder->decode(nullptr, 0, -1));
    EXPECT_FALSE(decodes(whole));
    EXPECT_TRUE(decoder->takeDecoded());
    EXPECT_FALSE(decoder->takeDecoded());

    ASSERT_TRUE(decoder->start({CodecType::JPEG, 64, 48}));
    EXPECT_TRUE(decodes(whole));
    ASSERT_TRUE(decoder->start({CodecType::JPEG, 64, 48}));
    EXPECT_FALSE(decoder->takeDecoded());
    expectToGoOn();
}

TEST_F(ADecoder, TakesZerosBehindAPictureAsCamerasSendThem) {
    Bytes padded = whole;
    padded.resize(padded.size() + 4096, 0);
    EXPECT_TRUE(decodes(padded));
    EXPECT_TRUE(decoder->takeDecoded());
}

}  // namespace
}  // namespace SdkTest
