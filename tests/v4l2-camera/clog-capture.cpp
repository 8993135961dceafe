// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Stands behind std::clog.

#include "clog-capture.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "recording-listeners.h"

namespace TestSupport {

ClogCapture::ClogCapture() : m_previous(std::clog.rdbuf(this)) {}

ClogCapture::~ClogCapture() {
    std::clog.rdbuf(m_previous);
}

std::streamsize ClogCapture::xsputn(const char* text, std::streamsize length) {
    const std::lock_guard lock(m_mutex);
    m_text.append(text, static_cast<std::size_t>(length));
    return length;
}

int ClogCapture::overflow(int character) {
    if (character != traits_type::eof()) {
        const std::lock_guard lock(m_mutex);
        m_text.push_back(static_cast<char>(character));
    }
    return traits_type::not_eof(character);
}

// The last that a writer has to do with this object.
int ClogCapture::sync() {
    const std::lock_guard lock(m_mutex);
    m_flushed = m_text.size();
    m_changed.notify_all();
    return 0;
}

std::vector<std::string> ClogCapture::messagesFrom(std::size_t begin) const {
    static const std::string tag = "[lumiq-v4l2-camera] ";
    std::vector<std::string> all;
    std::istringstream lines(m_text.substr(begin, m_flushed - std::min(begin, m_flushed)));
    for (std::string line; std::getline(lines, line);) {
        const auto colon = line.find(':');
        const auto text = line.find(" -- ");
        if (line.rfind(tag, 0) == 0 && colon != std::string::npos && text != std::string::npos) {
            all.push_back(line.substr(tag.size(), colon - tag.size()) + ": " +
                          line.substr(text + 4));
        }
    }
    return all;
}

std::vector<std::string> ClogCapture::messages() {
    const std::lock_guard lock(m_mutex);
    return messagesFrom(m_shown);
}

std::size_t ClogCapture::count(const std::string& message) {
    const std::vector<std::string> all = messages();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), message));
}

template <typename Predicate>
bool ClogCapture::waitUntilAny(bool cleared, Predicate matches) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, waitLimit, [&] {
        const std::vector<std::string> all = messagesFrom(cleared ? 0 : m_shown);
        return std::any_of(all.begin(), all.end(), matches);
    });
}

bool ClogCapture::waitFor(const std::string& message) {
    return waitUntilAny(false, [&](const std::string& each) { return each == message; });
}

bool ClogCapture::waitForPrefix(const std::string& prefix) {
    return waitUntilAny(false, [&](const std::string& each) { return each.rfind(prefix, 0) == 0; });
}

bool ClogCapture::waitForPrefixEver(const std::string& prefix) {
    return waitUntilAny(true, [&](const std::string& each) { return each.rfind(prefix, 0) == 0; });
}

std::string ClogCapture::text() {
    const std::lock_guard lock(m_mutex);
    return m_text.substr(m_shown);
}

void ClogCapture::clear() {
    const std::lock_guard lock(m_mutex);
    m_shown = m_text.size();
}

}  // namespace TestSupport
