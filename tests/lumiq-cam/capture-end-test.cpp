// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How captures begin and end: limits, signals, failures of the camera and of the output, and what
// the summary says of them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "fake-run.h"

namespace {

using namespace ToolTest;
using testing::HasSubstr;

ToolResult captureJson(const Json& camera, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"capture", "0", "--json"};
    if (std::find(more.begin(), more.end(), "--size") == more.end()) {
        more.insert(more.end(), {"--size", "64x48"});
    }
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runFake(arguments, oneCamera(camera));
}

TEST(ACapture, EndsAfterItsCount) {
    const auto result = captureJson({}, {"--count", "12"});
    EXPECT_EQ(result.code, 0) << result.err;
    const Json summary = result.json();
    EXPECT_EQ(summary["end"], "count");
    EXPECT_EQ(summary["exitCode"], 0);
    EXPECT_EQ(summary["frames"]["received"], 12);
    EXPECT_EQ(summary["frames"]["lost"], 0);
    EXPECT_EQ(summary["frames"]["dropped"], 0);
    EXPECT_NEAR(summary["fps"]["measured"].get<double>(), 50, 0.01);
    EXPECT_NEAR(summary["firstFrameMs"].get<double>(), 20, 0.01);
    EXPECT_EQ(summary["format"]["delivered"]["name"], "YUYV");
    EXPECT_TRUE(summary["output"].is_null());
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(ACapture, EndsAfterItsTime) {
    const auto result = captureJson({}, {"--duration", "0.1"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.json()["end"], "duration");
    EXPECT_GE(result.json()["seconds"].get<double>(), 0.1);
}

TEST(ACapture, ConvertsWithoutWritingWhereThatIsToBeMeasured) {
    const Json summary = captureJson({}, {"--count", "5", "--convert"}).json();
    EXPECT_EQ(summary["end"], "count");
    EXPECT_EQ(summary["frames"]["converted"], 5);
    EXPECT_TRUE(summary["output"].is_null());
    EXPECT_EQ(captureJson({}, {"--count", "5"}).json()["frames"]["converted"], 0);
}

TEST(ACapture, SumsUpForPeople) {
    const auto result = runFake({"capture", "0", "--count", "5", "--size", "64x48"}, oneCamera());
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("Front camera: Preferred as YUYV, 64x48 at 30 fps\n"));
    EXPECT_THAT(result.out, HasSubstr("5 frames in "));
    EXPECT_THAT(result.out, HasSubstr("50.00 fps; 0 lost, 0 dropped, 0 converted"));
    EXPECT_THAT(result.out, HasSubstr("jitter 0.00 ms"));
}

TEST(ACapture, CountsLostFramesButNotLateOnes) {
    const auto result = captureJson({{"lost", {5, 9, 10}}, {"late", {14}}}, {"--count", "20"});
    EXPECT_EQ(result.json()["frames"]["lost"], 3);
    EXPECT_EQ(result.json()["frames"]["received"], 20);
}

TEST(ACapture, SaysWhatItTakesInsteadOfTheWish) {
    const auto result = captureJson({{"closest", {96, 80, 15, 1}}}, {"--count", "1"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.err, HasSubstr("the closest to 64x48 is 96x80"));
    EXPECT_EQ(result.json()["size"]["width"], 96);
    const auto exact = captureJson({{"closest", {96, 80, 15, 1}}}, {"--count", "1", "--exact"});
    EXPECT_EQ(exact.json()["size"]["width"], 64);
}

TEST(ACapture, DoesNotFailWhereTheBackEndFindsNoOperatingPoint) {
    const auto result =
        captureJson({{"findsClosest", false},
                     {"ranges", {{"min", {32, 32}}, {"max", {640, 480}}, {"step", {16, 16}}}}},
                    {"--count", "3", "--size", "100x50"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.json()["found"], false);
    EXPECT_EQ(result.json()["size"], Json({{"width", 96}, {"height", 48}}));
    EXPECT_THAT(result.err, HasSubstr("100x50"));
}

TEST(ACapture, ThatDoesNotStartShowsThePluginsReason) {
    const auto result = captureJson({{"starts", false}, {"startLog", "VIDIOC_S_FMT error: 16"}});
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("does not start"));
    EXPECT_THAT(result.err, HasSubstr("VIDIOC_S_FMT error: 16"));
    EXPECT_EQ(result.json()["error"]["name"], "capture-failed");
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(ACapture, EndsWhenTheCameraIsRemoved) {
    const auto result = captureJson({{"frames", 4}, {"then", {"removed"}}});
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(result.json()["end"], "removed");
    EXPECT_EQ(result.json()["frames"]["received"], 4);
    EXPECT_EQ(result.json()["error"]["name"], "camera-removed");
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(ACapture, TakesADeviceErrorBeforeTheRemovalForTheRemoval) {
    const auto result = captureJson({{"frames", 4}, {"then", {"error revents: 24", "removed"}}});
    EXPECT_EQ(result.code, 5);
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(ACapture, IsTimedOutOnlyByTheCameraAndNotWhileItWaitsForTheRemoval) {
    const auto result =
        captureJson({{"frames", 4}, {"then", {"error revents: 8"}}}, {"--timeout", "0.1"});
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("error revents: 8"));
}

TEST(ACapture, KeepsWhatArrivedBeforeTheRemoval) {
    Folder folder;
    const auto result = runFake({"capture", "0", "--size", "64x48", "-o", folder.path("f-%d.raw")},
                                oneCamera({{"frames", 5}, {"then", {"removed"}}}));
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(folder.names().size(), 5U);
}

TEST(ACapture, EndsWhenTheBackEndTimesOut) {
    const auto result = captureJson({{"frames", 3}, {"then", {"timeout"}}});
    EXPECT_EQ(result.code, 6);
    EXPECT_EQ(result.json()["end"], "timed-out");
}

TEST(ACapture, EndsWhenNoFrameComesForTooLong) {
    const auto result = captureJson({{"frames", 3}}, {"--timeout", "0.2"});
    EXPECT_EQ(result.code, 6);
    EXPECT_THAT(result.err, HasSubstr("--timeout"));
    EXPECT_EQ(captureJson({{"frames", 0}}, {"--timeout", "0.2"}).code, 6);
}

TEST(ACapture, GoesOnAfterAnErrorThatDoesNotEndIt) {
    const auto result = captureJson({{"frames", 3}, {"then", {"Bad address", "removed"}}});
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr("Bad address"));
}

TEST(ACapture, EndsCleanlyWithASignal) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Folder folder;
        auto process =
            startTool({"capture", "0", "--json", "--size", "64x48", "-o", folder.path("a-%d.raw")},
                      fakeEnvironment(oneCamera()));
        while (folder.names().empty()) {
            ASSERT_TRUE(process.running());
        }
        process.signal(signal);
        const auto result = finish(process);
        EXPECT_EQ(result.code, 0) << signal;
        EXPECT_EQ(result.json()["end"], "stopped");
        EXPECT_GE(result.json()["frames"]["received"].get<int>(), 1);
        EXPECT_FALSE(brokeTheContract(result)) << result.err;
    }
}

TEST(ACapture, CountsApartWhatTheWriterIsTooSlowFor) {
    // The reader takes no more than the first byte until the queue has long been full.
    const std::string command = program() +
                                " capture 0 --size 320x240 --count 20 -o - | "
                                "{ head -c 1 >/dev/null; sleep 5; wc -c; }";
    TestSupport::ChildProcess process({"bash", "-c", command}, {fakeEnvironment(oneCamera())});
    const auto result = finish(process);
    EXPECT_THAT(result.out, HasSubstr(std::to_string(20 * 320 * 240 * 2 - 1)));
    EXPECT_THAT(result.err, testing::Not(HasSubstr(" 0 dropped")));
    EXPECT_THAT(result.err, HasSubstr("20 written"));
}

TEST(AnOutput, ThatCannotBeWrittenEndsTheCapture) {
    for (const char* path : {"/nonexistent/folder/a.raw", "/dev/full"}) {
        const auto result = captureJson({}, {"-o", path, "--count", "3"});
        EXPECT_EQ(result.code, 8) << path;
        EXPECT_THAT(result.err, HasSubstr(path));
        EXPECT_EQ(result.json()["end"], "output-failed");
        EXPECT_FALSE(brokeTheContract(result)) << result.err;
    }
}

TEST(AnOutput, WhoseReaderLeavesEndsTheCapture) {
    const std::string command =
        program() + " capture 0 --size 64x48 -o - | head -c 10 >/dev/null; exit ${PIPESTATUS[0]}";
    TestSupport::ChildProcess process({"bash", "-c", command}, {fakeEnvironment(oneCamera())});
    const auto result = finish(process);
    EXPECT_EQ(result.code, 8);
    EXPECT_THAT(result.err, HasSubstr("has ended"));
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(AnOutput, WhoseReaderSleepsDoesNotHoldUpTheEnd) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string command = "exec " + program() + " capture 0 --size 640x480 -o - >/proc/" +
                                std::to_string(getpid()) + "/fd/" + std::to_string(ends[1]);
    TestSupport::ChildProcess process({"bash", "-c", command}, {fakeEnvironment(oneCamera())});
    char byte = 0;
    ASSERT_EQ(read(ends[0], &byte, 1), 1);
    process.signal(SIGTERM);
    const auto result = finish(process);
    EXPECT_EQ(result.code, 8) << result.err;
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
    close(ends[0]);
    close(ends[1]);
}

TEST(ATerminal, SeesAProgressLine) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0) {
        GTEST_SKIP() << "no terminal can be made here: /dev/ptmx or /dev/pts is missing";
    }
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const std::string command =
        "exec " + program() + " capture 0 --size 64x48 --duration 0.5 2>" + ptsname(terminal);
    TestSupport::ChildProcess process({"bash", "-c", command}, {fakeEnvironment(oneCamera())});
    EXPECT_EQ(process.wait(), 0);
    std::string seen(4096, '\0');
    const ssize_t got = read(terminal, seen.data(), seen.size());
    close(terminal);
    ASSERT_GT(got, 0);
    EXPECT_THAT(seen, HasSubstr(" lost, "));
    EXPECT_THAT(process.standardOutput(), testing::Not(HasSubstr("\r")));
}

TEST(AFile, SeesNoProgressLine) {
    const auto result = captureJson({}, {"--duration", "0.5"});
    EXPECT_EQ(result.err, "");
}

}  // namespace
