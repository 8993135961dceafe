// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The stream buffer that stands behind std::clog once LogInit has run. LogMessage writes one
// message at a time; what a host inserts on its own is not kept apart.

#ifndef LUMIQ_INTERNAL_SYSLOG_BUFFER_H
#define LUMIQ_INTERNAL_SYSLOG_BUFFER_H

#include <array>
#include <cstdint>
#include <mutex>
#include <streambuf>
#include <string>
#include <string_view>

#include "lumiq/log.h"

namespace Nerio::Lumiq::Internal {

/// Collects one message at a time and hands it to syslog(3) when the stream is flushed. Only a
/// flush ends a message, a newline does not.
///
/// Every back end in a process writes to the one that the first of them installed, also one that
/// was built with another version of this header: members are only ever appended.
class SysLogBuffer : public std::basic_streambuf<char> {
public:
    /// Opens syslog under `ident`, of which at most 31 characters are kept, with LOG_PID and
    /// LOG_USER. `debug` lets messages of level Debug through.
    SysLogBuffer(std::string_view ident, bool debug);

    /// Leaves syslog open: openlog(3) keeps one connection per process, not per buffer.
    ~SysLogBuffer() override;

    /// Sets the level of the message being collected.
    void setLevel(LogLevel level) noexcept;

    /// True when a message of this level is collected rather than dropped.
    [[nodiscard]] bool accepts(LogLevel level) const noexcept;

    /// Held by every LogMessage, from its level to its flush.
    [[nodiscard]] std::mutex& messageMutex() noexcept { return m_messageMutex; }

protected:
    int sync() override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int overflow(int character) override;

private:
    std::string m_message;
    // openlog(3) keeps the pointer, not the text.
    std::array<char, 32> m_ident{};
    std::int32_t m_minimumLevel;
    std::int32_t m_currentLevel = 0;
    std::mutex m_messageMutex;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_SYSLOG_BUFFER_H
