// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Sends collected messages to syslog. Called through std::clog, by LogMessage or by the host
// itself.

#include "lumiq/internal/syslog-buffer.h"

#include <syslog.h>

namespace Nerio::Lumiq::Internal {
namespace {

int priorityOf(std::int32_t level) {
    switch (level) {
        case static_cast<std::int32_t>(LogLevel::Info):
            return LOG_INFO;
        case static_cast<std::int32_t>(LogLevel::Error):
            return LOG_ERR;
        default:
            return LOG_DEBUG;
    }
}

}  // namespace

SysLogBuffer::SysLogBuffer(std::string_view ident, bool debug)
    : m_minimumLevel(static_cast<std::int32_t>(debug ? LogLevel::Debug : LogLevel::Info)) {
    ident.copy(m_ident.data(), m_ident.size() - 1);
    openlog(m_ident.data(), LOG_PID, LOG_USER);
}

SysLogBuffer::~SysLogBuffer() = default;

void SysLogBuffer::setLevel(LogLevel level) noexcept {
    m_currentLevel = static_cast<std::int32_t>(level);
}

bool SysLogBuffer::accepts(LogLevel level) const noexcept {
    return static_cast<std::int32_t>(level) >= m_minimumLevel;
}

int SysLogBuffer::sync() {
    if (m_currentLevel >= m_minimumLevel && !m_message.empty()) {
        syslog(priorityOf(m_currentLevel), "%s", m_message.c_str());
    }
    m_message.clear();
    m_currentLevel = static_cast<std::int32_t>(LogLevel::Debug);
    return 0;
}

std::streamsize SysLogBuffer::xsputn(const char* text, std::streamsize count) {
    if (m_currentLevel >= m_minimumLevel) {
        m_message.append(text, static_cast<std::size_t>(count));
    }
    return count;
}

int SysLogBuffer::overflow(int character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        sync();
    } else if (m_currentLevel >= m_minimumLevel) {
        m_message.push_back(traits_type::to_char_type(character));
    }
    // Never end-of-file: a dropped character must not put the stream into a failed state.
    return traits_type::not_eof(character);
}

}  // namespace Nerio::Lumiq::Internal
