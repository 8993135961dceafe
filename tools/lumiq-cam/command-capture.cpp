// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam capture.
#include <cstdio>

#include "capture-run.h"
#include "capture-summary.h"
#include "commands.h"
#include "host.h"
#include "report.h"

namespace LumiqCam {
namespace {

void sayWhatDiffers(const Options& options, const OperatingPoint& point) {
    for (const std::string& note : point.notes) {
        say(note);
    }
    const FrameSize wished = options.wish.size;
    const bool otherSize = point.size.width != wished.width || point.size.height != wished.height;
    if (point.foundByBackEnd && otherSize) {
        say("the closest to " + toText(wished) + " is " + toText(point.size) + "; taking that");
    }
}

void report(const Options& options, LogCollector& log, const Nerio::Lumiq::CameraInfo& camera,
            const OperatingPoint& point, const CaptureOutcome& outcome) {
    // After a removal the plug-in's calls fail one after the other; that explains nothing.
    const bool logExplains = outcome.end != End::Removed && outcome.end != End::OutputFailed;
    const std::vector<std::string> lines =
        logExplains ? log.takeFailures() : std::vector<std::string>{};
    if (outcome.failure) {
        explain(*outcome.failure, lines);
    }
    if (options.json) {
        Json document = summaryDocument(options, camera, point, outcome);
        if (outcome.failure) {
            document["error"] = toJson(*outcome.failure, lines);
        }
        printDocument(document);
        return;
    }
    const std::string text = summaryText(options, camera, point, outcome);
    if (options.output.standardOutput) {
        std::fputs(text.c_str(), stderr);
    } else {
        printText(text);
    }
}

}  // namespace

ExitCode capture(const Options& options, LogCollector& log) {
    Host host(options);
    const auto info = host.pick(options.camera);
    const auto camera = host.open(info);
    const OperatingPoint point =
        chooseOperatingPoint(*camera, formatsOf(host, *camera, info.id), options.wish);
    sayWhatDiffers(options, point);
    const StopSignals signals(host.wakeUp());
    CaptureRun run(host, options, info.id, camera, point);
    const CaptureOutcome outcome = run.run();
    report(options, log, info, point, outcome);
    return outcome.exitCode();
}

}  // namespace LumiqCam
