// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The command line; what --help prints is the program's manual.

#include "options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <stdexcept>

#include "camera.h"

namespace UsbCamera {
namespace {

constexpr const char* about =
    R"(A USB camera without a camera: what a JSON description describes, plugged into this kernel.

The kernel's virtual USB host controller takes a socket for a cable; this program is the UVC camera at
its other end, and the kernel's own driver makes a /dev/video node of it. Needs root, and the modules
vhci-hcd and uvcvideo.
)";

constexpr const char* examples = R"(Example:
  modprobe -a vhci-hcd uvcvideo
  lumiq-usb-camera run --control /run/camera webcam.json &
  lumiq-usb-camera wait /run/camera                  # prints /dev/video0
  v4l2-ctl -d /dev/video0 --stream-mmap --stream-count=30
  lumiq-usb-camera tell /run/camera fault '{"frame": "error", "count": 5}'
  lumiq-usb-camera tell /run/camera unplug

Every frame carries its number, counted from 0 since the stream began. A description is that of a
simulated camera, with sizes listed one by one; formats are YUYV, UYVY, NV12, YU12, MJPG, H264, VP80.

Exit codes: 0 done, 1 failed, with the reason printed, 2 the command line makes no sense.
)";

void addRun(CLI::App& app, Options& options) {
    auto* const run = app.add_subcommand("run", "Be a camera, until SIGINT, SIGTERM or \"quit\"");
    run->callback([&options] { options.mode = Options::Mode::Run; });
    run->add_option("description", options.description, "The camera's description (JSON)")
        ->required();
    run->add_option("--control", options.socket, "Listen for commands at this socket")
        ->type_name("SOCKET");
    run->add_option("--port", options.port,
                    "Use this port of the host controller, not any free one")
        ->type_name("N");
    run->add_flag_callback(
        "--bulk", [&options] { options.transport = Transport::Bulk; },
        "Stream in bulk transfers, not isochronous ones");
    run->add_flag_callback(
        "--uvc15", [&options] { options.version = UvcVersion::v1_5; },
        "Speak version 1.5 of USB video, not 1.1");
    run->add_flag("--unplugged", options.unplugged,
                  "Begin unplugged; wait for the command \"plug\"");
}

void addSocket(CLI::App& command, Options& options) {
    command.add_option("socket", options.socket, "The camera's socket (its --control)")->required();
    command.add_option("--seconds", options.seconds, "Wait so long at most (10)")->type_name("N");
}

void addTell(CLI::App& app, Options& options) {
    auto* const tell = app.add_subcommand("tell", "Tell a running camera what to do");
    tell->callback([&options] { options.mode = Options::Mode::Tell; });
    addSocket(*tell, options);
    tell->add_option("command", options.command, "A command with its arguments")->required();
    tell->footer(commandHelp);
}

}  // namespace

std::optional<Options> readOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app(about, "lumiq-usb-camera");
    app.require_subcommand(1);
    addRun(app, options);
    addTell(app, options);
    auto* const wait = app.add_subcommand("wait", "Print a camera's node once it can be opened");
    wait->callback([&options] { options.mode = Options::Mode::Wait; });
    addSocket(*wait, options);
    app.footer(std::string(commandHelp) + "\n" + examples);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw std::invalid_argument(std::string(error.what()) + "; see lumiq-usb-camera --help");
    }
    return options;
}

}  // namespace UsbCamera
