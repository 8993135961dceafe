// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What is written to std::clog while it lives. Any thread writes; the test's thread reads when the
// others are done.
#pragma once

#include <iostream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace Nerio::Lumiq {

class LoggedLines {
public:
    LoggedLines() : m_before(std::clog.rdbuf(m_text.rdbuf())) {}
    LoggedLines(const LoggedLines&) = delete;
    LoggedLines& operator=(const LoggedLines&) = delete;
    ~LoggedLines() { std::clog.rdbuf(m_before); }

    // The lines since the last call, each with "N" in place of the number of its source line.
    std::vector<std::string> take() {
        std::istringstream lines(m_text.str());
        m_text.str("");
        std::vector<std::string> taken;
        for (std::string line; std::getline(lines, line);) {
            taken.push_back(std::regex_replace(line, std::regex(":[1-9][0-9]* -- "), ":N -- "));
        }
        return taken;
    }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

}  // namespace Nerio::Lumiq
