// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam watch.
#include <array>
#include <chrono>
#include <ctime>

#include "commands.h"
#include "host.h"
#include "report.h"

namespace LumiqCam {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

std::string timeText(std::chrono::system_clock::time_point time, bool utc) {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    utc ? gmtime_r(&seconds, &parts) : localtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), utc ? "%Y-%m-%dT%H:%M:%S" : "%H:%M:%S", &parts);
    const std::string fraction = std::to_string(1000 + milliseconds % 1000).substr(1);
    return std::string(text.data()) + "." + fraction + (utc ? "Z" : "");
}

// Prints one event; what is there at the start counts as present, not as having come.
void print(const Options& options, const CameraEvent& event, const char* word) {
    if (options.json) {
        printLine({{"event", word},
                   {"time", timeText(event.time, true)},
                   {"camera", toJson(event.camera)}});
    } else {
        printText(timeText(event.time, false) + "  " + word + "  " + printable(event.camera.name) +
                  "  " + printable(event.camera.id) + "\n");
    }
}

void watchUntilEnd(const Options& options, Host& host) {
    const auto start = Clock::now();
    std::uint64_t seen = 0;
    while (!StopSignals::requested()) {
        for (const CameraEvent& event : host.cameraList().takeEvents()) {
            print(options, event, event.added ? "added" : "removed");
            if (options.count != 0 && ++seen >= options.count) {
                return;
            }
        }
        auto wait = std::chrono::milliseconds(1h);
        if (options.duration > 0ms) {
            const auto left = start + options.duration - Clock::now();
            if (left <= 0ms) {
                return;
            }
            wait = std::chrono::ceil<std::chrono::milliseconds>(left);
        }
        host.wakeUp().wait(wait);
    }
}

}  // namespace

void watchCameras(const Options& options, LogCollector& log) {
    Host host(options);
    const StopSignals signals(host.wakeUp());
    for (const CameraEvent& event : host.cameraList().takeEvents()) {
        print(options, event, event.added ? "present" : "removed");
    }
    if (!options.verbose && !options.syslog) {
        // Nobody asks for the log here, and a lost bus would otherwise go unnoticed.
        log.setEcho(LogEcho::Failures);
    }
    say("watching for cameras; Ctrl-C ends it");
    watchUntilEnd(options, host);
}

}  // namespace LumiqCam
