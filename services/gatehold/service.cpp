// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The service; see the header.
#include "service.h"

#include <fcntl.h>
#include <sdbus-c++/Error.h>
#include <simulated-device.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bus-name.h"
#include "camera-list.h"
#include "control.h"
#include "event-loop.h"
#include "messages.h"
#include "protocol.h"
#include "real-nodes.h"
#include "simulated-cameras.h"
#include "stop-signals.h"

namespace GateholdService {
namespace {

std::vector<Simulator::CameraDescription> loadDescriptions(const std::vector<std::string>& files) {
    std::vector<Simulator::CameraDescription> result;
    for (const std::string& file : files) {
        try {
            result.push_back(Simulator::loadDescription(file));
        } catch (const Simulator::DescriptionError& error) {
            throw Failure(ExitCode::badDescription, error.what());
        }
    }
    return result;
}

void checkReadyFd(int fd) {
    if (fd >= 0 && fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) {
        throw Failure(ExitCode::usage, "--ready-fd " + std::to_string(fd) + ": " +
                                           std::strerror(errno) +
                                           "; name a descriptor that is open for writing");
    }
}

void tellReady(const ServeOptions& options, std::size_t cameras) {
    say("ready: " + std::to_string(cameras) + (cameras == 1 ? " camera" : " cameras") + " on " +
        Protocol::kServiceName + (options.control ? ", with control" : ""));
    sd_notify(0, "READY=1");
    if (options.readyFd >= 0) {
        constexpr std::string_view line = "ready\n";
        if (write(options.readyFd, line.data(), line.size()) < 0) {
            say(std::string("nobody reads --ready-fd: ") + std::strerror(errno));
        }
        close(options.readyFd);
    }
}

void leave(SimulatedCameras& simulated) {
    try {
        simulated.unplugAll();
    } catch (const sdbus::Error& error) {
        // Bus and service are often stopped together.
        sayVerbose("clients could not be told: " + error.getMessage());
    }
}

}  // namespace

ExitCode serve(const ServeOptions& options) {
    checkReadyFd(options.readyFd);
    const auto descriptions = loadDescriptions(options.descriptionFiles);
    // Before the first thread, which the simulated cameras bring.
    StopSignals stopSignals;
    const auto connection = connectToBus();
    EventLoop loop;
    stopSignals.watchWith(loop);
    CameraList list(*connection);
    SimulatedCameras simulated(list, loop);
    for (const auto& description : descriptions) {
        simulated.plug(description);
    }
    std::optional<RealNodes> real;
    if (options.realNodes) {
        real.emplace(list, loop);
    }
    std::optional<Control> control;
    if (options.control) {
        control.emplace(*connection, simulated);
    }
    claimName(*connection, options.replace, [&loop] {
        say("another service took the name over");
        loop.stop(ExitCode::replaced);
    });
    list.announce();
    tellReady(options, list.size());
    const ExitCode result = loop.run(*connection);
    sd_notify(0, "STOPPING=1");
    if (result == ExitCode::success) {
        leave(simulated);
    }
    return result;
}

}  // namespace GateholdService
