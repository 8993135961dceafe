// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Forms log lines, and switches std::clog over to syslog. Any thread.

#include "lumiq/internal/log.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <locale>
#include <memory>
#include <mutex>
#include <string_view>
#include <type_traits>

#include "lumiq/internal/syslog-buffer.h"

namespace Nerio::Lumiq {
namespace {

std::atomic<bool> logInitialised{false};
std::mutex logInitMutex;

// The buffer that LogInit installed or found, published after it is in place.
std::atomic<const Internal::SysLogBuffer*> installedBuffer{nullptr};

// Held while a message goes into std::clog, and while its buffer is replaced. The last messages
// come from destructors of static objects.
std::mutex writerMutex;
static_assert(std::is_trivially_destructible_v<std::mutex>);

// Also one that another library installed: each back end has a copy of this code, and there is one
// std::clog for all of them.
Internal::SysLogBuffer* syslogBuffer() {
    return dynamic_cast<Internal::SysLogBuffer*>(std::clog.rdbuf());
}

bool syslogIsOff() {
    const char* value = std::getenv("LUMIQ_NO_SYSLOG");
    return value != nullptr && std::string_view(value) != "0";
}

}  // namespace

void LogInit() {
    if (logInitialised.load(std::memory_order_acquire)) {
        return;
    }
    const std::lock_guard lock(logInitMutex);
    if (logInitialised.load(std::memory_order_relaxed)) {
        return;
    }
    if (!syslogIsOff()) {
        const bool debug = std::getenv("LUMIQ_DEBUG") != nullptr;
        const std::lock_guard writerLock(writerMutex);
        if (syslogBuffer() == nullptr) {
            // Never destroyed: std::clog uses it until the process ends.
            std::clog.rdbuf(std::make_unique<Internal::SysLogBuffer>("lumiq", debug).release());
        }
        installedBuffer.store(syslogBuffer(), std::memory_order_release);
    }
    logInitialised.store(true, std::memory_order_release);
}

std::ostream& operator<<(std::ostream& stream, const LogLevel& level) {
    if (auto* buffer = dynamic_cast<Internal::SysLogBuffer*>(stream.rdbuf())) {
        buffer->setLevel(level);
    }
    return stream;
}

namespace Internal {

bool logEnabled(LogLevel level) noexcept {
    const SysLogBuffer* buffer = installedBuffer.load(std::memory_order_acquire);
    // A host may have put another buffer behind std::clog since; that one gets everything.
    return buffer == nullptr || buffer->accepts(level) || std::clog.rdbuf() != buffer;
}

std::ostream& operator<<(std::ostream& stream, const SystemError& error) {
    return stream << std::strerror(error.number) << "(" << error.number << ")";
}

LogMessage::LogMessage(LogLevel level, std::string_view tag, std::string_view function, int line)
    : m_level(level) {
    // Numbers are for machines to find; a host's locale must not group their digits.
    m_text.imbue(std::locale::classic());
    m_text << tag << function << ":" << line << " -- ";
}

LogMessage::~LogMessage() {
    try {
        const std::string text = std::move(m_text).str();
        const std::lock_guard lock(writerMutex);
        std::unique_lock<std::mutex> amongLibraries;
        if (SysLogBuffer* const buffer = syslogBuffer()) {
            amongLibraries = std::unique_lock(buffer->messageMutex());
        }
        std::clog << m_level << text << std::endl;
    } catch (const std::exception&) {
        // A host may have asked std::clog to throw, and it throws what its buffer did; a line that
        // cannot be written must not end the host.
    }
}

}  // namespace Internal
}  // namespace Nerio::Lumiq
