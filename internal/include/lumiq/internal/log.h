// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How back ends write log messages: one line per message, formed whole and then inserted into
// std::clog as one. Any thread.

#ifndef LUMIQ_INTERNAL_LOG_H
#define LUMIQ_INTERNAL_LOG_H

#include <cstddef>
#include <ostream>
#include <sstream>
#include <string_view>

#include "lumiq/log.h"

namespace Nerio::Lumiq {

/// Sets the level of the message that follows, when `stream` writes to syslog; writes no characters
/// in any case.
std::ostream& operator<<(std::ostream& stream, const LogLevel& level);

}  // namespace Nerio::Lumiq

namespace Nerio::Lumiq::Internal {

/// The tag of the camera back end's lines.
inline constexpr std::string_view cameraLogTag = "[lumiq-v4l2-camera] ";

/// False when a message of this level would be dropped anyway; costs two comparisons.
[[nodiscard]] bool logEnabled(LogLevel level) noexcept;

/// A failed system call's text as log lines carry it: "Invalid argument(22)".
struct SystemError {
    int number;  ///< The errno of the call.
};
std::ostream& operator<<(std::ostream& stream, const SystemError& error);

/// One log line. It collects the text and inserts level, text and end of line when it goes out of
/// scope, one message at a time in the whole process, so that lines of several threads never mix.
class LogMessage {
public:
    LogMessage(LogLevel level, std::string_view tag, std::string_view function, int line);
    LogMessage(const LogMessage&) = delete;
    LogMessage& operator=(const LogMessage&) = delete;
    ~LogMessage();

    template <typename T>
    LogMessage& operator<<(const T& value) {
        m_text << value;
        return *this;
    }

private:
    LogLevel m_level;
    std::ostringstream m_text;
};

}  // namespace Nerio::Lumiq::Internal

/// LUMIQ_LOG(Error) << "text": a line under the name of the function it stands in. The operands are
/// evaluated only when the level is not dropped.
#define LUMIQ_LOG(level) LUMIQ_LOG_AS(level, __func__)

/// The same under the name of the operation that the function it stands in is a part of.
#define LUMIQ_LOG_AS(level, function) \
    LUMIQ_LOG_TAGGED(level, ::Nerio::Lumiq::Internal::cameraLogTag, function)

/// The same with the tag of another part than the camera back end, its trailing blank included.
#define LUMIQ_LOG_TAGGED(level, tag, function)                                               \
    if (!::Nerio::Lumiq::Internal::logEnabled(::Nerio::Lumiq::LogLevel::level)) {            \
    } else                                                                                   \
        ::Nerio::Lumiq::Internal::LogMessage(::Nerio::Lumiq::LogLevel::level, tag, function, \
                                             __LINE__)

#endif  // LUMIQ_INTERNAL_LOG_H
