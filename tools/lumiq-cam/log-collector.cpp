// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Collecting the plug-in's log; see the header.
#include "log-collector.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

#include "text-values.h"

namespace LumiqCam {

LogCollector& LogCollector::install(LogEcho echo) {
    static LogCollector& collector = *new LogCollector(echo);
    std::clog.rdbuf(&collector);
    return collector;
}

void LogCollector::setEcho(LogEcho echo) {
    const std::lock_guard lock(m_mutex);
    m_echo = echo;
}

std::vector<std::string> LogCollector::takeFailures() {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> result(m_failures.begin(), m_failures.end());
    m_failures.clear();
    return result;
}

LogCollector::int_type LogCollector::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        const char one = traits_type::to_char_type(character);
        append({&one, 1});
    }
    return traits_type::not_eof(character);
}

std::streamsize LogCollector::xsputn(const char* text, std::streamsize count) {
    append({text, static_cast<std::size_t>(count)});
    return count;
}

int LogCollector::sync() {
    return 0;
}

void LogCollector::append(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    for (const char character : text) {
        if (character == '\n') {
            finishLine();
        } else {
            m_line += character;
        }
    }
}

void LogCollector::finishLine() {
    const bool failure = reportsFailure(m_line);
    if (m_echo == LogEcho::Everything || (m_echo == LogEcho::Failures && failure)) {
        std::fprintf(stderr, "%s\n", m_line.c_str());
    }
    if (failure) {
        m_failures.push_back(m_line);
        if (m_failures.size() > kKept) {
            m_failures.pop_front();
        }
    }
    m_line.clear();
}

bool reportsFailure(std::string_view line) {
    static constexpr std::array<std::string_view, 6> kWords{"error",        "failed",       "can't",
                                                            "no supported", "camera loop:", "lost"};
    const std::string lower = lowerCase(line);
    // "X can't be converted to YCbCrFrame" comes with every frame and is no failure of the back
    // end.
    if (lower.find("can't be converted") != std::string::npos) {
        return false;
    }
    return std::any_of(kWords.begin(), kWords.end(), [&](std::string_view word) {
        return lower.find(word) != std::string::npos;
    });
}

}  // namespace LumiqCam
