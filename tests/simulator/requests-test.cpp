// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a simulated camera answers to requests that need no stream, against the kernel's rules.

#include <gtest/gtest.h>

#include <cstring>

#include "camera-handle.h"

namespace SimulatorTest {
namespace {

constexpr const char* manyFormats = R"({"name": "Many", "busInfo": "usb-9", "formats": [
    {"fourcc": "YUYV", "sizes": ["640x480", {"size": "1280x720", "intervals": ["1/10", "1/5"]}],
     "intervals": ["1/30", "1/15"]},
    {"fourcc": "MJPG", "sizes": {"min": "160x120", "max": "320x240", "step": "16x8"},
     "intervals": {"min": "1/60", "max": "1/5", "step": "1/60"}},
    {"fourcc": "UYVY", "sizes": {"min": "160x120", "max": "320x240"},
     "intervals": {"min": "1/60", "max": "1/5"}},
    {"fourcc": "H264", "sizes": ["640x480"], "intervals": []}]})";

class ACamera : public testing::Test {
protected:
    Simulator::SimulatedDevice m_device = makeDevice(manyFormats);
    CameraHandle m_camera{m_device};
};

TEST_F(ACamera, NamesItself) {
    v4l2_capability answer{};
    ASSERT_EQ(m_camera.call(VIDIOC_QUERYCAP, answer), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(answer.driver), "uvcvideo");
    EXPECT_STREQ(reinterpret_cast<const char*>(answer.card), "Many");
    EXPECT_STREQ(reinterpret_cast<const char*>(answer.bus_info), "usb-9");
    EXPECT_EQ(answer.capabilities, m_device.capabilities());
    EXPECT_EQ(answer.device_caps, m_device.deviceCaps());
}

TEST_F(ACamera, ListsItsFormatsInOrder) {
    const char* const codes[] = {"YUYV", "MJPG", "UYVY", "H264"};
    const bool compressed[] = {false, true, false, true};
    for (std::uint32_t i = 0; i < 4; ++i) {
        v4l2_fmtdesc answer{};
        answer.index = i;
        answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FMT, answer), 0);
        EXPECT_EQ(std::memcmp(&answer.pixelformat, codes[i], 4), 0);
        EXPECT_EQ((answer.flags & V4L2_FMT_FLAG_COMPRESSED) != 0, compressed[i]);
    }
    v4l2_fmtdesc answer{};
    answer.index = 4;
    answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FMT, answer), EINVAL);
    answer.index = 0;
    answer.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FMT, answer), EINVAL);
}

TEST_F(ACamera, ListsDiscreteSteppedAndContinuousSizes) {
    v4l2_frmsizeenum answer{};
    answer.pixel_format = Simulator::fourcc("YUYV");
    answer.index = 1;
    ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FRAMESIZES, answer), 0);
    EXPECT_EQ(answer.type, V4L2_FRMSIZE_TYPE_DISCRETE);
    EXPECT_EQ(answer.discrete.width, 1280U);
    EXPECT_EQ(answer.discrete.height, 720U);
    answer.index = 2;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMESIZES, answer), EINVAL);

    answer = {};
    answer.pixel_format = Simulator::fourcc("MJPG");
    ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FRAMESIZES, answer), 0);
    EXPECT_EQ(answer.type, V4L2_FRMSIZE_TYPE_STEPWISE);
    EXPECT_EQ(answer.stepwise.max_width, 320U);
    EXPECT_EQ(answer.stepwise.step_height, 8U);
    answer.index = 1;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMESIZES, answer), EINVAL);

    answer = {};
    answer.pixel_format = Simulator::fourcc("UYVY");
    ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FRAMESIZES, answer), 0);
    EXPECT_EQ(answer.type, V4L2_FRMSIZE_TYPE_CONTINUOUS);
    EXPECT_EQ(answer.stepwise.step_width, 1U);

    answer = {};
    answer.pixel_format = Simulator::fourcc("GREY");
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMESIZES, answer), EINVAL);
}

TEST_F(ACamera, ListsTheIntervalsOfASize) {
    v4l2_frmivalenum answer{};
    answer.pixel_format = Simulator::fourcc("YUYV");
    answer.width = 640;
    answer.height = 480;
    answer.index = 1;
    ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), 0);
    EXPECT_EQ(answer.type, V4L2_FRMIVAL_TYPE_DISCRETE);
    EXPECT_EQ(answer.discrete.numerator, 1U);
    EXPECT_EQ(answer.discrete.denominator, 15U);
    answer.index = 2;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), EINVAL);
    answer.index = 0;
    answer.width = 641;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), EINVAL) << "not a size of it";

    answer.pixel_format = Simulator::fourcc("MJPG");
    answer.width = 176;
    answer.height = 128;
    ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), 0);
    EXPECT_EQ(answer.type, V4L2_FRMIVAL_TYPE_STEPWISE);
    EXPECT_EQ(answer.stepwise.step.denominator, 60U);
    answer.width = 177;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), EINVAL) << "between the steps";

    answer.pixel_format = Simulator::fourcc("UYVY");
    ASSERT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), 0);
    EXPECT_EQ(answer.type, V4L2_FRMIVAL_TYPE_CONTINUOUS);

    answer.pixel_format = Simulator::fourcc("H264");
    answer.width = 640;
    answer.height = 480;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUM_FRAMEINTERVALS, answer), EINVAL) << "none are listed";
}

TEST_F(ACamera, SubstitutesSilentlyWhatItDoesNotHave) {
    ASSERT_EQ(m_camera.setFormat("GREY", 650, 490), 0);
    EXPECT_EQ(m_camera.format().pixelformat, Simulator::fourcc("YUYV"));
    EXPECT_EQ(m_camera.format().width, 640U);
    EXPECT_EQ(m_camera.format().height, 480U);
    EXPECT_EQ(m_camera.format().bytesperline, 1280U);
    EXPECT_EQ(m_camera.format().sizeimage, 614400U);
    EXPECT_EQ(m_camera.format().field, V4L2_FIELD_NONE);

    ASSERT_EQ(m_camera.setFormat("YUYV", 4000, 4000), 0);
    EXPECT_EQ(m_camera.format().width, 1280U);
    ASSERT_EQ(m_camera.setFormat("MJPG", 1, 131), 0);
    EXPECT_EQ(m_camera.format().width, 160U);
    EXPECT_EQ(m_camera.format().height, 128U);
    EXPECT_EQ(m_camera.format().bytesperline, 0U);
    ASSERT_EQ(m_camera.setFormat("UYVY", 201, 121), 0);
    EXPECT_EQ(m_camera.format().width, 201U);
}

TEST_F(ACamera, TriesAFormatWithoutSettingIt) {
    ASSERT_EQ(m_camera.setFormat("YUYV", 640, 480), 0);
    v4l2_format wish{};
    wish.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wish.fmt.pix.pixelformat = Simulator::fourcc("YUYV");
    wish.fmt.pix.width = 1280;
    wish.fmt.pix.height = 720;
    ASSERT_EQ(m_camera.call(VIDIOC_TRY_FMT, wish), 0);
    EXPECT_EQ(wish.fmt.pix.width, 1280U);
    ASSERT_EQ(m_camera.call(VIDIOC_G_FMT, wish), 0);
    EXPECT_EQ(wish.fmt.pix.width, 640U);
    wish.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    EXPECT_EQ(m_camera.call(VIDIOC_G_FMT, wish), EINVAL);
    EXPECT_EQ(m_camera.call(VIDIOC_S_FMT, wish), EINVAL);
}

TEST_F(ACamera, TakesTheNearestIntervalAndForgetsItWithANewFormat) {
    const auto ask = [this](std::uint32_t numerator, std::uint32_t denominator) {
        v4l2_streamparm wish{};
        wish.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        wish.parm.capture.timeperframe = {numerator, denominator};
        EXPECT_EQ(m_camera.call(VIDIOC_S_PARM, wish), 0);
        EXPECT_EQ(wish.parm.capture.capability, static_cast<unsigned>(V4L2_CAP_TIMEPERFRAME));
        return std::pair(wish.parm.capture.timeperframe.numerator,
                         wish.parm.capture.timeperframe.denominator);
    };
    using Pair = std::pair<std::uint32_t, std::uint32_t>;
    ASSERT_EQ(m_camera.setFormat("YUYV", 640, 480), 0);
    EXPECT_EQ(ask(1, 16), Pair(1, 15));
    EXPECT_EQ(ask(0, 1), Pair(1, 30));
    EXPECT_EQ(ask(1, 0), Pair(1, 15)) << "no denominator: the longest";
    ASSERT_EQ(m_camera.setFormat("YUYV", 640, 480), 0);
    v4l2_streamparm now{};
    now.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    ASSERT_EQ(m_camera.call(VIDIOC_G_PARM, now), 0);
    EXPECT_EQ(now.parm.capture.timeperframe.denominator, 30U);
    ASSERT_EQ(m_camera.setFormat("MJPG", 160, 120), 0);
    EXPECT_EQ(ask(1, 29), Pair(1, 30));
    EXPECT_EQ(ask(5, 1), Pair(1, 5));
    ASSERT_EQ(m_camera.setFormat("UYVY", 160, 120), 0);
    EXPECT_EQ(ask(1001, 30000), Pair(1001, 30000));
    EXPECT_EQ(ask(1, 100), Pair(1, 60));
}

TEST(ACameraWithoutTimePerFrame, SaysSoAndTakesNoInterval) {
    const auto device = makeDevice(describedAs("YUYV", "64x48", R"("timePerFrame": false)"));
    const CameraHandle camera(device);
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    ASSERT_EQ(camera.call(VIDIOC_G_PARM, parameters), 0);
    EXPECT_EQ(parameters.parm.capture.capability, 0U);
    EXPECT_EQ(camera.call(VIDIOC_S_PARM, parameters), ENOTTY);
}

TEST_F(ACamera, HasOneInput) {
    v4l2_input input{};
    EXPECT_EQ(m_camera.call(VIDIOC_ENUMINPUT, input), 0);
    EXPECT_EQ(input.type, static_cast<unsigned>(V4L2_INPUT_TYPE_CAMERA));
    input.index = 1;
    EXPECT_EQ(m_camera.call(VIDIOC_ENUMINPUT, input), EINVAL);
    int number = 5;
    EXPECT_EQ(m_camera.call(VIDIOC_G_INPUT, number), 0);
    EXPECT_EQ(number, 0);
    number = 1;
    EXPECT_EQ(m_camera.call(VIDIOC_S_INPUT, number), EINVAL);
}

TEST_F(ACamera, RefusesWhatItDoesNotKnow) {
    v4l2_queryctrl control{};
    EXPECT_EQ(m_camera.call(VIDIOC_QUERYCTRL, control), ENOTTY);
    EXPECT_EQ(ioctl(m_camera.descriptor(), VIDIOC_QUERYCAP, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(ioctl(-1, VIDIOC_QUERYCAP, &control), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(ACamera, LeavesOtherDescriptorsAlone) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    v4l2_capability answer{};
    EXPECT_EQ(ioctl(ends[0], VIDIOC_QUERYCAP, &answer), -1);
    EXPECT_EQ(errno, ENOTTY);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    pollfd polled[] = {{ends[0], POLLIN, 0}, {ends[1], POLLOUT, 0}, {-1, POLLIN, 7}};
    EXPECT_EQ(poll(polled, 3, 1000), 2);
    EXPECT_EQ(polled[0].revents, POLLIN);
    EXPECT_EQ(polled[1].revents, POLLOUT);
    EXPECT_EQ(polled[2].revents, 0);
    EXPECT_EQ(close(ends[0]), 0);
    EXPECT_EQ(close(ends[1]), 0);
    EXPECT_EQ(close(ends[1]), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(ACamera, KeepsPriorities) {
    std::uint32_t priority = V4L2_PRIORITY_RECORD;
    ASSERT_EQ(m_camera.call(VIDIOC_S_PRIORITY, priority), 0);
    CameraHandle other(m_device);
    EXPECT_EQ(other.setFormat("YUYV", 640, 480), EBUSY);
    EXPECT_EQ(other.call(VIDIOC_G_PRIORITY, priority), 0);
    EXPECT_EQ(priority, static_cast<unsigned>(V4L2_PRIORITY_RECORD));
    m_camera.close();
    EXPECT_EQ(other.setFormat("YUYV", 640, 480), 0);
}

}  // namespace
}  // namespace SimulatorTest
