// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The severities of log messages, and the switch that sends them to syslog. Included by hosts and
// by back ends.

#ifndef LUMIQ_LOG_H
#define LUMIQ_LOG_H

#include <cstdint>

#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// The severity of a log message.
enum class LogLevel : std::uint32_t {
    Debug = 0,  ///< syslog priority LOG_DEBUG; dropped unless LUMIQ_DEBUG is in the environment.
    Info = 1,   ///< syslog priority LOG_INFO.
    Error = 2,  ///< syslog priority LOG_ERR.
};

/// Sends the process's `std::clog` to syslog under the ident "lumiq", with LOG_PID and facility
/// LOG_USER (syslog(3)). A library exports it under its C++ name, "_ZN5Nerio5Lumiq7LogInitEv".
///
/// Only the first call has an effect; any thread may call it, also several at once. Until then
/// `std::clog` writes every message to standard error. Two environment variables are read by that
/// first call: LUMIQ_NO_SYSLOG with any value but "0" leaves `std::clog` as it is; LUMIQ_DEBUG with
/// any value, even empty, lets Debug messages through to syslog.
///
/// Errors: std::bad_alloc, after which a later call tries again.
LUMIQ_CONTRACT void LogInit();

static_assert(sizeof(LogLevel) == 4);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_LOG_H
