// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Frames from a USB camera, put together from what it sends, in every format and both ways of
// streaming.

#include <gtest/gtest.h>
#include <linux/usb/ch9.h>

#include "frame-number.h"
#include "running-camera.h"

namespace UsbCameraTest {
namespace {

using UsbCamera::Transport;

constexpr std::uint32_t isoPacket = 3072;

std::optional<std::uint32_t> numberOf(const Bytes& frame, const std::string& code) {
    constexpr std::size_t width = 320, height = 240;
    if (code == "H264") {
        return Simulator::readOpaqueFrameNumber(frame.data(), frame.size());
    }
    if (code == "YUYV" || code == "UYVY") {
        if (frame.size() != 2 * width * height) {
            return std::nullopt;
        }
        return Simulator::readFrameNumber(&frame[code == "UYVY" ? 1 : 0], 2 * width, width, height,
                                          2);
    }
    if (frame.size() != width * height * 3 / 2) {
        return std::nullopt;
    }
    return Simulator::readFrameNumber(frame.data(), width, width, height);
}

void startStream(KernelEnd& kernel, Transport transport) {
    ASSERT_FALSE(kernel.agree({1, 1, 0}).empty());
    if (transport == Transport::Bulk) {
        kernel.streamBulk(UsbCamera::bulkPayload);
    } else {
        ASSERT_TRUE(kernel.selectAlternate(4));
        kernel.streamIso(isoPacket);
    }
}

void stopStream(KernelEnd& kernel, Transport transport) {
    kernel.unlinkAll();
    EXPECT_TRUE(transport == Transport::Bulk ? kernel.clearHalt() : kernel.selectAlternate(0));
}

struct Way {
    const char* code;
    Transport transport;
};

void PrintTo(const Way& way, std::ostream* out) {
    *out << way.code << (way.transport == Transport::Bulk ? " in bulk" : "");
}

class AStream : public testing::TestWithParam<Way> {};

TEST_P(AStream, BringsEveryFrameWithItsNumber) {
    const Way way = GetParam();
    RunningCamera camera(describedAs(way.code), way.transport);
    KernelEnd kernel = camera.kernel();
    startStream(kernel, way.transport);
    for (std::uint32_t number = 0; number < 12; ++number) {
        const auto frame = kernel.nextFrame();
        ASSERT_TRUE(frame);
        EXPECT_FALSE(frame->flawed);
        EXPECT_EQ(frame->sequence, number);
        EXPECT_EQ(numberOf(frame->bytes, way.code), number);
    }
}

TEST_P(AStream, BeginsAnewAfterItWasStopped) {
    const Way way = GetParam();
    RunningCamera camera(describedAs(way.code), way.transport);
    KernelEnd kernel = camera.kernel();
    for (int round = 0; round < 3; ++round) {
        startStream(kernel, way.transport);
        const auto frame = kernel.nextFrame();
        ASSERT_TRUE(frame);
        EXPECT_EQ(numberOf(frame->bytes, way.code), 0U);
        stopStream(kernel, way.transport);
        EXPECT_EQ(camera.tell("status"), "plugged port=test");
    }
}

INSTANTIATE_TEST_SUITE_P(
    InEveryFormat, AStream,
    testing::Values(Way{"YUYV", Transport::Isochronous}, Way{"UYVY", Transport::Isochronous},
                    Way{"NV12", Transport::Isochronous}, Way{"YU12", Transport::Isochronous},
                    Way{"H264", Transport::Isochronous}, Way{"YUYV", Transport::Bulk},
                    Way{"NV12", Transport::Bulk}, Way{"H264", Transport::Bulk}),
    [](const auto& way) {
        return std::string(way.param.code) +
               (way.param.transport == Transport::Bulk ? "InBulk" : "");
    });

TEST(AJpegStream, BringsWholePicturesThatDiffer) {
    RunningCamera camera(describedAs("MJPG"));
    KernelEnd kernel = camera.kernel();
    startStream(kernel, Transport::Isochronous);
    Bytes before;
    for (int i = 0; i < 4; ++i) {
        const auto frame = kernel.nextFrame();
        ASSERT_TRUE(frame);
        ASSERT_GT(frame->bytes.size(), 1000U);
        EXPECT_EQ(frame->bytes[0], 0xff);
        EXPECT_EQ(frame->bytes[1], 0xd8);
        EXPECT_EQ(frame->bytes.end()[-2], 0xff);
        EXPECT_EQ(frame->bytes.end()[-1], 0xd9);
        EXPECT_NE(frame->bytes, before);
        before = frame->bytes;
    }
}

TEST(AnAgreedStream, SaysWhatItSends) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    EXPECT_EQ(camera.tell("status"), "plugged port=test");
    ASSERT_FALSE(kernel.agree({1, 2, 0}).empty());
    ASSERT_TRUE(kernel.selectAlternate(4));
    EXPECT_EQ(camera.tell("status"), "plugged port=test streaming=YUYV,640x480");
}

/// The fastest there is would bring sixteen frames of this length in the time of one.
TEST(AnAgreedStream, KeepsThePaceThatWasAgreedOn) {
    RunningCamera camera(R"({"name": "n", "formats": [
        {"fourcc": "YUYV", "sizes": ["160x120"], "intervals": ["1/50"]}]})");
    KernelEnd kernel = camera.kernel();
    const auto begin = std::chrono::steady_clock::now();
    startStream(kernel, Transport::Isochronous);
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(kernel.nextFrame());
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(200));
}

TEST(ATransfer, TooSmallForAPayloadEndsItEarly) {
    RunningCamera camera(describedAs("YUYV"), Transport::Bulk);
    KernelEnd kernel = camera.kernel();
    startStream(kernel, Transport::Bulk);
    kernel.streamBulk(1000);
    const auto frame = kernel.nextFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(numberOf(frame->bytes, "YUYV"), 0U);
}

TEST(ATransfer, ThatWaitsIsTakenBackAndNeverAnswered) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    ASSERT_FALSE(kernel.agree({1, 1, 0}).empty());
    ASSERT_EQ(camera.tell("stall"), "ok");
    ASSERT_TRUE(kernel.selectAlternate(4));
    const std::uint32_t first = kernel.submitIso(8, isoPacket);
    const std::uint32_t second = kernel.submitIso(8, isoPacket);
    EXPECT_EQ(kernel.unlink(first), -ECONNRESET);
    ASSERT_EQ(camera.tell("resume"), "ok");
    const auto reply = kernel.next();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->sequence, second);
    EXPECT_EQ(kernel.unlink(second), 0) << "it has been answered";
}

TEST(ATransfer, ThatComesAfterItsUnlinkIsTakenBackToo) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    ASSERT_FALSE(kernel.agree({1, 1, 0}).empty());
    const std::uint32_t first = kernel.submitIso(8, isoPacket);
    UsbCamera::UsbipRequest unlink;
    unlink.kind = UsbCamera::UsbipRequest::Kind::Unlink;
    unlink.sequence = first + 1000;
    unlink.unlinked = first + 1;
    const UsbCamera::UsbipHeader bytes = encode(unlink);
    kernel.sendRaw({bytes.begin(), bytes.end()});
    ASSERT_EQ(kernel.submitIso(8, isoPacket), unlink.unlinked);
    const auto taken = kernel.next();
    ASSERT_TRUE(taken && taken->toUnlink);
    EXPECT_EQ(taken->sequence, unlink.sequence);
    EXPECT_EQ(taken->status, -ECONNRESET);
    const std::uint32_t third = kernel.submitIso(8, isoPacket);
    ASSERT_TRUE(kernel.selectAlternate(4));
    for (const std::uint32_t expected : {first, third}) {
        const auto reply = kernel.next();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->sequence, expected) << "what was taken back is never answered";
    }
}

TEST(ATransfer, ToTheCameraItselfThatComesAfterItsUnlinkIsNeitherAnsweredNorCarriedOut) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    ASSERT_FALSE(kernel.agree({1, 1, 0}).empty());
    UsbCamera::UsbipRequest start;
    start.sequence = 9000;
    start.setup = {USB_RECIP_INTERFACE, USB_REQ_SET_INTERFACE, 4, UsbCamera::streamingInterface, 0};
    UsbCamera::UsbipRequest unlink;
    unlink.kind = UsbCamera::UsbipRequest::Kind::Unlink;
    unlink.sequence = 9001;
    unlink.unlinked = start.sequence;
    for (const auto& request : {unlink, start}) {
        const UsbCamera::UsbipHeader bytes = encode(request);
        kernel.sendRaw({bytes.begin(), bytes.end()});
    }
    const auto taken = kernel.next();
    ASSERT_TRUE(taken && taken->toUnlink);
    EXPECT_EQ(taken->sequence, unlink.sequence);
    EXPECT_EQ(taken->status, -ECONNRESET);
    const std::uint32_t waiting = kernel.submitIso(8, isoPacket);
    EXPECT_EQ(kernel.unlink(waiting), -ECONNRESET) << "there is no stream";
}

TEST(ATransfer, WithoutAStreamWaits) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    const std::uint32_t sequence = kernel.submitIso(8, isoPacket);
    EXPECT_EQ(kernel.descriptor(USB_DT_DEVICE).size(), 18U);
    EXPECT_EQ(kernel.unlink(sequence), -ECONNRESET);
}

}  // namespace
}  // namespace UsbCameraTest
