// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What is kept of the plug-in's log.
#include "log-collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <thread>

namespace {

using LumiqCam::LogCollector;
using LumiqCam::LogEcho;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(ALogCollector, KeepsLinesAboutFailuresUntilTheyAreTaken) {
    LogCollector collector(LogEcho::Nothing);
    std::ostream log(&collector);
    log << "[x] startCapture:1 -- Selected size: 640x480" << std::endl;
    log << "[x] startCapture:2 -- VIDIOC_S_FMT error: " << 5 << std::endl;
    log << "[x] allocBuffers:3 -- VIDIOC_REQBUFS failed: Busy(16)" << std::endl;
    EXPECT_THAT(collector.takeFailures(),
                ElementsAre("[x] startCapture:2 -- VIDIOC_S_FMT error: 5",
                            "[x] allocBuffers:3 -- VIDIOC_REQBUFS failed: Busy(16)"));
    EXPECT_THAT(collector.takeFailures(), IsEmpty());
}

TEST(ALogCollector, ForgetsTheOldestLines) {
    LogCollector collector(LogEcho::Nothing);
    std::ostream log(&collector);
    for (int i = 0; i < 60; ++i) {
        log << "failed " << i << "\n";
    }
    const auto lines = collector.takeFailures();
    ASSERT_THAT(lines, SizeIs(50));
    EXPECT_EQ(lines.front(), "failed 10");
    EXPECT_EQ(lines.back(), "failed 59");
}

TEST(ALogCollector, TakesWholeLinesFromSeveralThreads) {
    LogCollector collector(LogEcho::Nothing);
    const std::string line = "this failed\n";
    const auto write = [&] {
        for (int i = 0; i < 20; ++i) {
            collector.sputn(line.data(), static_cast<std::streamsize>(line.size()));
        }
    };
    std::thread other(write);
    write();
    other.join();
    EXPECT_THAT(collector.takeFailures(), testing::AllOf(SizeIs(40), testing::Each("this failed")));
}

TEST(ALogCollector, ShowsWhatItIsAskedToShow) {
    LogCollector collector(LogEcho::Failures);
    std::ostream log(&collector);
    testing::internal::CaptureStderr();
    log << "all is well\nthis failed\n";
    collector.setEcho(LogEcho::Everything);
    log << "all is well again\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "this failed\nall is well again\n");
}

TEST(LogLines, AboutFailuresAreToldByTheirWords) {
    EXPECT_TRUE(LumiqCam::reportsFailure("openDevice:9 -- Can't open a camera: x / y"));
    EXPECT_TRUE(LumiqCam::reportsFailure("startCapture:9 -- No supported video formats found"));
    EXPECT_TRUE(LumiqCam::reportsFailure("loop:9 -- Camera loop: Bad address"));
    EXPECT_TRUE(LumiqCam::reportsFailure("onInterfacesAdded:9 -- queryCameraInfo failed"));
    EXPECT_FALSE(LumiqCam::reportsFailure("loop:9 -- Wakeup i/o thread"));
    EXPECT_FALSE(LumiqCam::reportsFailure("mapYCbCr:9 -- H264 can't be converted to YCbCrFrame"));
}

}  // namespace
