// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Stands in for the buffer of std::clog, into which the plug-in writes its log. Installed by main
// before the plug-in is loaded; written to from every thread of the plug-in.
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace LumiqCam {

// Which lines go to standard error as they come.
enum class LogEcho { Nothing, Failures, Everything };

// Keeps the last lines that report a failure, so that they can be shown when an operation fails.
// The lines carry no level, so what reports a failure is told from the words in them.
class LogCollector : public std::streambuf {
public:
    // Replaces the buffer of std::clog for the rest of the process: the plug-in's last words come
    // while static objects are destroyed, so the collector is never destroyed.
    static LogCollector& install(LogEcho echo);

    explicit LogCollector(LogEcho echo) : m_echo(echo) {}

    void setEcho(LogEcho echo);

    // What was kept since the last call, oldest first.
    std::vector<std::string> takeFailures();

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int sync() override;

private:
    void append(std::string_view text);
    void finishLine();

    static constexpr std::size_t kKept = 50;

    std::mutex m_mutex;
    LogEcho m_echo;
    std::string m_line;
    std::deque<std::string> m_failures;
};

// True when the line has a word in it that log lines about failures have.
bool reportsFailure(std::string_view line);

}  // namespace LumiqCam
