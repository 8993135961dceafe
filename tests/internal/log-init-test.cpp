// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Switching std::clog over to syslog, which can happen once in a process: each test in a child of
// its own. One thread, or eight where the test says so.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "lumiq/internal/log.h"
#include "lumiq/internal/syslog-buffer.h"
#include "own-process.h"
#include "recorded-syslog.h"

namespace Nerio::Lumiq {
namespace {

using TestSupport::inAProcessOfItsOwn;

void setVariable(const char* name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name, value->c_str(), 1);
    } else {
        unsetenv(name);
    }
}

bool writesToSyslog() {
    return dynamic_cast<Internal::SysLogBuffer*>(std::clog.rdbuf()) != nullptr;
}

// What goes to standard error from its construction on.
class StandardError {
public:
    StandardError() : m_file(std::tmpfile()) { dup2(fileno(m_file), STDERR_FILENO); }
    std::string text() const {
        std::array<char, 4096> bytes{};
        const ssize_t count = pread(fileno(m_file), bytes.data(), bytes.size(), 0);
        return {bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
    }

private:
    std::FILE* m_file;
};

void writeOneOfEachLevel() {
    std::clog << LogLevel::Debug << "debug" << std::endl;
    std::clog << LogLevel::Info << "info" << std::endl;
    std::clog << LogLevel::Error << "error" << std::endl;
}

using Value = std::optional<std::string>;

class LogInitWithSyslogOff : public testing::TestWithParam<std::string> {};

TEST_P(LogInitWithSyslogOff, LeavesTheStreamOnStandardErrorWithEveryLevel) {
    inAProcessOfItsOwn([] {
        setVariable("LUMIQ_NO_SYSLOG", GetParam());
        setVariable("LUMIQ_DEBUG", {});
        std::streambuf* const before = std::clog.rdbuf();
        LogInit();
        EXPECT_EQ(std::clog.rdbuf(), before);
        EXPECT_TRUE(openLogCalls().empty());

        const StandardError standardError;
        writeOneOfEachLevel();
        EXPECT_EQ(standardError.text(), "debug\ninfo\nerror\n");
        EXPECT_TRUE(syslogRecords().empty());
    });
}

INSTANTIATE_TEST_SUITE_P(AnyValueButZero, LogInitWithSyslogOff,
                         testing::Values("", "1", "no", "00", "0 ", " 0", "false"));

class LogInitInAnEnvironment : public testing::TestWithParam<std::pair<Value, Value>> {};

TEST_P(LogInitInAnEnvironment, SwitchesToSyslogWithDebugAsTold) {
    inAProcessOfItsOwn([] {
        const auto& [noSyslog, debug] = GetParam();
        setVariable("LUMIQ_NO_SYSLOG", noSyslog);
        setVariable("LUMIQ_DEBUG", debug);
        LogInit();
        EXPECT_TRUE(writesToSyslog());
        const std::vector<OpenLogCall> calls = openLogCalls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_STREQ(calls[0].ident, "lumiq");
        EXPECT_EQ(calls[0].option, 1);
        EXPECT_EQ(calls[0].facility, 8);

        const StandardError standardError;
        writeOneOfEachLevel();
        std::string texts;
        for (const SyslogRecord& record : syslogRecords()) {
            texts += std::to_string(record.priority) + record.text;
        }
        EXPECT_EQ(texts, debug ? "7debug\n6info\n3error\n" : "6info\n3error\n");
        EXPECT_EQ(standardError.text(), "");
    });
}

INSTANTIATE_TEST_SUITE_P(
    TheVariables, LogInitInAnEnvironment,
    testing::Values(std::pair<Value, Value>{{}, {}}, std::pair<Value, Value>{"0", {}},
                    std::pair<Value, Value>{{}, ""}, std::pair<Value, Value>{{}, "0"},
                    std::pair<Value, Value>{{}, "1"}, std::pair<Value, Value>{"0", "0"}));

TEST(BeforeLogInit, TheStreamWritesEveryLevelToStandardError) {
    inAProcessOfItsOwn([] {
        const StandardError standardError;
        writeOneOfEachLevel();
        LUMIQ_LOG_AS(Debug, "operation") << "line";
        const std::string text = standardError.text();
        EXPECT_EQ(text.rfind("debug\ninfo\nerror\n[lumiq-v4l2-camera] operation:", 0), 0U) << text;
        EXPECT_TRUE(openLogCalls().empty());
    });
}

TEST(ASecondLogInit, ChangesNothing) {
    inAProcessOfItsOwn([] {
        setVariable("LUMIQ_NO_SYSLOG", {});
        setVariable("LUMIQ_DEBUG", {});
        LogInit();
        std::streambuf* const installed = std::clog.rdbuf();
        setVariable("LUMIQ_DEBUG", "1");
        LogInit();
        EXPECT_EQ(std::clog.rdbuf(), installed);
        EXPECT_EQ(openLogCalls().size(), 1U);
        std::clog << "still dropped" << std::endl;
        EXPECT_TRUE(syslogRecords().empty());
    });
}

TEST(ASecondLogInit, ChangesNothingAfterTheFirstLeftSyslogOff) {
    inAProcessOfItsOwn([] {
        setVariable("LUMIQ_NO_SYSLOG", "1");
        LogInit();
        setVariable("LUMIQ_NO_SYSLOG", {});
        LogInit();
        EXPECT_FALSE(writesToSyslog());
        EXPECT_TRUE(openLogCalls().empty());
    });
}

TEST(ASecondLogInit, LeavesAHostsOwnBufferInPlace) {
    inAProcessOfItsOwn([] {
        setVariable("LUMIQ_NO_SYSLOG", {});
        LogInit();
        const std::ostringstream host;
        std::clog.rdbuf(host.rdbuf());
        LogInit();
        EXPECT_EQ(std::clog.rdbuf(), host.rdbuf());
    });
}

TEST(LogInit, InstallsOneBufferWhenEightThreadsCallItAtOnce) {
    for (int round = 0; round < 20; ++round) {
        inAProcessOfItsOwn([] {
            setVariable("LUMIQ_NO_SYSLOG", {});
            constexpr std::size_t count = 8;
            std::array<bool, count> installedOnReturn{};
            std::barrier start(count);
            std::vector<std::thread> threads;
            for (std::size_t i = 0; i < count; ++i) {
                threads.emplace_back([&, i] {
                    start.arrive_and_wait();
                    LogInit();
                    installedOnReturn[i] = writesToSyslog();
                });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
            EXPECT_EQ(openLogCalls().size(), 1U);
            for (const bool each : installedOnReturn) {
                EXPECT_TRUE(each) << "a call returned before the buffer was in place";
            }
        });
    }
}

TEST(LogInit, MayComeWhileOtherThreadsWriteMessages) {
    inAProcessOfItsOwn([] {
        setVariable("LUMIQ_NO_SYSLOG", {});
        const StandardError standardError;
        constexpr int writers = 4;
        std::barrier start(writers + 1);
        std::vector<std::thread> threads;
        for (int i = 0; i < writers; ++i) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                for (int message = 0; message < 10; ++message) {
                    LUMIQ_LOG_AS(Info, "write") << "text";
                }
            });
        }
        start.arrive_and_wait();
        LogInit();
        for (std::thread& thread : threads) {
            thread.join();
        }
        const std::string early = standardError.text();
        const auto lines = std::count(early.begin(), early.end(), '\n');
        EXPECT_EQ(static_cast<std::size_t>(lines) + syslogRecords().size(), 40U);
    });
}

}  // namespace
}  // namespace Nerio::Lumiq
