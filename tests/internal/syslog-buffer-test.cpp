// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the buffer behind std::clog collects, drops and hands to syslog, with a stream of its own.
// One thread.

#include "lumiq/internal/syslog-buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

#include "lumiq/internal/log.h"
#include "recorded-syslog.h"

namespace Nerio::Lumiq::Internal {
namespace {

constexpr int logErr = 3;
constexpr int logInfo = 6;
constexpr int logDebug = 7;

LogLevel levelOf(std::int64_t value) {
    return static_cast<LogLevel>(value);
}

// The stream functions that the buffer overrides, for calling them directly.
class OpenBuffer : public SysLogBuffer {
public:
    using SysLogBuffer::overflow;
    using SysLogBuffer::sync;
    using SysLogBuffer::SysLogBuffer;
    using SysLogBuffer::xsputn;
};

class ASyslogBuffer : public testing::Test {
protected:
    ~ASyslogBuffer() override { forgetSyslog(); }

    void expectRecords(const std::vector<SyslogRecord>& expected) {
        const std::vector<SyslogRecord> records = syslogRecords();
        ASSERT_EQ(records.size(), expected.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            EXPECT_EQ(records[i].priority, expected[i].priority) << "record " << i;
            EXPECT_EQ(records[i].text, expected[i].text) << "record " << i;
        }
    }

    OpenBuffer quietBuffer{"lumiq", false};
    std::ostream quiet{&quietBuffer};
    OpenBuffer debugBuffer{"lumiq", true};
    std::ostream debug{&debugBuffer};
};

TEST_F(ASyslogBuffer, IsAStreamBufferOfChars) {
    static_assert(std::is_base_of_v<std::basic_streambuf<char>, SysLogBuffer>);
}

TEST_F(ASyslogBuffer, OpensSyslogWithProcessIdAndUserFacility) {
    const std::vector<OpenLogCall> calls = openLogCalls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_STREQ(calls[0].ident, "lumiq");
    EXPECT_EQ(calls[0].option, 1);
    EXPECT_EQ(calls[0].facility, 8);
}

TEST_F(ASyslogBuffer, HandsOverAnIdentOfItsOwn) {
    forgetSyslog();
    std::string given = "mine";
    const SysLogBuffer buffer(given, false);
    given = "gone";
    const char* const ident = openLogCalls().at(0).ident;
    EXPECT_STREQ(ident, "mine");
    // It lives as long as the buffer, since it is inside.
    EXPECT_GE(ident, reinterpret_cast<const char*>(&buffer));
    EXPECT_LT(ident, reinterpret_cast<const char*>(&buffer + 1));
}

TEST_F(ASyslogBuffer, CutsALongIdentAtThirtyOneCharacters) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGH";
    for (const std::size_t length : {0U, 30U, 31U, 32U, 34U}) {
        forgetSyslog();
        const SysLogBuffer buffer(letters.substr(0, length), false);
        EXPECT_EQ(openLogCalls().at(0).ident, letters.substr(0, std::min<std::size_t>(length, 31)));
    }
}

TEST_F(ASyslogBuffer, SendsOneRecordPerFlushAtThePriorityOfItsLevel) {
    debug << LogLevel::Debug << "one" << std::endl;
    debug << LogLevel::Info << "two" << std::endl;
    debug << LogLevel::Error << "three" << std::endl;
    expectRecords({{logDebug, "one\n"}, {logInfo, "two\n"}, {logErr, "three\n"}});
}

TEST_F(ASyslogBuffer, DropsDebugMessagesUnlessToldNotTo) {
    quiet << LogLevel::Debug << "one" << 2 << 'c' << std::endl;
    quiet << LogLevel::Info << "two" << std::endl;
    quiet << LogLevel::Error << "three" << std::endl;
    expectRecords({{logInfo, "two\n"}, {logErr, "three\n"}});
    EXPECT_TRUE(quiet.good());
}

TEST_F(ASyslogBuffer, TakesAMessageWithoutALevelForADebugMessage) {
    quiet << "dropped" << std::endl;
    debug << "kept" << std::endl;
    expectRecords({{logDebug, "kept\n"}});
}

TEST_F(ASyslogBuffer, GoesBackToDebugAfterEveryFlush) {
    quiet << LogLevel::Error << "kept" << std::endl;
    quiet << "dropped" << std::endl;
    debug << LogLevel::Error << "first" << std::endl;
    debug << "second" << std::endl;
    expectRecords({{logErr, "kept\n"}, {logErr, "first\n"}, {logDebug, "second\n"}});
}

TEST_F(ASyslogBuffer, SendsNothingWhenItIsFlushedEmptyButForgetsTheLevel) {
    quiet << LogLevel::Error << std::flush;
    quiet << "dropped" << std::flush;
    debug << LogLevel::Error << std::flush;
    debug << "debug" << std::flush;
    expectRecords({{logDebug, "debug"}});
}

TEST_F(ASyslogBuffer, TakesEveryOtherLevelForDebugWithoutDroppingHighOnes) {
    quiet << levelOf(7) << "seven" << std::endl;
    quiet << levelOf(3) << "three" << std::endl;
    quiet << levelOf(0x7FFFFFFF) << "highest" << std::endl;
    expectRecords({{logDebug, "seven\n"}, {logDebug, "three\n"}, {logDebug, "highest\n"}});
}

TEST_F(ASyslogBuffer, DropsALevelBelowZero) {
    // The level is a signed number inside.
    debug << levelOf(0xFFFFFFFF) << "minus one" << std::endl;
    quiet << levelOf(0x80000000) << "lowest" << std::endl;
    expectRecords({});
}

TEST_F(ASyslogBuffer, EndsAMessageAtAFlushNotAtANewline) {
    quiet << LogLevel::Info << "one\ntwo\n" << '\n';
    expectRecords({});
    quiet << "three" << std::flush;
    expectRecords({{logInfo, "one\ntwo\n\nthree"}});
}

TEST_F(ASyslogBuffer, KeepsUnflushedTextForTheNextRecord) {
    quiet << LogLevel::Info << "left ";
    quiet << LogLevel::Error << "over" << std::endl;
    expectRecords({{logErr, "left over\n"}});
}

TEST_F(ASyslogBuffer, PassesPercentSignsAsText) {
    quiet << LogLevel::Info << "100%s %n %%" << std::endl;
    expectRecords({{logInfo, "100%s %n %%\n"}});
}

TEST_F(ASyslogBuffer, DecidesForEachInsertionAtItsMoment) {
    quiet << LogLevel::Debug << "dropped ";
    quiet << LogLevel::Info << "kept" << std::flush;
    quiet << LogLevel::Info << "collected" << LogLevel::Debug << std::flush;
    // A flush at a level that is dropped empties the buffer too.
    quiet << LogLevel::Info << "next" << std::flush;
    expectRecords({{logInfo, "kept"}, {logInfo, "next"}});
}

TEST_F(ASyslogBuffer, TakesSingleCharactersAndReturnsThem) {
    quietBuffer.setLevel(LogLevel::Info);
    EXPECT_EQ(quietBuffer.overflow('x'), 'x');
    EXPECT_EQ(quietBuffer.sputc('y'), 'y');
    EXPECT_EQ(quietBuffer.overflow(0xE4), 0xE4);
    EXPECT_EQ(quietBuffer.sync(), 0);
    expectRecords({{logInfo, "xy\xE4"}});

    EXPECT_EQ(quietBuffer.overflow('z'), 'z') << "a dropped character counts as written";
    EXPECT_EQ(quietBuffer.sync(), 0);
    expectRecords({{logInfo, "xy\xE4"}});
}

TEST_F(ASyslogBuffer, FlushesAtEndOfFileWithoutEverReturningIt) {
    constexpr int endOfFile = std::streambuf::traits_type::eof();
    quietBuffer.setLevel(LogLevel::Error);
    quietBuffer.xsputn("text", 4);
    EXPECT_NE(quietBuffer.overflow(endOfFile), endOfFile);
    EXPECT_NE(quietBuffer.overflow(endOfFile), endOfFile);
    expectRecords({{logErr, "text"}});
    EXPECT_NE(quietBuffer.xsputn("dropped", 7), 0);
    quietBuffer.sync();
    expectRecords({{logErr, "text"}});
}

TEST_F(ASyslogBuffer, SaysThatItTookAllCharactersAlsoWhenItDroppedThem) {
    EXPECT_EQ(quietBuffer.xsputn("dropped", 7), 7);
    quietBuffer.setLevel(LogLevel::Info);
    EXPECT_EQ(quietBuffer.xsputn("kept and more", 4), 4);
    EXPECT_EQ(quietBuffer.xsputn("", 0), 0);
    quietBuffer.sync();
    expectRecords({{logInfo, "kept"}});
}

TEST_F(ASyslogBuffer, HasNoPutAreaThatWouldHideCharacters) {
    quietBuffer.setLevel(LogLevel::Info);
    for (const char each : std::string("abc")) {
        quiet.put(each);
    }
    quietBuffer.pubsync();
    expectRecords({{logInfo, "abc"}});
}

TEST(ALogLevel, LeavesAnyOtherStreamAsItIs) {
    std::ostringstream stream;
    stream << LogLevel::Error << "text" << static_cast<LogLevel>(7) << std::hex << LogLevel::Info;
    EXPECT_EQ(stream.str(), "text");
    std::ostream none(nullptr);
    none << LogLevel::Error;
    EXPECT_EQ(none.rdbuf(), nullptr);
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
