// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The loop; see the header.
#include "event-loop.h"

#include <poll.h>
#include <sdbus-c++/Error.h>

#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include "messages.h"

namespace GateholdService {

void EventLoop::watch(int fd, Handler handler) {
    m_handlers.insert_or_assign(fd, std::move(handler));
}

void EventLoop::unwatch(int fd) {
    m_handlers.erase(fd);
}

void EventLoop::stop(ExitCode result) {
    if (!m_result) {
        m_result = result;
    }
}

ExitCode EventLoop::run(sdbus::IConnection& bus) {
    try {
        while (!m_result) {
            // One message at a time: with more to come, the time-out of the next wait is zero, and
            // a flood of calls does not keep signals and departures waiting.
            bus.processPendingEvent();
            if (!m_result) {
                waitAndDispatch(bus.getEventLoopPollData());
            }
        }
    } catch (const sdbus::Error& error) {
        // The connection does not come back, and neither would the name.
        say("the message bus went away (" + error.getMessage() +
            "); start me again when it is back");
        stop(ExitCode::busLost);
    }
    return *m_result;
}

void EventLoop::waitAndDispatch(const sdbus::IConnection::PollData& bus) {
    std::vector<pollfd> items{{bus.fd, bus.events, 0}, {bus.eventFd, POLLIN, 0}};
    const auto first = items.size();
    for (const auto& [fd, handler] : m_handlers) {
        items.push_back({fd, POLLIN, 0});
    }
    if (poll(items.data(), items.size(), bus.getPollTimeout()) < 0) {
        if (errno == EINTR) {
            return;
        }
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    for (auto index = first; index < items.size(); ++index) {
        if (items[index].revents != 0) {
            m_handlers.at(items[index].fd)();
        }
    }
}

}  // namespace GateholdService
