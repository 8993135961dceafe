// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Understanding the command line; see the header.
#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <vector>

#include "exit-code.h"
#include "help-text.h"

namespace LumiqCam {
namespace {

// The options as they were written.
struct Written {
    std::string camera, format, size, fps, priority = "size-width", output, as;
    double duration = 0;
    double timeout = 15;
};

void addCommonOptions(CLI::App& app, Options& options) {
    app.add_option("--plugin", options.plugin,
                   "The plug-in to load (default: LUMIQ_PLUGIN, else liblumiq-v4l2-camera.so)")
        ->type_name("PATH");
    app.add_flag("--json", options.json, "JSON on standard output; watch: one object per line");
    app.add_flag("-v,--verbose", options.verbose, "Show the plug-in's own log on standard error");
    app.add_flag("--syslog", options.syslog, "Send the plug-in's log to syslog instead");
}

void addWishOptions(CLI::App& command, Written& written) {
    command.add_option("-f,--format", written.format, "Pixel format (default: Preferred)");
    command.add_option("-s,--size", written.size, "Wished size (default: 640x480)")
        ->type_name("WxH");
    command.add_option("-r,--fps", written.fps, "Wished frames per second (default: 30)")
        ->type_name("RATE");
    command
        .add_option("-p,--priority", written.priority,
                    "What to keep closest: size-width, size-height, fps-width, fps-height")
        ->capture_default_str();
}

void addCamera(CLI::App& command, Written& written) {
    command.add_option("CAMERA", written.camera, "Number, id, or part of a name")->required();
}

void addLimits(CLI::App& command, Options& options, Written& written, const char* what) {
    command.add_option("-n,--count", options.count, what)->check(CLI::PositiveNumber);
    command.add_option("-d,--duration", written.duration, "End after so many seconds")
        ->check(CLI::Range(0.001, 1e9))
        ->type_name("SECONDS");
}

void addCapture(CLI::App& app, Options& options, Written& written) {
    CLI::App* const command =
        app.add_subcommand("capture", "Capture frames, write them, measure the stream");
    command->footer(kCaptureFooter);
    addCamera(*command, written);
    addWishOptions(*command, written);
    command->add_flag("--exact", options.wish.exact,
                      "Ask for size and rate as given instead of the closest the camera lists");
    addLimits(*command, options, written, "End after so many frames");
    auto* const output =
        command
            ->add_option("-o,--output", written.output, "File, pattern, or - for standard output")
            ->type_name("FILE");
    command
        ->add_flag("--convert", options.convert,
                   "Convert each frame to 4:2:0, to measure that; nothing is written")
        ->excludes(output);
    command->add_option("--as", written.as, "png, jpg, y4m or raw, whatever the file's ending")
        ->type_name("KIND");
    command->add_option("-t,--timeout", written.timeout, "Give up when no frame comes for so long")
        ->check(CLI::Range(0.001, 1e9))
        ->capture_default_str()
        ->type_name("SECONDS");
    command->final_callback([&options] { options.command = Command::Capture; });
}

void addCommands(CLI::App& app, Options& options, Written& written) {
    app.add_subcommand("list", "List the cameras")->final_callback([&options] {
        options.command = Command::List;
    });
    CLI::App* const show = app.add_subcommand("show", "Show what a camera can do");
    addCamera(*show, written);
    show->final_callback([&options] { options.command = Command::Show; });
    CLI::App* const closest =
        app.add_subcommand("closest", "Show what a camera has nearest to a wish");
    addCamera(*closest, written);
    addWishOptions(*closest, written);
    closest->final_callback([&options] { options.command = Command::Closest; });
    addCapture(app, options, written);
    CLI::App* const watch = app.add_subcommand("watch", "Show cameras as they come and go");
    addLimits(*watch, options, written, "End after so many arrivals and departures");
    watch->final_callback([&options] { options.command = Command::Watch; });
}

std::chrono::milliseconds fromSeconds(double seconds) {
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000.0));
}

void checkTogether(const Options& options) {
    if (options.command != Command::Capture) {
        return;
    }
    if (options.json && options.output.standardOutput) {
        throw Failure(ExitCode::Usage, "--json and --output - both want standard output",
                      "Write the frames to a file, or leave out --json.");
    }
    if (options.output.holdsOneFrame() && options.count > 1) {
        throw Failure(ExitCode::Usage,
                      "one picture file cannot hold " + std::to_string(options.count) + " frames",
                      "Use a number pattern such as frame-%04d.png, or leave out --count.");
    }
}

void interpret(const Written& written, Options& options) {
    options.camera = written.camera;
    options.output = parseOutput(written.output, written.as);
    options.wish.format =
        written.format.empty() ? defaultFormatFor(options.output) : parseFormat(written.format);
    if (!written.size.empty()) {
        options.wish.size = parseSize(written.size);
    }
    if (!written.fps.empty()) {
        options.wish.fps = parseFrameRate(written.fps);
    }
    options.wish.priority = parsePriority(written.priority);
    options.duration = fromSeconds(written.duration);
    options.timeout = fromSeconds(written.timeout);
    checkTogether(options);
    if (options.output.holdsOneFrame()) {
        options.count = 1;
    }
}

std::string commandNamed(const std::vector<CLI::App*>& commands) {
    return commands.empty() ? "lumiq-cam --help"
                            : "lumiq-cam " + commands.front()->get_name() + " --help";
}

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv) {
    Options options;
    Written written;
    CLI::App app{kDescription, "lumiq-cam"};
    app.footer(kCommonFooter);
    app.set_version_flag("--version", "lumiq-cam " LUMIQ_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    addCommonOptions(app, options);
    addCommands(app, options, written);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {  // --help and --version
        app.exit(asked);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(ExitCode::Usage, error.what(),
                      "See " + commandNamed(app.get_subcommands()) + ".");
    }
    interpret(written, options);
    return options;
}

bool asksForJson(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace LumiqCam
