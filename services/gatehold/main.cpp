// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-gatehold: the device-access service for development, and the commands that control it.
#include <csignal>
#include <exception>

#include "control-client.h"
#include "exit-code.h"
#include "messages.h"
#include "options.h"
#include "service.h"

using namespace GateholdService;

int main(int argc, char** argv) {
    try {
        const Options options = parseCommandLine(argc, argv);
        setVerbose(options.verbose);
        // A reader of the ready descriptor or of the messages may leave; that is no reason to end.
        std::signal(SIGPIPE, SIG_IGN);
        if (options.controlsAnother) {
            runControlCommand(options.control);
            return static_cast<int>(ExitCode::success);
        }
        return static_cast<int>(serve(options.serve));
    } catch (const Failure& failure) {
        say(failure.what());
        return static_cast<int>(failure.exitCode());
    } catch (const std::exception& error) {
        say(error.what());
        return static_cast<int>(ExitCode::failed);
    }
}
