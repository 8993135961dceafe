// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-usb-camera: a UVC camera behind the kernel's virtual USB host controller, and the commands
// that disturb it.

#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <csignal>

#include <cerrno>
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "camera.h"
#include "control-socket.h"
#include "options.h"
#include "vhci-port.h"

namespace UsbCamera {
namespace {

/// Readable once the program is to end.
Simulator::OwnedDescriptor stopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    return Simulator::OwnedDescriptor(descriptor);
}

int runCamera(const Options& options) {
    const Simulator::OwnedDescriptor stop = stopSignals();
    VhciPort port("/sys", options.port);
    Camera camera(Simulator::loadDescription(options.description), options.version,
                  options.transport, port);
    std::optional<ControlSocket> control;
    if (!options.socket.empty()) {
        control.emplace(options.socket);
    }
    if (!options.unplugged) {
        camera.plugIn();
    }
    camera.run(stop.get(), control ? &*control : nullptr);
    return EXIT_SUCCESS;
}

int tell(const Options& options) {
    std::string command;
    for (const std::string& word : options.command) {
        command += (command.empty() ? "" : " ") + word;
    }
    const std::string answer =
        tellCamera(options.socket, command, std::chrono::seconds(options.seconds));
    const bool done = !answer.starts_with("error: ");
    (done ? std::cout : std::cerr) << answer << '\n';
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// The value of a word "name=value" in a status; empty when it is not there.
std::string wordOf(const std::string& status, const std::string& name) {
    const std::size_t at = status.find(" " + name + "=");
    if (at == std::string::npos) {
        return {};
    }
    const std::size_t begin = at + name.size() + 2;
    return status.substr(begin, status.find(' ', begin) - begin);
}

bool canBeOpened(const std::string& node) {
    return !node.empty() &&
           Simulator::OwnedDescriptor(open(node.c_str(), O_RDWR | O_CLOEXEC)).get() >= 0;
}

/// Asks until there is a node. Also where the camera is not there yet: it may be starting.
int waitForNode(const Options& options) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.seconds);
    std::string status;
    do {
        try {
            status = tellCamera(options.socket, "status", std::chrono::seconds(options.seconds));
        } catch (const std::runtime_error& error) {
            status = error.what();
        }
        const std::string node = wordOf(status, "node");
        if (canBeOpened(node)) {
            std::cout << node << '\n';
            return EXIT_SUCCESS;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    } while (std::chrono::steady_clock::now() < end);
    throw std::runtime_error("no node after " + std::to_string(options.seconds) +
                             " s; the camera's last words: " + status);
}

int dispatch(const Options& options) {
    switch (options.mode) {
        case Options::Mode::Run:
            return runCamera(options);
        case Options::Mode::Tell:
            return tell(options);
        case Options::Mode::Wait:
            break;
    }
    return waitForNode(options);
}

}  // namespace
}  // namespace UsbCamera

int main(int argc, char** argv) {
    try {
        const auto options = UsbCamera::readOptions(argc, argv);
        return options ? UsbCamera::dispatch(*options) : EXIT_SUCCESS;
    } catch (const std::invalid_argument& error) {
        std::cerr << "lumiq-usb-camera: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "lumiq-usb-camera: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
