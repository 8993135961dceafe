// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which of the back end's lines the machine's log gets at which priority: what fails is an error,
// everything else is for those who debug.

#include <gmock/gmock.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iostream>

#include "capture-fixture.h"
#include "recorded-syslog.h"

namespace {

using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::syslogRecords;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::StartsWith;
using TestSupport::CaptureFixture;
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

std::string camera(const std::string& code, const std::string& fault = "") {
    return R"({"name": "Levels", "intervals": ["1/100"], "formats": [{"fourcc": ")" + code +
           R"(", "sizes": ["640x480"]}], "faults": [)" + fault + "]}";
}

class TheLog : public CaptureFixture {
protected:
    RecordingCameraListener listener;
    std::shared_ptr<Nerio::Lumiq::Camera> opened;

    ~TheLog() override {
        if (opened) {
            opened->stopCapture();
            opened->setListener(nullptr);
        }
        if (m_before != nullptr) {
            std::clog.rdbuf(m_before);
            // The bus thread logs again; with this line it is told of the change.
            (void)manager.getSupportedFormats(path(onlyCamera));
        }
    }

    /// From now on std::clog writes to syslog.
    void switchOver(bool debug = true) {
        ::unsetenv("LUMIQ_NO_SYSLOG");
        debug ? ::setenv("LUMIQ_DEBUG", "1", 1) : ::unsetenv("LUMIQ_DEBUG");
        Nerio::Lumiq::forgetSyslog();
        m_before = std::clog.rdbuf();
        const auto logInit =
            reinterpret_cast<void (*)()>(library.symbol("_ZN5Nerio5Lumiq7LogInitEv"));
        ASSERT_NE(logInit, nullptr);
        logInit();
        ASSERT_NE(std::clog.rdbuf(), m_before);
    }

    /// The texts behind " -- " of the lines of one priority.
    static std::vector<std::string> lines(int priority) {
        std::vector<std::string> texts;
        for (const auto& record : syslogRecords()) {
            if (record.priority == priority) {
                EXPECT_THAT(record.text, StartsWith("[lumiq-v4l2-camera] "));
                const std::string text = record.text.substr(record.text.find(" -- ") + 4);
                texts.push_back(text.substr(0, text.find('\n')));
            }
        }
        return texts;
    }

    static std::size_t linesOfOtherPriorities() {
        const auto records = syslogRecords();
        return static_cast<std::size_t>(
            std::count_if(records.begin(), records.end(), [](const auto& record) {
                return record.priority != LOG_ERR && record.priority != LOG_DEBUG;
            }));
    }

    bool start(PixelFormat format) {
        opened->setListener(&listener);
        return opened->startCapture(vga, format);
    }

private:
    std::streambuf* m_before = nullptr;
};

TEST_F(TheLog, OfACaptureThatSucceedsIsForDebuggingOnly) {
    std::atomic<pid_t> thread{0};
    listener.onFrame = [&](const auto& buffer) {
        (void)buffer->mapYCbCr();
        thread = ::gettid();
    };
    opened = plugAndOpen(camera("YUYV", R"({"frame": "stall", "first": 2})"));
    switchOver();
    ASSERT_TRUE(start(PixelFormat::YUV420Planar));
    ASSERT_TRUE(listener.waitForFrames(1));
    ASSERT_TRUE(TestSupport::waitUntil([&] { return TestSupport::isAsleep(thread); }));
    opened->stopCapture();
    const auto debug = lines(LOG_DEBUG);
    for (const char* line :
         {"Directly supported format: YUYV", "Format supported directly: YUYV",
          "Format supported with converting: YUV420Planar", "Desired format: YUV420Planar",
          "Selected format: YUYV", "Selected size: 640x480", "Converting with libyuv::YUY2ToI420",
          "Wakeup i/o thread"}) {
        EXPECT_THAT(debug, Contains(line));
    }
    EXPECT_THAT(lines(LOG_ERR), IsEmpty());
    EXPECT_EQ(linesOfOtherPriorities(), 0U);
}

TEST_F(TheLog, OfImagesThatCannotBeConvertedIsForDebuggingOnly) {
    listener.onFrame = [](const auto& buffer) { EXPECT_EQ(buffer->mapYCbCr(), nullptr); };
    opened = plugAndOpen(camera("H264"));
    switchOver();
    ASSERT_TRUE(start(PixelFormat::H264));
    ASSERT_TRUE(listener.waitForFrames(1));
    opened->stopCapture();
    const auto small =
        plugAndOpen(camera("YUYV", R"({"call": "VIDIOC_REQBUFS", "bufferBytes": 4096})"), "small");
    small->setListener(&listener);
    ASSERT_TRUE(small->startCapture(vga, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(listener.frameCount() + 1));
    small->stopCapture();
    small->setListener(nullptr);
    EXPECT_THAT(lines(LOG_DEBUG), Contains("H264 can't be converted to YCbCrFrame"));
    EXPECT_THAT(lines(LOG_DEBUG), Contains("A buffer of 4096 bytes is too short for 640x480 YUYV"));
    EXPECT_THAT(lines(LOG_ERR), IsEmpty());
}

struct Failure {
    const char* name;
    const char* fault;
    const char* line;
};
void PrintTo(const Failure& failure, std::ostream* to) {
    *to << failure.line;
}
class TheLogOfACaptureThatFails : public TheLog, public ::testing::WithParamInterface<Failure> {};

TEST_P(TheLogOfACaptureThatFails, HasOneErrorAndTheRestForDebugging) {
    opened = plugAndOpen(camera("YUYV", GetParam().fault));
    switchOver();
    if (start(PixelFormat::YUYV)) {
        ASSERT_TRUE(listener.waitForFrames(8));
        opened->stopCapture();
    }
    EXPECT_THAT(lines(LOG_ERR), ElementsAre(GetParam().line));
    EXPECT_THAT(lines(LOG_DEBUG), Contains("Desired format: YUYV"));
    EXPECT_EQ(linesOfOtherPriorities(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    At, TheLogOfACaptureThatFails,
    ::testing::Values(
        Failure{"SFmt", R"({"call": "VIDIOC_S_FMT", "errno": "EPERM"})", "VIDIOC_S_FMT error: 1"},
        Failure{"GParm", R"({"call": "VIDIOC_G_PARM", "errno": "EIO"})", "VIDIOC_G_PARM error: 5"},
        Failure{"SParm", R"({"call": "VIDIOC_S_PARM", "errno": "EIO"})", "VIDIOC_S_PARM error: 5"},
        Failure{"ReqBufs", R"({"call": "VIDIOC_REQBUFS", "errno": "EPERM"})",
                "VIDIOC_REQBUFS failed: Operation not permitted(1)"},
        Failure{"QueryBuf", R"({"call": "VIDIOC_QUERYBUF", "errno": "EPERM"})",
                "VIDIOC_QUERYBUF failed: Operation not permitted(1)"},
        Failure{"Mmap", R"({"call": "mmap", "errno": "EPERM"})",
                "mmap failed: Operation not permitted(1)"},
        Failure{"QBuf", R"({"call": "VIDIOC_QBUF", "errno": "EPERM"})",
                "VIDIOC_QBUF failed: Operation not permitted(1)"},
        Failure{"StreamOn", R"({"call": "VIDIOC_STREAMON", "errno": "ENOSPC"})",
                "Failed to turn on a stream: No space left on device (28)"},
        Failure{"TheRequeue", R"({"call": "VIDIOC_QBUF", "errno": "EIO", "first": 6})",
                "VIDIOC_QBUF failed: Input/output error(5)"},
        Failure{"StreamOff", R"({"call": "VIDIOC_STREAMOFF", "errno": "EINVAL"})",
                "VIDIOC_STREAMOFF failed: Invalid argument(22)"}),
    [](const auto& test) { return test.param.name; });

TEST_F(TheLog, OfAWaitAndOfBuffersThatFailIsAnError) {
    opened = plugAndOpen(camera("YUYV", R"({"call": "VIDIOC_DQBUF", "errno": "EIO", "first": 3},
                                           {"call": "VIDIOC_DQBUF", "index": 40, "first": 5},
                                           {"call": "poll", "errno": "ENOMEM", "first": 8})"));
    switchOver();
    ASSERT_TRUE(start(PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForErrors(1));
    opened->stopCapture();
    EXPECT_THAT(lines(LOG_ERR), Contains("Camera loop: Cannot allocate memory"));
    EXPECT_THAT(lines(LOG_ERR), Contains("VIDIOC_DQBUF failed: Input/output error(5)"));
    EXPECT_THAT(lines(LOG_ERR), Contains("VIDIOC_DQBUF gave buffer 40 of 4"));
    EXPECT_EQ(linesOfOtherPriorities(), 0U);
}

TEST_F(TheLog, OfACameraWithoutTheWishedFormatsIsAnError) {
    opened = plugAndOpen(camera("MJPG"));
    switchOver();
    EXPECT_FALSE(start(PixelFormat::Raw));
    EXPECT_THAT(lines(LOG_ERR), ElementsAre("No supported video formats found"));
}

TEST_F(TheLog, OfACameraThatCannotBeOpenedIsAnError) {
    opened = plugAndOpen(camera("YUYV"));
    device().unplug();
    switchOver();
    EXPECT_FALSE(start(PixelFormat::YUYV));
    EXPECT_THAT(lines(LOG_ERR), ElementsAre(StartsWith("Can't open a camera: ")));
    EXPECT_THAT(lines(LOG_DEBUG), IsEmpty());
}

TEST_F(TheLog, OfCamerasThatDoNotFitAndOfAServiceThatLiesIsAnError) {
    TestSupport::ServiceObject unfit;
    unfit.capabilities = 0;
    service->add(path("a"), unfit);
    TestSupport::ServiceObject liar;
    liar.capabilitiesAreText = true;
    service->add(path("b"), liar);
    switchOver();
    EXPECT_FALSE(manager.init());
    EXPECT_THAT(lines(LOG_ERR), ElementsAre("queryCameraInfo failed",
                                            MatchesRegex("Can't init gatehold: .+ / .+")));
    EXPECT_EQ(linesOfOtherPriorities(), 0U);
}

TEST_F(TheLog, WithoutDebuggingHasTheErrorsOnly) {
    opened = plugAndOpen(camera("YUYV", R"({"call": "VIDIOC_S_PARM", "errno": "EIO"})"));
    switchOver(false);
    ASSERT_TRUE(start(PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(1));
    opened->stopCapture();
    EXPECT_THAT(syslogRecords(), testing::SizeIs(1));
    EXPECT_THAT(lines(LOG_ERR), ElementsAre("VIDIOC_S_PARM error: 5"));
}

}  // namespace
