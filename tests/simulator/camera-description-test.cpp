// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Descriptions and faults: what is read, and what is said about what cannot be.

#include "camera-description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "simulated-device.h"

namespace Simulator {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::string complaintAbout(const std::string& json) {
    try {
        parseDescription(json);
    } catch (const DescriptionError& error) {
        return error.what();
    }
    return "nothing to complain about";
}

std::string complaintAboutFault(const std::string& json) {
    try {
        parseFault(json);
    } catch (const DescriptionError& error) {
        return error.what();
    }
    return "nothing to complain about";
}

std::string withFormats(const std::string& formats) {
    return R"({"name": "x", "formats": )" + formats + "}";
}

TEST(ADescription, NeedsOnlyANameAndAFormat) {
    const CameraDescription camera =
        parseDescription(withFormats(R"([{"fourcc": "YUYV", "sizes": ["640x480"]}])"));
    EXPECT_EQ(camera.name, "x");
    EXPECT_EQ(camera.capabilities, 0x84a00001U);
    EXPECT_EQ(camera.deviceCaps, 0x04200001U);
    ASSERT_EQ(camera.formats.size(), 1U);
    EXPECT_EQ(camera.formats[0].fourcc, 0x56595559U);
    ASSERT_EQ(camera.formats[0].sizes.size(), 1U);
    EXPECT_EQ(camera.formats[0].sizes[0].width, 640U);
    EXPECT_EQ(camera.formats[0].sizes[0].height, 480U);
    EXPECT_EQ(camera.formats[0].sizes[0].intervals.discrete, std::vector<Interval>({{1, 30}}));
    EXPECT_FALSE(camera.buffers.has_value());
    EXPECT_TRUE(camera.timePerFrame);
}

TEST(ADescription, ReadsEveryMember) {
    const CameraDescription camera = parseDescription(R"(// comments are allowed
        {"name": "Front door", "busInfo": "usb-7", "capabilities": "0x85200001", "deviceCaps": 5,
         "timePerFrame": false, "buffers": 8,
         "picture": {"cycle": 4, "jpegQuality": 50, "grey": true},
         "intervals": ["1/15"],
         "formats": [
           {"fourcc": "MJPG", "sizes": ["640x480", {"size": "1280x720", "intervals": ["1/10"]}]},
           {"fourcc": "NV12", "sizes": {"min": "160x120", "max": "320x240", "step": "16x8"},
            "intervals": {"min": "1/60", "max": "1/5", "step": "1/60"}},
           {"fourcc": "UYVY", "sizes": {"min": "160x120", "max": "320x240"},
            "intervals": {"min": "1/60", "max": "1/5"}},
           {"fourcc": "H264", "sizes": ["1920x1080"], "intervals": []}],
         "faults": [{"frame": "error", "first": 3, "every": 2, "count": "always"}]})");
    EXPECT_EQ(camera.busInfo, "usb-7");
    EXPECT_EQ(camera.capabilities, 0x85200001U);
    EXPECT_EQ(camera.deviceCaps, 5U);
    EXPECT_FALSE(camera.timePerFrame);
    EXPECT_EQ(camera.buffers, 8U);
    EXPECT_EQ(camera.picture.cycle, 4U);
    EXPECT_EQ(camera.picture.jpegQuality, 50);
    EXPECT_TRUE(camera.picture.grey);
    EXPECT_EQ(camera.formats[0].sizes[0].intervals.discrete, std::vector<Interval>({{1, 15}}));
    EXPECT_EQ(camera.formats[0].sizes[1].intervals.discrete, std::vector<Interval>({{1, 10}}));
    EXPECT_FALSE(camera.formats[1].range->continuous);
    EXPECT_EQ(camera.formats[1].range->stepWidth, 16U);
    EXPECT_EQ(camera.formats[1].range->intervals.kind, Intervals::Kind::Stepwise);
    EXPECT_TRUE(camera.formats[2].range->continuous);
    EXPECT_EQ(camera.formats[2].range->intervals.kind, Intervals::Kind::Continuous);
    EXPECT_EQ(camera.formats[3].sizes[0].intervals.kind, Intervals::Kind::None);
    EXPECT_EQ(camera.faults, std::vector<Fault>({{FaultKind::ErrorFrame, eventFrame, 0, 3, 2, 0}}));
}

TEST(ADescription, SaysWhereItIsWrongAndWhatIsAllowed) {
    const std::string good = R"([{"fourcc": "YUYV", "sizes": ["640x480"]}])";
    EXPECT_THAT(complaintAbout("{"), HasSubstr("not a JSON text"));
    EXPECT_THAT(complaintAbout("[]"), HasSubstr("/: an object is needed"));
    EXPECT_THAT(complaintAbout(R"({"formats": )" + good + "}"),
                HasSubstr("/: \"name\" is missing"));
    EXPECT_THAT(complaintAbout(R"({"name": "", "formats": )" + good + "}"),
                HasSubstr("/name: a string of 1 to 31 bytes"));
    EXPECT_THAT(complaintAbout(R"({"name": "x", "nmae": 1, "formats": )" + good + "}"),
                AllOf(HasSubstr("/: \"nmae\" is not known"), HasSubstr("\"busInfo\"")));
    EXPECT_THAT(complaintAbout(R"({"name": "x", "buffers": 33, "formats": )" + good + "}"),
                HasSubstr("/buffers: a whole number from 0 to 32"));
    EXPECT_THAT(complaintAbout(R"({"name": "x", "buffers": -1, "formats": )" + good + "}"),
                HasSubstr("/buffers: a whole number"));
    EXPECT_THAT(complaintAbout(R"({"name": "x", "deviceCaps": "5g", "formats": )" + good + "}"),
                HasSubstr("/deviceCaps: \"5g\" is not a 32-bit word"));
    EXPECT_THAT(complaintAbout(R"({"name": "x", "timePerFrame": 1, "formats": )" + good + "}"),
                HasSubstr("/timePerFrame: true or false"));
}

TEST(ADescription, SaysWhatIsWrongWithAFormat) {
    EXPECT_THAT(complaintAbout(withFormats("[]")), HasSubstr("/formats: an array of 1 to"));
    EXPECT_THAT(complaintAbout(withFormats(R"([{"fourcc": "YUY", "sizes": ["1x1"]}])")),
                HasSubstr("/formats/0/fourcc: \"YUY\" is not a four-character code"));
    EXPECT_THAT(complaintAbout(withFormats(R"([{"fourcc": "YUYV", "sizes": ["640*480"]}])")),
                HasSubstr("/formats/0/sizes/0: \"640*480\" is not a size; write WIDTHxHEIGHT"));
    EXPECT_THAT(complaintAbout(withFormats(R"([{"fourcc": "YUYV", "sizes": ["0x480"]}])")),
                HasSubstr("is not a size"));
    EXPECT_THAT(complaintAbout(withFormats(R"([{"fourcc": "YUYV", "sizes": ["4294967297x1"]}])")),
                HasSubstr("is not a size"));
    EXPECT_THAT(
        complaintAbout(withFormats(
            R"([{"fourcc": "YUYV", "sizes": ["8x8"]}, {"fourcc": "YUYV", "sizes": ["8x8"]}])")),
        HasSubstr("/formats/1: this four-character code was there before"));
    EXPECT_THAT(complaintAbout(
                    withFormats(R"([{"fourcc": "YUYV", "sizes": {"min": "8x8", "max": "4x9"}}])")),
                HasSubstr("/formats/0/sizes: \"min\" is larger than \"max\""));
    EXPECT_THAT(
        complaintAbout(withFormats(
            R"([{"fourcc": "YUYV", "sizes": {"min": "8x8", "max": "20x20", "step": "5x4"}}])")),
        HasSubstr("cannot be reached from \"min\" in whole steps"));
}

TEST(ADescription, SaysWhatIsWrongWithAnInterval) {
    const auto with = [](const std::string& intervals) {
        return withFormats(R"([{"fourcc": "YUYV", "sizes": ["8x8"], "intervals": )" + intervals +
                           "}]");
    };
    EXPECT_THAT(complaintAbout(with(R"(["30"])")),
                HasSubstr("/formats/0/intervals/0: \"30\" is not a frame interval"));
    EXPECT_THAT(complaintAbout(with(R"(["1/0"])")), HasSubstr("is not a frame interval"));
    EXPECT_THAT(complaintAbout(with(R"({"min": "1/5", "max": "1/60"})")),
                HasSubstr("\"min\" is longer than \"max\""));
}

TEST(ADescription, IsNamedWithItsFile) {
    const std::string path = testing::TempDir() + "broken-description.json";
    std::ofstream(path) << R"({"name": 5})";
    try {
        loadDescription(path);
        FAIL() << "a broken description was read";
    } catch (const DescriptionError& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr(path), HasSubstr("/name")));
    }
    std::filesystem::remove(path);
    EXPECT_THROW(loadDescription(path), DescriptionError);
}

TEST(EveryReadyMadeDescription, MakesADevice) {
    std::size_t found = 0;
    for (const auto& file : std::filesystem::directory_iterator(LUMIQ_CAMERAS)) {
        SCOPED_TRACE(file.path());
        const SimulatedDevice device(loadDescription(file.path()));
        EXPECT_FALSE(device.name().empty());
        EXPECT_EQ(device.capabilities(), 0x84a00001U);
        ++found;
    }
    EXPECT_GE(found, 7U);
}

TEST(AFault, IsReadWholly) {
    EXPECT_EQ(parseFault(R"({"call": "VIDIOC_QBUF", "errno": "EIO", "first": 3, "count": 2})"),
              (Fault{FaultKind::CallErrno, 0xc058560fU, 5, 3, 1, 2}));
    EXPECT_EQ(parseFault(R"({"call": "mmap", "errno": "ENOMEM"})"),
              (Fault{FaultKind::CallErrno, eventMmap, 12, 1, 1, 1}));
    EXPECT_EQ(parseFault(R"({"call": "poll", "revents": ["POLLERR", "POLLHUP"]})"),
              (Fault{FaultKind::PollEvents, eventPoll, 0x18, 1, 1, 1}));
    EXPECT_EQ(parseFault(R"({"frame": "stall", "milliseconds": 500, "every": 7})"),
              (Fault{FaultKind::Stall, eventFrame, 500, 1, 7, 1}));
    EXPECT_EQ(parseFault(R"({"call": "VIDIOC_REQBUFS", "granted": 2})").value, 2U);
    EXPECT_EQ(parseFault(R"({"call": "VIDIOC_DQBUF", "index": 40})").kind, FaultKind::DequeueIndex);
}

TEST(AFault, SaysWhatIsWrongWithIt) {
    EXPECT_THAT(complaintAboutFault("{}"), HasSubstr("either \"call\" or \"frame\""));
    EXPECT_THAT(complaintAboutFault(R"({"call": "VIDIOC_NONE", "errno": "EIO"})"),
                HasSubstr("/call: \"VIDIOC_NONE\" is not a call that can fail"));
    EXPECT_THAT(complaintAboutFault(R"({"call": "poll", "errno": "EWRONG"})"),
                HasSubstr("/errno: \"EWRONG\" is not the name of an errno"));
    EXPECT_THAT(complaintAboutFault(R"({"call": "poll"})"), HasSubstr("exactly one of"));
    EXPECT_THAT(complaintAboutFault(R"({"call": "mmap", "revents": ["POLLERR"]})"),
                HasSubstr("does not go with this call"));
    EXPECT_THAT(complaintAboutFault(R"({"frame": "ugly"})"),
                HasSubstr("/frame: \"ugly\" is not a fault of frames"));
    EXPECT_THAT(complaintAboutFault(R"({"frame": "lost", "milliseconds": 5})"),
                HasSubstr("only \"stall\" takes a time"));
    EXPECT_THAT(complaintAboutFault(R"({"frame": "lost", "count": "often"})"),
                HasSubstr("/count: a whole number from 1 or \"always\""));
    EXPECT_THAT(complaintAboutFault(R"({"frame": "lost", "first": 0})"), HasSubstr("/first"));
    EXPECT_THAT(complaintAboutFault(R"({"frame": "lost", "errno": "EIO"})"),
                HasSubstr("a fault of frames takes only"));
}

TEST(AFault, StrikesTheEventsItCounts) {
    const auto struck = [](const Fault& fault) {
        std::vector<unsigned> events;
        for (unsigned n = 1; n <= 12; ++n) {
            if (strikes(fault, n)) {
                events.push_back(n);
            }
        }
        return events;
    };
    EXPECT_EQ(struck({FaultKind::Unplug, 0, 0, 1, 1, 1}), std::vector<unsigned>({1}));
    EXPECT_EQ(struck({FaultKind::Unplug, 0, 0, 3, 1, 2}), std::vector<unsigned>({3, 4}));
    EXPECT_EQ(struck({FaultKind::Unplug, 0, 0, 2, 5, 0}), std::vector<unsigned>({2, 7, 12}));
    EXPECT_EQ(struck({FaultKind::Unplug, 0, 0, 2, 5, 2}), std::vector<unsigned>({2, 7}));
}

}  // namespace
}  // namespace Simulator
