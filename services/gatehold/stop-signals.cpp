// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// SIGINT and SIGTERM; see the header.
#include "stop-signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <system_error>

#include "messages.h"

namespace GateholdService {

StopSignals::StopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    if (sigprocmask(SIG_BLOCK, &set, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "sigprocmask");
    }
    m_descriptor.reset(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK), sdbus::adopt_fd);
    if (!m_descriptor.isValid()) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

void StopSignals::watchWith(EventLoop& loop) {
    loop.watch(m_descriptor.get(), [this, &loop] {
        signalfd_siginfo info{};
        if (read(m_descriptor.get(), &info, sizeof info) == sizeof info) {
            sayVerbose(std::string("stopping: ") + strsignal(static_cast<int>(info.ssi_signo)));
            loop.stop(ExitCode::success);
        }
    });
}

}  // namespace GateholdService
