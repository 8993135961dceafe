// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Two back ends in one process: each has a copy of the log, and there is one std::clog and one
// syslog for both.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <cstdlib>
#include <iostream>
#include <map>
#include <regex>
#include <string>
#include <thread>

#include "own-process.h"
#include "recorded-syslog.h"

namespace Nerio::Lumiq {
namespace {

using TestSupport::inAProcessOfItsOwn;

class WritingLibrary {
public:
    explicit WritingLibrary(const char* path) : m_handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}

    void beginLog() const { reinterpret_cast<void (*)()>(symbol("beginLog"))(); }
    void writeLines(const char* writer, int count) const {
        reinterpret_cast<void (*)(const char*, int)>(symbol("writeLines"))(writer, count);
    }

private:
    void* symbol(const char* name) const {
        void* const found = m_handle == nullptr ? nullptr : dlsym(m_handle, name);
        if (found == nullptr) {
            ADD_FAILURE() << dlerror();
            std::abort();
        }
        return found;
    }

    // Stays loaded: std::clog uses a buffer of it.
    void* m_handle;
};

class TwoBackEnds : public testing::Test {
protected:
    TwoBackEnds() {
        unsetenv("LUMIQ_NO_SYSLOG");
        unsetenv("LUMIQ_DEBUG");
    }
    static std::array<WritingLibrary, 2> load() {
        return {WritingLibrary(LUMIQ_FIRST_LIBRARY), WritingLibrary(LUMIQ_SECOND_LIBRARY)};
    }
};

TEST_F(TwoBackEnds, InstallOneBufferBetweenThem) {
    inAProcessOfItsOwn([] {
        const auto libraries = load();
        libraries[0].beginLog();
        const std::streambuf* const first = std::clog.rdbuf();
        libraries[1].beginLog();
        EXPECT_EQ(std::clog.rdbuf(), first);
        EXPECT_EQ(openLogCalls().size(), 1U);
    });
}

TEST_F(TwoBackEnds, KeepTheirLinesApart) {
    inAProcessOfItsOwn([] {
        constexpr int count = 2000;
        const auto libraries = load();
        libraries[0].beginLog();
        libraries[1].beginLog();
        std::barrier start(2);
        std::thread other([&] {
            start.arrive_and_wait();
            libraries[1].writeLines("second", count);
        });
        start.arrive_and_wait();
        libraries[0].writeLines("first", count);
        other.join();

        const std::regex line(
            R"(\[lumiq-v4l2-camera\] (first|second):\d+ -- line (\d+) of 2000\n)");
        std::map<std::string, int> next;
        for (const SyslogRecord& record : syslogRecords()) {
            std::smatch parts;
            ASSERT_TRUE(std::regex_match(record.text, parts, line)) << record.text;
            EXPECT_EQ(std::stoi(parts[2]), next[parts[1]]++) << record.text;
        }
        EXPECT_EQ(next, (std::map<std::string, int>{{"first", count}, {"second", count}}));
    });
}

}  // namespace
}  // namespace Nerio::Lumiq
