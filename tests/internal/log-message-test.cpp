// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The lines that back ends write: their form to the last character, what a dropped line costs, and
// that lines of several threads stay apart. One thread, or eight where the test says so.

#include <gtest/gtest.h>

#include <barrier>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <locale>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "lumiq/internal/assert.h"
#include "lumiq/internal/log.h"
#include "lumiq/pixel-format.h"
#include "own-process.h"
#include "recorded-syslog.h"

namespace Nerio::Lumiq {
namespace {

using TestSupport::inAProcessOfItsOwn;

// Collects what is written to std::clog, as a host with a buffer of its own would.
class ALogLine : public testing::Test {
protected:
    ALogLine() : m_before(std::clog.rdbuf(m_text.rdbuf())) {}
    ~ALogLine() override { std::clog.rdbuf(m_before); }

    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

// Returns the line number of its message.
int freeBuffers() {
    constexpr int line = __LINE__ + 1;
    LUMIQ_LOG(Error) << "munmap failed: " << Internal::SystemError{EINVAL};
    return line;
}

std::string lineOf(const std::string& function, int line, const std::string& text) {
    return "[lumiq-v4l2-camera] " + function + ":" + std::to_string(line) + " -- " + text + "\n";
}

TEST_F(ALogLine, HasTagFunctionLineAndText) {
    constexpr int line = __LINE__ + 1;
    LUMIQ_LOG(Info) << "format " << toString(PixelFormat::YUYV) << ", " << 4 << " buffers";
    EXPECT_EQ(text(), lineOf("TestBody", line, "format YUYV, 4 buffers"));
}

TEST_F(ALogLine, NamesTheFunctionItStandsInAndTheSystemsError) {
    const int line = freeBuffers();
    EXPECT_EQ(text(), lineOf("freeBuffers", line, "munmap failed: Invalid argument(22)"));
}

TEST_F(ALogLine, CanNameTheOperationThatItIsPartOf) {
    constexpr int line = __LINE__ + 1;
    LUMIQ_LOG_AS(Debug, "loop") << "";
    EXPECT_EQ(text(), lineOf("loop", line, ""));
}

TEST_F(ALogLine, CarriesTheTextAndTheNumberOfEverySystemError) {
    for (const int number : {ENODEV, EIO, EBUSY, 0, 4095}) {
        std::ostringstream stream;
        stream << Internal::SystemError{number};
        EXPECT_EQ(stream.str(), std::strerror(number) + ("(" + std::to_string(number) + ")"));
    }
}

TEST_F(ALogLine, SeesTheErrnoOfTheCallBeforeIt) {
    errno = ENOSPC;
    constexpr int line = __LINE__ + 1;
    LUMIQ_LOG_AS(Error, "f") << "VIDIOC_QBUF failed: " << Internal::SystemError{errno};
    EXPECT_EQ(text(), lineOf("f", line, "VIDIOC_QBUF failed: No space left on device(28)"));
}

TEST_F(ALogLine, IsOneStatementInABranch) {
    const bool yes = true;
    constexpr int line = __LINE__ + 2;
    if (yes)
        LUMIQ_LOG_AS(Info, "f") << "then";
    else
        LUMIQ_LOG_AS(Info, "f") << "else";
    EXPECT_EQ(text(), lineOf("f", line, "then"));
}

TEST_F(ALogLine, IsInsertedInOnePieceWhenItIsComplete) {
    std::string duringTheMessage = "not looked at";
    const auto look = [&] {
        duringTheMessage = text();
        return "end";
    };
    constexpr int line = __LINE__ + 1;
    LUMIQ_LOG_AS(Info, "f") << "start " << look();
    EXPECT_EQ(duringTheMessage, "");
    EXPECT_EQ(text(), lineOf("f", line, "start end"));
}

TEST_F(ALogLine, DoesNotKeepTheFormatOfAnother) {
    constexpr int first = __LINE__ + 1;
    LUMIQ_LOG_AS(Info, "f") << std::hex << std::showbase << 255;
    LUMIQ_LOG_AS(Info, "f") << 255;
    EXPECT_EQ(text(), lineOf("f", first, "0xff") + lineOf("f", first + 1, "255"));
}

class GroupedDigits : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(ALogLine, HasPlainNumbersWhateverTheHostsLocale) {
    const std::locale grouped(std::locale::classic(), new GroupedDigits);
    const std::locale before = std::locale::global(grouped);
    const std::locale clogBefore = std::clog.imbue(grouped);
    const int line = freeBuffers();
    Internal::LogMessage(LogLevel::Info, Internal::cameraLogTag, "f", 100123)
        << 1234567 << " " << Internal::SystemError{12345};
    std::clog.imbue(clogBefore);
    std::locale::global(before);
    EXPECT_EQ(text(), lineOf("freeBuffers", line, "munmap failed: Invalid argument(22)") +
                          lineOf("f", 100123, "1234567 Unknown error 12345(12345)"));
}

// A buffer that cannot take anything.
class FullBuffer : public std::streambuf {
    int_type overflow(int_type /*character*/) override { throw std::length_error("full"); }
};

TEST_F(ALogLine, ThatCannotBeWrittenDoesNotEndAHostWhoseLogThrows) {
    FullBuffer full;
    std::streambuf* const before = std::clog.rdbuf(&full);
    std::clog.exceptions(std::ios_base::badbit);
    freeBuffers();
    EXPECT_TRUE(std::clog.bad());
    std::clog.exceptions(std::ios_base::goodbit);
    std::clog.clear();
    std::clog.rdbuf(before);
    const int line = freeBuffers();
    EXPECT_EQ(text(), lineOf("freeBuffers", line, "munmap failed: Invalid argument(22)"));
}

TEST_F(ALogLine, IsNotLostWhenAnAssertionFails) {
    inAProcessOfItsOwn([this] {
        LUMIQ_ASSERT(1 + 1 == 2);
        EXPECT_EQ(text(), "");
    });
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            std::clog.rdbuf(std::cerr.rdbuf());
            LUMIQ_ASSERT(1 + 1 == 3);
        },
        "-- Assertion failed: 1 \\+ 1 == 3");
}

int evaluations = 0;

int evaluated() {
    return ++evaluations;
}

void startWithSyslog(bool debug) {
    unsetenv("LUMIQ_NO_SYSLOG");
    debug ? setenv("LUMIQ_DEBUG", "", 1) : unsetenv("LUMIQ_DEBUG");
    LogInit();
}

TEST(ADroppedLine, EvaluatesNoneOfItsOperands) {
    inAProcessOfItsOwn([] {
        startWithSyslog(false);
        LUMIQ_LOG(Debug) << evaluated();
        EXPECT_EQ(evaluations, 0);
        LUMIQ_LOG(Info) << evaluated();
        LUMIQ_LOG(Error) << evaluated();
        EXPECT_EQ(evaluations, 2);
        EXPECT_EQ(syslogRecords().size(), 2U);
    });
}

TEST(ADebugLine, IsWrittenWhenDebugIsOn) {
    inAProcessOfItsOwn([] {
        startWithSyslog(true);
        constexpr int line = __LINE__ + 1;
        LUMIQ_LOG_AS(Debug, "f") << evaluated();
        EXPECT_EQ(evaluations, 1);
        const auto records = syslogRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].priority, 7);
        EXPECT_EQ(records[0].text, lineOf("f", line, "1"));
    });
}

TEST(ADebugLine, IsWrittenIntoABufferThatTheHostPutInPlaceOfOurs) {
    inAProcessOfItsOwn([] {
        startWithSyslog(false);
        const std::ostringstream host;
        std::clog.rdbuf(host.rdbuf());
        constexpr int line = __LINE__ + 1;
        LUMIQ_LOG_AS(Debug, "f") << "text";
        EXPECT_EQ(host.str(), lineOf("f", line, "text"));
        EXPECT_TRUE(syslogRecords().empty());
    });
}

TEST(ALineInSyslog, HasThePriorityOfItsLevelAndEndsWithANewline) {
    inAProcessOfItsOwn([] {
        startWithSyslog(false);
        constexpr int line = __LINE__ + 1;
        LUMIQ_LOG_AS(Error, "onInterfacesAdded") << "queryCameraInfo failed";
        const auto records = syslogRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].priority, 3);
        EXPECT_EQ(records[0].text, lineOf("onInterfacesAdded", line, "queryCameraInfo failed"));
    });
}

constexpr int writers = 8;
constexpr int linesOfEach = 200;

// Text long enough to take several insertions of a stream that is not protected.
void writeFromEightThreads() {
    std::barrier start(writers);
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&start, writer] {
            start.arrive_and_wait();
            for (int i = 0; i < linesOfEach; ++i) {
                LUMIQ_LOG_AS(Info, "f") << writer << "," << i << " " << std::string(50, 'x') << "!";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Every writer's lines are there, each whole, once, and in the writer's order.
void expectEveryLineOnce(const std::vector<std::string>& lines) {
    std::map<int, int> next;
    for (const std::string& line : lines) {
        const std::size_t start = line.find(" -- ");
        ASSERT_NE(start, std::string::npos) << line;
        int writer = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str() + start, " -- %d,%d ", &writer, &number), 2) << line;
        EXPECT_EQ(number, next[writer]++) << line;
        const std::string text =
            std::to_string(writer) + "," + std::to_string(number) + " " + std::string(50, 'x');
        EXPECT_EQ(line.substr(start), " -- " + text + "!\n");
        EXPECT_EQ(line.rfind("[lumiq-v4l2-camera] f:", 0), 0U) << line;
    }
    EXPECT_EQ(lines.size(), std::size_t{writers * linesOfEach});
    EXPECT_EQ(next.size(), std::size_t{writers});
}

// Lets other threads in between any two insertions and in the middle of each.
class YieldingBuffer : public std::stringbuf {
protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        std::this_thread::yield();
        const std::streamsize half = std::stringbuf::xsputn(text, count / 2);
        std::this_thread::yield();
        return half + std::stringbuf::xsputn(text + half, count - half);
    }
    int sync() override {
        std::this_thread::yield();
        return std::stringbuf::sync();
    }
};

TEST_F(ALogLine, NeverMixesWithThoseOfOtherThreads) {
    YieldingBuffer buffer;
    std::streambuf* const before = std::clog.rdbuf(&buffer);
    writeFromEightThreads();
    std::clog.rdbuf(before);
    std::vector<std::string> lines;
    std::istringstream all(buffer.str());
    for (std::string line; std::getline(all, line);) {
        lines.push_back(line + "\n");
    }
    expectEveryLineOnce(lines);
}

TEST(ALineInSyslog, NeverMixesWithThoseOfOtherThreads) {
    inAProcessOfItsOwn([] {
        startWithSyslog(false);
        writeFromEightThreads();
        std::vector<std::string> lines;
        for (const SyslogRecord& record : syslogRecords()) {
            EXPECT_EQ(record.priority, 6);
            lines.push_back(record.text);
        }
        expectEveryLineOnce(lines);
    });
}

}  // namespace
}  // namespace Nerio::Lumiq
