// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a USB camera says of itself, read back as a host reads it, and how a stream is agreed on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/usb/ch9.h>
#include <linux/usb/video.h>

#include "running-camera.h"

namespace UsbCameraTest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using UsbCamera::readLittle;
using UsbCamera::StreamChoice;
using UsbCamera::Transport;
using UsbCamera::UvcVersion;

/// A frame as the descriptors give it: size, default interval, intervals.
struct SeenFrame {
    unsigned width = 0, height = 0;
    std::uint32_t standard = 0;
    std::vector<std::uint32_t> intervals;
    bool range = false;
};
struct SeenFormat {
    std::string code;
    std::vector<SeenFrame> frames;
};

SeenFrame readFrame(const std::uint8_t* from) {
    const bool frameBased = from[2] == UVC_VS_FRAME_FRAME_BASED;
    SeenFrame frame;
    frame.width = readLittle<std::uint16_t>(from + 5);
    frame.height = readLittle<std::uint16_t>(from + 7);
    frame.standard = readLittle<std::uint32_t>(from + (frameBased ? 17 : 21));
    const unsigned count = from[frameBased ? 21 : 25];
    frame.range = count == 0;
    for (unsigned i = 0; i < (count == 0 ? 3 : count); ++i) {
        frame.intervals.push_back(readLittle<std::uint32_t>(from + 26 + 4 * i));
    }
    EXPECT_EQ(from[0], 26 + 4 * frame.intervals.size());
    return frame;
}

/// Walks over a configuration by the lengths of its descriptors; fails when they do not add up.
std::vector<SeenFormat> readFormats(const Bytes& bytes) {
    std::vector<SeenFormat> formats;
    EXPECT_EQ(readLittle<std::uint16_t>(&bytes.at(2)), bytes.size());
    std::size_t at = 0;
    bool streaming = false;
    while (at < bytes.size() && bytes[at] >= 2 && at + bytes[at] <= bytes.size()) {
        const std::uint8_t* const from = &bytes[at];
        if (from[1] == USB_DT_INTERFACE) {
            streaming = from[6] == UVC_SC_VIDEOSTREAMING;
        } else if (streaming && from[1] == USB_DT_CS_INTERFACE) {
            switch (from[2]) {
                case UVC_VS_FORMAT_UNCOMPRESSED:
                case UVC_VS_FORMAT_FRAME_BASED:
                    formats.push_back({std::string(from + 5, from + 9), {}});
                    break;
                case UVC_VS_FORMAT_MJPEG:
                    formats.push_back({"MJPG", {}});
                    break;
                case UVC_VS_FRAME_UNCOMPRESSED:
                case UVC_VS_FRAME_MJPEG:
                case UVC_VS_FRAME_FRAME_BASED:
                    formats.back().frames.push_back(readFrame(from));
                    break;
                default:
                    break;
            }
        }
        at += bytes[at];
    }
    EXPECT_EQ(at, bytes.size());
    return formats;
}

TEST(APluggedCamera, SaysItsNameAndSerialNumber) {
    RunningCamera camera(describedAs("YUYV", R"("busInfo": "usb-7")"));
    KernelEnd kernel = camera.kernel();
    const Bytes device = kernel.descriptor(USB_DT_DEVICE);
    ASSERT_EQ(device.size(), 18U);
    const auto text = [&](std::uint8_t index) {
        const Bytes bytes = kernel.descriptor(USB_DT_STRING, index);
        std::string words;
        for (std::size_t i = 2; i < bytes.size(); i += 2) {
            words += static_cast<char>(bytes[i]);
        }
        return words;
    };
    EXPECT_EQ(text(device[15]), "Test camera");
    EXPECT_EQ(text(device[16]), "usb-7");
    EXPECT_EQ(
        kernel.control({USB_DIR_IN, USB_REQ_GET_DESCRIPTOR, USB_DT_STRING << 8 | 9, 0, 255}).status,
        -EPIPE);
}

TEST(APluggedCamera, DescribesEveryFormatSizeAndInterval) {
    RunningCamera camera(R"({"name": "Test camera", "intervals": ["1/30", "1/15"], "formats": [
        {"fourcc": "YUYV", "sizes": ["640x480", "320x240"]},
        {"fourcc": "YU12", "sizes": ["320x240"], "intervals": []},
        {"fourcc": "MJPG", "sizes": ["1280x720"], "intervals": ["1/10", "1/60"]},
        {"fourcc": "H264", "sizes": ["640x360"],
         "intervals": {"min": "1/50", "max": "1/5", "step": "1/100"}},
        {"fourcc": "NV12", "sizes": ["640x360"], "intervals": {"min": "1/50", "max": "1/5"}}]})");
    KernelEnd kernel = camera.kernel();
    const auto formats = readFormats(kernel.descriptor(USB_DT_CONFIG));
    ASSERT_EQ(formats.size(), 5U);
    EXPECT_EQ(formats[0].code, "YUY2");
    ASSERT_EQ(formats[0].frames.size(), 2U);
    EXPECT_EQ(formats[0].frames[1].width, 320U);
    EXPECT_EQ(formats[0].frames[1].height, 240U);
    EXPECT_THAT(formats[0].frames[1].intervals, ElementsAre(333333, 666666));
    EXPECT_EQ(formats[1].code, "I420");
    EXPECT_THAT(formats[1].frames.at(0).intervals, ElementsAre(333333));
    EXPECT_EQ(formats[2].code, "MJPG");
    EXPECT_THAT(formats[2].frames.at(0).intervals, ElementsAre(166666, 1000000));
    EXPECT_EQ(formats[2].frames.at(0).standard, 1000000U) << "the first one of the description";
    EXPECT_EQ(formats[3].code, "H264");
    EXPECT_TRUE(formats[3].frames.at(0).range);
    EXPECT_THAT(formats[3].frames.at(0).intervals, ElementsAre(200000, 2000000, 100000));
    EXPECT_THAT(formats[4].frames.at(0).intervals, ElementsAre(200000, 2000000, 1));
}

TEST(APluggedCamera, HasOneAlternateSettingForEachPacketSize) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    const Bytes bytes = kernel.descriptor(USB_DT_CONFIG);
    std::vector<unsigned> packets;
    for (std::size_t at = 0; at < bytes.size(); at += bytes[at]) {
        if (bytes[at + 1] == USB_DT_ENDPOINT) {
            const auto field = readLittle<std::uint16_t>(&bytes[at + 4]);
            packets.push_back((field & 0x7ffU) * (1 + (field >> 11)));
        }
    }
    EXPECT_THAT(packets, ElementsAre(512, 1024, 2048, 3072));
    EXPECT_TRUE(kernel.selectAlternate(4));
    EXPECT_FALSE(kernel.selectAlternate(5));
    EXPECT_THAT(
        kernel.control({USB_DIR_IN | USB_RECIP_INTERFACE, USB_REQ_GET_INTERFACE, 0, 1, 1}).data,
        ElementsAre(4));
}

TEST(ANegotiation, AnswersWithTheNearestThereIs) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    const Bytes answer = kernel.agree({9, 9, 60000});
    ASSERT_EQ(answer.size(), 34U);
    EXPECT_EQ(answer[2], 1);
    EXPECT_EQ(answer[3], 2);
    EXPECT_EQ(readLittle<std::uint32_t>(&answer[4]), 50000U);
    EXPECT_EQ(readLittle<std::uint32_t>(&answer[18]), 640U * 480 * 2);
    EXPECT_EQ(readLittle<std::uint32_t>(&answer[22]), 3072U);
}

TEST(ANegotiation, RoundsToAStepOfARange) {
    RunningCamera camera(R"({"name": "n", "formats": [{"fourcc": "YUYV", "sizes": ["320x240"],
        "intervals": {"min": "1/50", "max": "1/5", "step": "1/100"}}]})");
    KernelEnd kernel = camera.kernel();
    const auto interval = [&](std::uint32_t wish) {
        return readLittle<std::uint32_t>(&kernel.agree({1, 1, wish}).at(4));
    };
    EXPECT_EQ(interval(1), 200000U);
    EXPECT_EQ(interval(349999), 300000U);
    EXPECT_EQ(interval(350000), 400000U);
    EXPECT_EQ(interval(4000000000), 2000000U);
}

TEST(ANegotiation, KnowsItsBoundsAndItsLength) {
    RunningCamera camera(describedAs("MJPG"), Transport::Bulk, UvcVersion::v1_5);
    KernelEnd kernel = camera.kernel();
    const auto get = [&](std::uint8_t request) {
        return kernel.control({USB_DIR_IN | USB_TYPE_CLASS | USB_RECIP_INTERFACE, request,
                               UVC_VS_PROBE_CONTROL << 8, UsbCamera::streamingInterface, 48});
    };
    EXPECT_THAT(get(UVC_GET_LEN).data, ElementsAre(48, 0));
    EXPECT_THAT(get(UVC_GET_INFO).data, ElementsAre(3));
    EXPECT_EQ(readLittle<std::uint32_t>(&get(UVC_GET_MIN).data.at(4)), 50000U);
    EXPECT_EQ(readLittle<std::uint32_t>(&get(UVC_GET_MAX).data.at(4)), 100000U);
    EXPECT_EQ(readLittle<std::uint32_t>(&get(UVC_GET_DEF).data.at(4)), 50000U);
    EXPECT_EQ(get(UVC_GET_CUR).data.size(), 48U);
    EXPECT_EQ(get(UVC_GET_RES).status, -EPIPE);
    EXPECT_EQ(kernel.agree({1, 1, 0}, 48).size(), 48U);
}

TEST(ANegotiation, NamesTheVersionsOfItsPayloads) {
    RunningCamera camera(describedAs("YUYV"));
    KernelEnd kernel = camera.kernel();
    const Bytes answer = kernel.agree({1, 1, 0});
    ASSERT_EQ(answer.size(), 34U);
    EXPECT_EQ(answer[30], 3) << "only with this do the versions mean anything";
    EXPECT_THAT(Bytes(answer.begin() + 31, answer.end()), ElementsAre(1, 1, 1));
}

class ARefusedRequest : public testing::Test {
protected:
    std::uint8_t errorCode() {
        return m_kernel
            .control({USB_DIR_IN | USB_TYPE_CLASS | USB_RECIP_INTERFACE, UVC_GET_CUR,
                      UVC_VC_REQUEST_ERROR_CODE_CONTROL << 8, UsbCamera::controlInterface, 1})
            .data.at(0);
    }
    /// Asks for a control of the camera's terminal, which has none.
    void askInVain() {
        EXPECT_EQ(m_kernel
                      .control({USB_DIR_IN | USB_TYPE_CLASS | USB_RECIP_INTERFACE, UVC_GET_CUR,
                                UVC_CT_AE_MODE_CONTROL << 8, 1 << 8, 1})
                      .status,
                  -EPIPE);
    }

    RunningCamera m_camera{describedAs("YUYV")};
    KernelEnd m_kernel = m_camera.kernel();
};

TEST_F(ARefusedRequest, IsExplainedByTheErrorCodeUntilAnotherIsAnswered) {
    EXPECT_EQ(errorCode(), 0);
    askInVain();
    EXPECT_EQ(errorCode(), 5);
    EXPECT_EQ(errorCode(), 0) << "asking for it is a request as well";
    askInVain();
    EXPECT_EQ(m_kernel.descriptor(USB_DT_DEVICE).size(), 18U);
    EXPECT_EQ(errorCode(), 0);
}

TEST_F(ARefusedRequest, IsAProposalThatIsTooShort) {
    const auto propose = [this](std::size_t bytes) {
        return m_kernel
            .control({USB_DIR_OUT | USB_TYPE_CLASS | USB_RECIP_INTERFACE, UVC_SET_CUR,
                      UVC_VS_PROBE_CONTROL << 8, UsbCamera::streamingInterface,
                      static_cast<std::uint16_t>(bytes)},
                     Bytes(bytes, 1))
            .status;
    };
    EXPECT_EQ(propose(25), -EPIPE);
    EXPECT_EQ(errorCode(), 7);
    EXPECT_EQ(propose(26), 0);
}

TEST_F(ARefusedRequest, IsTakenAgainWhenTheRefusalsAreUsedUp) {
    RunningCamera& camera = m_camera;
    KernelEnd& kernel = m_kernel;
    EXPECT_EQ(camera.tell("refuse commit"), "ok");
    EXPECT_TRUE(kernel.agree({1, 1, 0}).empty());
    EXPECT_EQ(errorCode(), 2);
    EXPECT_FALSE(kernel.agree({1, 1, 0}).empty());
    EXPECT_EQ(camera.tell("refuse interface 2"), "ok");
    EXPECT_FALSE(kernel.selectAlternate(1));
    EXPECT_FALSE(kernel.selectAlternate(1));
    EXPECT_TRUE(kernel.selectAlternate(1));
}

std::string complaint(const std::string& json) {
    try {
        UsbCamera::uvcFormats(Simulator::parseDescription(json));
    } catch (const Simulator::DescriptionError& error) {
        return error.what();
    }
    return "none";
}

TEST(ADescription, IsRefusedWhereUsbHasNoWordsForIt) {
    EXPECT_THAT(complaint(describedAs("JPEG")), HasSubstr("JPEG has no identifier"));
    EXPECT_THAT(complaint(R"({"name": "n", "formats": [{"fourcc": "YUYV",
                                "sizes": {"min": "160x120", "max": "640x480"}}]})"),
                HasSubstr("one by one"));
    EXPECT_EQ(complaint(describedAs("H264")), "none");
}

}  // namespace
}  // namespace UsbCameraTest
