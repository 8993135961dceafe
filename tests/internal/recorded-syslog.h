// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// openlog(3) and syslog(3) in the place of libc's: what would have gone to the machine's log is
// kept for the test to look at. Written on any thread, read on the test's.
#pragma once

#include <string>
#include <vector>

namespace Nerio::Lumiq {

struct OpenLogCall {
    const char* ident;
    int option;
    int facility;
};

struct SyslogRecord {
    int priority;
    std::string text;
};

// In the order of the calls, since the process began or since the last forgetSyslog().
std::vector<OpenLogCall> openLogCalls();
std::vector<SyslogRecord> syslogRecords();
void forgetSyslog();

}  // namespace Nerio::Lumiq
