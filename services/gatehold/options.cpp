// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The command line; see the header. What --help prints is the program's manual.
#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "exit-code.h"

namespace GateholdService {
namespace {

constexpr const char* kDescription = R"(Device-access service for cameras, for development.

Puts cameras on the message bus, one object each, and hands out an opened descriptor to whoever calls
"Open" and may: the real video nodes of this machine, simulated cameras, or both. Serves on the system
bus, or on the one that DBUS_SYSTEM_BUS_ADDRESS names, until SIGINT or SIGTERM.
)";

constexpr const char* kExample = R"(Example, without root and without a camera:
  export DBUS_SYSTEM_BUS_ADDRESS=$(dbus-daemon --session --fork --print-address)
  lumiq-gatehold --simulate webcam.json --control &
  lumiq-gatehold control list
  lumiq-gatehold control fault sim0 '{"frame": "stall", "milliseconds": 3000}'
  lumiq-gatehold control unplug sim0
A program that opens simulated cameras needs the simulator: LD_PRELOAD=liblumiq-simulator.so.

)";

void addServeOptions(CLI::App& app, ServeOptions& serve, bool& real, bool& noReal) {
    app.add_option("--simulate", serve.descriptionFiles,
                   "Serve the simulated camera that this JSON file describes; may be given several "
                   "times")
        ->type_name("FILE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    auto* const yes =
        app.add_flag("--real", real, "Serve the real video nodes (the default without --simulate)");
    app.add_flag("--no-real", noReal, "Do not serve them (the default with --simulate)")
        ->excludes(yes);
    app.add_flag("--control", serve.control,
                 "Let \"lumiq-gatehold control\" plug, unplug and disturb simulated cameras");
    app.add_flag("--replace", serve.replace, "Take the bus name over from a running service");
    app.add_option("--ready-fd", serve.readyFd,
                   "Write a line to this descriptor and close it once clients may call")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
}

void addCamera(CLI::App& command, std::string& camera) {
    command
        .add_option("camera", camera,
                    "Object path, its last part (\"sim0\"), or a part of the name that only one "
                    "camera has")
        ->required();
}

void addControlCommands(CLI::App& app, Options& options) {
    auto& values = options.control;
    auto* const control =
        app.add_subcommand("control", "Control a service that runs with --control");
    control->require_subcommand(1);
    control->callback([&options] { options.controlsAnother = true; });
    const auto command = [&](const char* name, const char* what, ControlOptions::Command value) {
        auto* const added = control->add_subcommand(name, what);
        added->callback([&values, value] { values.command = value; });
        return added;
    };
    using Command = ControlOptions::Command;
    command("plug", "Plug a simulated camera in; prints its object path", Command::plug)
        ->add_option("file", values.file, "The camera's description (JSON)")
        ->required();
    addCamera(*command("unplug", "Unplug a simulated camera", Command::unplug), values.camera);
    auto* const fault = command("fault", "Switch on one more fault", Command::fault);
    addCamera(*fault, values.camera);
    fault->add_option("json", values.fault, R"(The fault, e.g. '{"frame": "unplug", "first": 60}')")
        ->required();
    addCamera(*command("clear", "Switch all faults of a camera off", Command::clear),
              values.camera);
    command("list", "Print the cameras on the bus: path, capability words, name", Command::list);
}

}  // namespace

Options parseCommandLine(int argc, char** argv) {
    Options options;
    bool real = false;
    bool noReal = false;
    CLI::App app(kDescription, "lumiq-gatehold");
    app.set_version_flag("--version", "lumiq-gatehold " LUMIQ_VERSION);
    app.footer(std::string(kExample) + kExitCodeTable);
    app.add_flag("--verbose", options.verbose, "Tell of each arrival, departure and \"Open\"");
    addServeOptions(app, options.serve, real, noReal);
    addControlCommands(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool asked = app.exit(error) == 0;
        std::exit(static_cast<int>(asked ? ExitCode::success : ExitCode::usage));
    }
    options.serve.realNodes = real || (!noReal && options.serve.descriptionFiles.empty());
    return options;
}

}  // namespace GateholdService
