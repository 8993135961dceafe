// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam: the host tool. Loads a camera plug-in and does one thing with it.
#include <csignal>

#include <exception>

#include "commands.h"
#include "report.h"

namespace LumiqCam {
namespace {

ExitCode dispatch(const Options& options, LogCollector& log) {
    switch (options.command) {
        case Command::List:
            listCameras(options);
            break;
        case Command::Show:
            showCamera(options);
            break;
        case Command::Closest:
            showClosest(options);
            break;
        case Command::Watch:
            watchCameras(options, log);
            break;
        case Command::Capture:
            return capture(options, log);
    }
    return ExitCode::Ok;
}

ExitCode reportFailure(const Failure& failure, bool json, LogCollector& log) {
    const std::vector<std::string> lines = log.takeFailures();
    explain(failure, lines);
    if (json && failure.code() != ExitCode::OutputFailed) {
        printDocument({{"error", toJson(failure, lines)}});
    }
    return failure.code();
}

ExitCode run(int argc, char** argv, LogCollector& log) {
    const auto options = parseOptions(argc, argv);
    if (!options) {
        return ExitCode::Ok;
    }
    log.setEcho(options->verbose ? LogEcho::Everything : LogEcho::Nothing);
    return dispatch(*options, log);
}

ExitCode runReporting(int argc, char** argv) {
    LogCollector& log = LogCollector::install(LogEcho::Nothing);
    const bool json = asksForJson(argc, argv);
    try {
        return run(argc, argv, log);
    } catch (const Failure& failure) {
        return reportFailure(failure, json, log);
    } catch (const std::exception& error) {
        return reportFailure(Failure(ExitCode::Internal, error.what()), json, log);
    }
}

}  // namespace
}  // namespace LumiqCam

int main(int argc, char** argv) {
    // A reader that goes away is an output that cannot be written, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return static_cast<int>(LumiqCam::runReporting(argc, argv));
    } catch (const std::exception& error) {  // Reporting itself failed.
        LumiqCam::say(error.what());
        return static_cast<int>(LumiqCam::ExitCode::Internal);
    }
}
