// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The example back end, built from the installed SDK: what it offers, what it makes of pictures and
// of JPEGs, its settings, its limits. Test thread, and two of a host's.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "settings.h"
#include "software-codec.h"

namespace SdkTest {
namespace {

using SoftwareCodec::chroma;
using SoftwareCodec::lastSize;
using SoftwareCodec::quality;

// Of a picture that changes slowly, at a quality of 90 and more.
constexpr double good = 40;

Bytes encoded(VideoEncoder& encoder, const YCbCrFrame& frame) {
    EXPECT_TRUE(encoder.encode(frame));
    const auto picture = encoder.takeEncoded();
    return picture ? picture->data : Bytes();
}

// Among the last objects of the process: made before the library's own.
std::shared_ptr<VideoEncoder> keptToTheEnd;

// In a process that ends, so that the other tests have all instances; AddressSanitizer watches.
TEST_F(TheSoftwareCodec, OutlivesACodecInAStaticObjectOfTheHost) {
    EXPECT_EXIT(
        {
            keptToTheEnd = codecs->createVideoEncoder(CodecType::JPEG, false);
            std::exit(keptToTheEnd ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(TheSoftwareCodec, OffersAnEncoderAndADecoderTwiceEachAndNoCamera) {
    EXPECT_FALSE(module->getCameraManager());
    const auto list = codecs->listCodecs();
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].id, encoderId);
    EXPECT_TRUE(list[0].isEncoder);
    EXPECT_EQ(list[1].id, decoderId);
    EXPECT_FALSE(list[1].isEncoder);
    for (const auto& codec : list) {
        EXPECT_EQ(codec.type, CodecType::JPEG);
        EXPECT_EQ(codec.maxInstances, 2);
        EXPECT_FALSE(codec.isHardware);
    }
}

TEST_F(TheSoftwareCodec, GivesTheSameCodecsToWhoAsksTwice) {
    EXPECT_EQ(module->getCodecManager(), codecs);
    EXPECT_TRUE(codecs->init());
    EXPECT_EQ(codecs->listCodecs().size(), 2U);
}

TEST_F(TheSoftwareCodec, EncodesWhatAnyReaderCanRead) {
    const TestPicture picture(320, 240);
    const auto jpeg = readJpeg(encoded(*startedEncoder(320, 240), picture.frame()));
    EXPECT_EQ(jpeg.width, 320);
    EXPECT_EQ(jpeg.height, 240);
    ASSERT_EQ(jpeg.planes.size(), 3U);
    EXPECT_EQ(jpeg.planes[1].width, 160);
    EXPECT_EQ(jpeg.planes[1].height, 120);
    const auto& planes = jpeg.planes;
    EXPECT_GT(likeness(picture.y, planes[0].row(0), planes[0].stride), good);
    EXPECT_GT(likeness(picture.cb, planes[1].row(0), planes[1].stride), good);
    EXPECT_GT(likeness(picture.cr, planes[2].row(0), planes[2].stride), good);
}

TEST_F(TheSoftwareCodec, DecodesWhatAnyWriterWrote) {
    const TestPicture picture(320, 240);
    const Bytes jpeg = writeJpeg(picture);
    const auto decoder = startedDecoder(320, 240);
    ASSERT_TRUE(decoder->decode(jpeg.data(), jpeg.size(), 42));
    const auto decoded = decoder->takeDecoded();
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->width, 320);
    EXPECT_EQ(decoded->height, 240);
    EXPECT_EQ(decoded->chromaStep, 1);
    EXPECT_EQ(decoded->timestamp, 42);
    EXPECT_GT(likeness(picture, *decoded), good);
    EXPECT_FALSE(decoder->takeDecoded());
}

TEST_F(TheSoftwareCodec, ReadsRowsWithPaddingAndSidesThatAreNoWholeBlocks) {
    const TestPicture picture(70, 34, 7);
    const Bytes jpeg = encoded(*startedEncoder(70, 34), picture.frame());
    const auto decoder = startedDecoder(70, 34);
    ASSERT_TRUE(decoder->decode(jpeg.data(), jpeg.size(), -1));
    EXPECT_GT(likeness(picture, *decoder->takeDecoded()), 35);
}

TEST_F(TheSoftwareCodec, DecodesAGreyPictureWithoutColour) {
    const TestPicture picture(64, 64);
    Layout grey;
    grey.grey = true;
    const Bytes jpeg = writeJpeg(picture, grey);
    const auto decoder = startedDecoder(64, 64);
    ASSERT_TRUE(decoder->decode(jpeg.data(), jpeg.size(), -1));
    const auto decoded = decoder->takeDecoded();
    EXPECT_GT(likeness(picture.y, decoded->y, decoded->yStride), good);
    for (const std::uint8_t* plane : {decoded->cb, decoded->cr}) {
        EXPECT_EQ(std::count(plane, plane + 32 * 32, 128), 32 * 32);
    }
}

TEST_F(TheSoftwareCodec, HandsPicturesOutInTheirOrderWithTheirTimes) {
    const TestPicture picture(64, 64);
    const auto encoder = startedEncoder(64, 64);
    const auto decoder = startedDecoder(64, 64);
    for (const int time : {7, 3, -1}) {
        EXPECT_TRUE(encoder->encode(picture.frame(time)));
    }
    for (const int time : {7, 3, -1}) {
        const auto jpeg = encoder->takeEncoded();
        ASSERT_TRUE(jpeg);
        EXPECT_EQ(jpeg->timestamp, time);
        EXPECT_TRUE(jpeg->isKeyPicture);
        EXPECT_TRUE(decoder->decode(jpeg->data.data(), jpeg->data.size(), jpeg->timestamp));
    }
    EXPECT_FALSE(encoder->takeEncoded());
    for (const int time : {7, 3, -1}) {
        const auto decoded = decoder->takeDecoded();
        ASSERT_TRUE(decoded);
        EXPECT_EQ(decoded->timestamp, time);
    }
}

TEST_F(TheSoftwareCodec, LeavesAPictureToTheHostAfterItsDecoderIsGone) {
    const TestPicture picture(64, 64);
    const Bytes jpeg = writeJpeg(picture);
    auto decoder = startedDecoder(64, 64);
    ASSERT_TRUE(decoder->decode(jpeg.data(), jpeg.size(), -1));
    const auto decoded = decoder->takeDecoded();
    decoder.reset();
    EXPECT_GT(likeness(picture, *decoded), good);
}

TEST_F(TheSoftwareCodec, HasNoThirdInstanceUntilOneIsGivenBack) {
    auto first = codecs->createVideoEncoderById(encoderId);
    const auto second = codecs->createVideoEncoder(CodecType::JPEG, false);
    ASSERT_TRUE(first && second);
    EXPECT_FALSE(codecs->isCodecIdAvailable(encoderId));
    EXPECT_FALSE(codecs->createVideoEncoderById(encoderId));
    EXPECT_FALSE(codecs->createVideoEncoder(CodecType::JPEG, false));
    EXPECT_TRUE(codecs->isCodecIdAvailable(decoderId));
    first.reset();
    EXPECT_TRUE(codecs->createVideoEncoderById(encoderId));
}

TEST_F(TheSoftwareCodec, LosesNoInstanceToWhoAsksForTheWrongKind) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(codecs->createVideoEncoderById(decoderId));
        EXPECT_FALSE(codecs->createVideoDecoderById(encoderId));
    }
    const auto encoders = {codecs->createVideoEncoderById(encoderId),
                           codecs->createVideoEncoderById(encoderId)};
    const auto decoders = {codecs->createVideoDecoderById(decoderId),
                           codecs->createVideoDecoderById(decoderId)};
    EXPECT_TRUE(std::all_of(encoders.begin(), encoders.end(), [](auto& each) { return each; }));
    EXPECT_TRUE(std::all_of(decoders.begin(), decoders.end(), [](auto& each) { return each; }));
}

TEST_F(TheSoftwareCodec, WorksOnTwoThreadsAtOnce) {
    const TestPicture picture(160, 120);
    const auto work = [&] {
        for (int i = 0; i < 10; ++i) {
            const Bytes jpeg = encoded(*startedEncoder(160, 120), picture.frame());
            const auto decoder = startedDecoder(160, 120);
            EXPECT_TRUE(decoder->decode(jpeg.data(), jpeg.size(), -1));
            EXPECT_GT(likeness(picture, *decoder->takeDecoded()), 35);
        }
    };
    std::thread other(work);
    work();
    other.join();
}

TEST_F(TheSoftwareCodec, SaysWhatItIsAndWhichPicturesItTakes) {
    const auto info = codecs->getVideoCodecExtendedInfo(encoderId);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->info.id, encoderId);
    EXPECT_EQ(info->sizeRange.min.width, 2);
    EXPECT_EQ(info->sizeRange.max.width, 4096);
    EXPECT_EQ(info->alignment.height, 2);
    EXPECT_EQ(startedDecoder(2, 2)->getExtendedInfo()->info.id, decoderId);
}

TEST_F(TheSoftwareCodec, TakesOnlySidesThatAreEvenAndNotTooLong) {
    struct Case {
        int width, height;
        bool supported;
    };
    // The last two have an area that is small again in 32 bits.
    for (const Case& each :
         {Case{640, 480, true}, Case{2, 2, true}, Case{16384, 1024, true}, Case{640, 479, false},
          Case{639, 480, false}, Case{0, 0, false}, Case{-2, -2, false}, Case{4096, 4098, false},
          Case{65502, 2, false}, Case{65500, 65500, false}, Case{65536, 65536, false}}) {
        SCOPED_TRACE(std::to_string(each.width) + "x" + std::to_string(each.height));
        const auto encoder = codecs->createVideoEncoder(CodecType::JPEG, false);
        const auto decoder = codecs->createVideoDecoder(CodecType::JPEG, false);
        EXPECT_EQ(encoder->start({CodecType::JPEG, each.width, each.height, 0}), each.supported);
        EXPECT_EQ(decoder->start({CodecType::JPEG, each.width, each.height}), each.supported);
        EXPECT_EQ(
            codecs->videoEncoderSupports("", {CodecType::JPEG, each.width, each.height, 0}, false),
            each.supported);
    }
    // The base class takes a stride for the width.
    for (const Nerio::Lumiq::VideoEncoderMetadata& each :
         {Nerio::Lumiq::VideoEncoderMetadata{CodecType::JPEG, -64, 64, 64},
          {CodecType::JPEG, 0, 64, 64},
          {CodecType::JPEG, 640, 480, 64}}) {
        EXPECT_FALSE(codecs->videoEncoderSupports("", each, false)) << each.width;
    }
    EXPECT_TRUE(codecs->videoEncoderSupports("", {CodecType::JPEG, 640, 480, 704}, false));
    EXPECT_FALSE(codecs->videoEncoderSupports("", {CodecType::H264, 640, 480, 0}, false));
    EXPECT_FALSE(codecs->videoDecoderSupports("", {CodecType::JPEG, 640, 480}, true));
    EXPECT_FALSE(codecs->createVideoEncoder(CodecType::H264, false));
    EXPECT_FALSE(codecs->createVideoEncoder(CodecType::JPEG, true));
}

TEST_F(TheSoftwareCodec, RefusesAPictureThatIsNotAsAnnounced) {
    const TestPicture picture(64, 48);
    const auto encoder = codecs->createVideoEncoder(CodecType::JPEG, false);
    EXPECT_FALSE(encoder->encode(picture.frame()));
    ASSERT_TRUE(encoder->start({CodecType::JPEG, 64, 48, 0}));

    EXPECT_FALSE(encoder->encode(TestPicture(62, 48).frame()));
    EXPECT_FALSE(encoder->encode(TestPicture(64, 46).frame()));
    const YCbCrFrame whole = picture.frame();
    std::vector<YCbCrFrame> odd(6, whole);
    odd[0].chromaStep = 2;
    odd[1].y = nullptr;
    odd[2].cb = nullptr;
    odd[3].cr = nullptr;
    odd[4].yStride = 63;
    odd[5].cStride = 31;
    for (const YCbCrFrame& each : odd) {
        EXPECT_FALSE(encoder->encode(each)) << &each - odd.data();
    }
    EXPECT_FALSE(encoder->takeEncoded());
    EXPECT_TRUE(encoder->encode(whole));
}

TEST_F(TheSoftwareCodec, StartsAfreshAndEndsWhenTold) {
    const TestPicture picture(64, 48);
    const auto encoder = codecs->createVideoEncoder(CodecType::JPEG, false);
    EXPECT_FALSE(encoder->requestKeyPicture());
    ASSERT_TRUE(encoder->start({CodecType::JPEG, 64, 48, 0}));
    EXPECT_TRUE(encoder->requestKeyPicture());
    EXPECT_TRUE(encoder->encode(picture.frame()));
    encoder->eos();
    EXPECT_FALSE(encoder->encode(picture.frame()));
    EXPECT_TRUE(encoder->takeEncoded());

    ASSERT_TRUE(encoder->start({CodecType::JPEG, 64, 48, 0}));
    EXPECT_TRUE(encoder->encode(picture.frame()));
    ASSERT_TRUE(encoder->start({CodecType::JPEG, 64, 48, 0}));
    EXPECT_FALSE(encoder->takeEncoded());
    EXPECT_FALSE(encoder->start({CodecType::JPEG, 63, 48, 0}));
    EXPECT_FALSE(encoder->encode(picture.frame()));
}

TEST_F(TheSoftwareCodec, LetsItsQualityBeSetWithinBounds) {
    const TestPicture picture(320, 240);
    const auto encoder = startedEncoder(320, 240);
    EXPECT_EQ(encoder->getParameterRange(quality), "1-100");
    EXPECT_EQ(encoder->getParameter(quality), "90");
    const std::size_t before = encoded(*encoder, picture.frame()).size();
    EXPECT_TRUE(encoder->setParameter(quality, "10"));
    EXPECT_EQ(encoder->getParameter(quality), "10");
    EXPECT_LT(encoded(*encoder, picture.frame()).size() * 2, before);
    for (const char* value : {"0", "101", "-1", "", "best", "99999999999999999999"}) {
        EXPECT_FALSE(encoder->setParameter(quality, value)) << value;
    }
    EXPECT_EQ(encoder->getParameter(quality), "10");
}

TEST_F(TheSoftwareCodec, LetsItsChromaBeChosenFromTwo) {
    const TestPicture picture(64, 64);
    const auto encoder = startedEncoder(64, 64);
    EXPECT_EQ(encoder->getParameterRange(chroma), "4:2:0,grey");
    EXPECT_EQ(encoder->getParameter(chroma), "4:2:0");
    EXPECT_TRUE(encoder->setParameter(chroma, "grey"));
    EXPECT_EQ(readJpeg(encoded(*encoder, picture.frame())).planes.size(), 1U);
    for (const char* value : {"Grey", "grey ", "", "1", "4:2:0,grey"}) {
        EXPECT_FALSE(encoder->setParameter(chroma, value)) << value;
    }
    EXPECT_EQ(encoder->getParameter(chroma), "grey");
    EXPECT_TRUE(encoder->setParameter(chroma, "4:2:0"));
    EXPECT_EQ(readJpeg(encoded(*encoder, picture.frame())).planes.size(), 3U);
}

TEST_F(TheSoftwareCodec, TellsTheLastSizeAndLetsNobodySetIt) {
    const TestPicture picture(64, 64);
    const auto encoder = startedEncoder(64, 64);
    EXPECT_EQ(encoder->getParameter(lastSize), "0");
    const Bytes jpeg = encoded(*encoder, picture.frame());
    EXPECT_EQ(encoder->getParameter(lastSize), std::to_string(jpeg.size()));
    EXPECT_FALSE(encoder->setParameter(lastSize, "1"));
    EXPECT_EQ(encoder->getParameter(lastSize), std::to_string(jpeg.size()));
}

TEST_F(TheSoftwareCodec, KnowsNoOtherSetting) {
    const auto encoder = startedEncoder(64, 64);
    const auto decoder = startedDecoder(64, 64);
    const CodecParameter unknown{99};
    EXPECT_EQ(encoder->getParameterRange(unknown), "");
    EXPECT_EQ(encoder->getParameter(unknown), "");
    EXPECT_FALSE(encoder->setParameter(unknown, "1"));
    EXPECT_EQ(decoder->getParameterRange(quality), "");
    EXPECT_EQ(decoder->getParameter(quality), "");
    EXPECT_FALSE(decoder->setParameter(quality, "1"));
}

}  // namespace
}  // namespace SdkTest
