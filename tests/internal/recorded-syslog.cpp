// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Keeps the calls of openlog(3) and syslog(3). Any thread.

#include "recorded-syslog.h"

#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace Nerio::Lumiq {
namespace {

std::mutex mutex;

std::vector<OpenLogCall>& calls() {
    static std::vector<OpenLogCall> all;
    return all;
}

std::vector<SyslogRecord>& records() {
    static std::vector<SyslogRecord> all;
    return all;
}

void record(int priority, const char* format, va_list arguments) {
    std::array<char, 4096> text{};
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= text.size()) {
        std::abort();  // A record that does not fit would be compared cut off.
    }
    // As a slow log would: whoever can write meanwhile gets the chance.
    std::this_thread::yield();
    const std::lock_guard lock(mutex);
    records().push_back({priority, text.data()});
}

}  // namespace

std::vector<OpenLogCall> openLogCalls() {
    const std::lock_guard lock(mutex);
    return calls();
}

std::vector<SyslogRecord> syslogRecords() {
    const std::lock_guard lock(mutex);
    return records();
}

void forgetSyslog() {
    const std::lock_guard lock(mutex);
    calls().clear();
    records().clear();
}

}  // namespace Nerio::Lumiq

extern "C" __attribute__((visibility("default"))) void openlog(const char* ident, int option,
                                                               int facility) {
    const std::lock_guard lock(Nerio::Lumiq::mutex);
    Nerio::Lumiq::calls().push_back({ident, option, facility});
}

extern "C" __attribute__((visibility("default"))) void syslog(int priority, const char* format,
                                                              ...) {
    va_list arguments;
    va_start(arguments, format);
    Nerio::Lumiq::record(priority, format, arguments);
    va_end(arguments);
}

// What a build with _FORTIFY_SOURCE calls instead.
extern "C" __attribute__((visibility("default"))) void __syslog_chk(int priority, int /*flag*/,
                                                                    const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Nerio::Lumiq::record(priority, format, arguments);
    va_end(arguments);
}
