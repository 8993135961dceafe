// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starting and ending lumiq-gatehold; see the header.
#include "gatehold-process.h"

#include <csignal>
#include <stdexcept>
#include <utility>

namespace TestSupport {
namespace {

std::vector<std::string> withReadyPipe(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(),
                     {"--ready-fd", std::to_string(ChildProcess::readyDescriptor)});
    return arguments;
}

}  // namespace

GateholdProcess::GateholdProcess(const PrivateBus& bus, const std::vector<std::string>& arguments)
    : m_process(run(bus.address(), withReadyPipe(arguments))) {
    if (m_process.readyLine() != "ready") {
        m_process.signal(SIGKILL);
        m_process.wait();
        throw std::runtime_error("lumiq-gatehold did not become ready: " +
                                 m_process.standardError());
    }
}

int GateholdProcess::stop() {
    m_process.signal(SIGTERM);
    return m_process.wait();
}

std::string GateholdProcess::program() {
    return LUMIQ_GATEHOLD_PROGRAM;
}

ChildProcess GateholdProcess::run(const std::string& busAddress,
                                  std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program());
    return ChildProcess(std::move(arguments),
                        {.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", busAddress}}});
}

int GateholdProcess::runToEnd(const std::string& busAddress, std::vector<std::string> arguments) {
    return run(busAddress, std::move(arguments)).wait();
}

}  // namespace TestSupport
