// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The service's one thread at work: waits for the bus and for every other descriptor that someone
// watches, and calls whoever is concerned. Whatever is said here of "the loop" is that thread.
#pragma once

#include <sdbus-c++/IConnection.h>

#include <functional>
#include <map>
#include <optional>

#include "exit-code.h"

namespace GateholdService {

class EventLoop {
public:
    using Handler = std::function<void()>;

    // Calls the handler in the loop whenever the descriptor can be read or has reached its end,
    // until unwatch.
    void watch(int fd, Handler handler);
    // Not from a handler of the loop.
    void unwatch(int fd);

    // Serves until stop is called or the bus is lost, which is told to the user.
    ExitCode run(sdbus::IConnection& bus);
    // From a handler: ends run with this result. The first call counts.
    void stop(ExitCode result);

private:
    void waitAndDispatch(const sdbus::IConnection::PollData& bus);

    std::map<int, Handler> m_handlers;
    std::optional<ExitCode> m_result;
};

}  // namespace GateholdService
