// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The calls by name, and those about the world around the camera.

#include "prober.h"

#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "words.h"

namespace DriverTruth {
namespace {

constexpr std::chrono::seconds generousLimit{30};

/// Whether a thread of this process sleeps, as one does in a call that waits.
bool sleeps(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t name = text.rfind(')');
    return name != std::string::npos && name + 2 < text.size() && text[name + 2] == 'S';
}

}  // namespace

const std::vector<Prober::NamedCall>& Prober::calls() {
    static const std::vector<NamedCall> table = {
        {"open", &Prober::open},
        {"close", &Prober::close},
        {"unplug", &Prober::unplug},
        {"plug", &Prober::plug},
        {"fault", &Prober::fault},
        {"clear", &Prober::clear},
        {"later", &Prober::later},
        {"join", &Prober::join},
        {"interrupt", &Prober::interrupt},
        {"elapse", &Prober::elapse},
        {"querycap", &Prober::queryCapabilities},
        {"enum_fmt", &Prober::enumerateFormat},
        {"enum_size", &Prober::enumerateSize},
        {"enum_interval", &Prober::enumerateInterval},
        {"g_fmt", &Prober::getFormat},
        {"s_fmt", &Prober::setFormat},
        {"try_fmt", &Prober::tryFormat},
        {"g_parm", &Prober::getParameters},
        {"s_parm", &Prober::setParameters},
        {"enum_input", &Prober::enumerateInput},
        {"number", &Prober::number},
        {"request", &Prober::anyRequest},
        {"reqbufs", &Prober::requestBuffers},
        {"buffer_capabilities", &Prober::bufferCapabilities},
        {"create_bufs", &Prober::createBuffers},
        {"querybuf", &Prober::queryBuffer},
        {"qbuf", &Prober::queueBuffer},
        {"dqbuf", &Prober::dequeueBuffer},
        {"mmap", &Prober::map},
        {"munmap", &Prober::unmap},
        {"look", &Prober::look},
        {"stream", &Prober::stream},
        {"poll", &Prober::poll},
        {"give", &Prober::give},
        {"take", &Prober::take},
        {"frames", &Prober::frames},
        {"after", &Prober::after},
    };
    return table;
}

Prober::~Prober() {
    if (m_later.valid()) {
        freeLater();
    }
    for (auto& [name, handle] : m_handles) {
        if (handle.descriptor >= 0) {
            ::close(handle.descriptor);
        }
        for (const auto& [index, mapping] : handle.mapped) {
            munmap(mapping.address, mapping.bytes);
        }
    }
}

std::string Prober::call(const std::string& words) {
    Arguments rest(words);
    std::string name;
    rest >> name;
    for (const NamedCall& known : calls()) {
        if (name == known.name) {
            return (this->*known.call)(rest);
        }
    }
    throw std::runtime_error("\"" + name + "\" is no call");
}

Prober::Handle& Prober::handle(Arguments& rest) {
    std::string name;
    rest >> name;
    const auto found = m_handles.find(name);
    if (found == m_handles.end()) {
        throw std::runtime_error("\"" + name + "\" was not opened");
    }
    return found->second;
}

int Prober::request(const Handle& handle, unsigned long request, void* argument) {
    return ioctl(handle.descriptor, request, argument);
}

std::string Prober::open(Arguments& rest) {
    std::string name, mode;
    rest >> name >> mode;
    const int descriptor = m_world.open(mode == "blocking");
    const std::string answer = outcome(descriptor);
    if (descriptor >= 0) {
        m_handles[name] = {descriptor, {}, {}};
    }
    return answer;
}

std::string Prober::close(Arguments& rest) {
    Handle& closed = handle(rest);
    return outcome(::close(std::exchange(closed.descriptor, -1)));
}

std::string Prober::unplug(Arguments&) {
    m_world.unplug();
    return "ok";
}

std::string Prober::plug(Arguments&) {
    m_world.plug();
    return "ok";
}

std::string Prober::fault(Arguments& rest) {
    std::string json;
    std::getline(rest, json);
    m_world.setFault(json);
    return "ok";
}

std::string Prober::clear(Arguments&) {
    m_world.clearFaults();
    return "ok";
}

/// Makes a call on a thread of its own, and returns when that waits in it.
std::string Prober::later(Arguments& rest) {
    std::string words;
    std::getline(rest, words);
    std::promise<pid_t> started;
    m_later = std::async(std::launch::async, [this, words, &started] {
        started.set_value(gettid());
        return call(words);
    });
    m_waiter = started.get_future().get();
    laterWaits();
    return "ok";
}

/// Waits until the later call either waits or has ended; whether it waits.
bool Prober::laterWaits() {
    const auto end = std::chrono::steady_clock::now() + generousLimit;
    while (m_later.wait_for(std::chrono::milliseconds(20)) == std::future_status::timeout) {
        if (sleeps(m_waiter)) {
            return true;
        }
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("a call neither waits nor ends");
        }
    }
    return false;
}

/// The answer of the call that was left to a thread.
std::string Prober::join(Arguments&) {
    if (m_later.wait_for(generousLimit) == std::future_status::timeout) {
        freeLater();
        throw std::runtime_error("a call that should end waited until the cable was pulled");
    }
    return m_later.get();
}

/// A thread that the kernel holds cannot be ended, and nothing in this process outlives it.
void Prober::freeLater() {
    try {
        m_world.unplug();
    } catch (const std::exception& error) {
        std::cerr << "the cable cannot be pulled: " << error.what() << std::endl;
    }
    if (m_later.wait_for(generousLimit) == std::future_status::timeout) {
        std::cerr << "a call waits on without a camera: giving up the whole run" << std::endl;
        std::_Exit(70);
    }
    m_later = {};
}

/// Sends the later call a signal whose handler asks for interrupted calls to go on.
std::string Prober::interrupt(Arguments&) {
    static std::atomic<bool> handled;
    handled = false;
    struct sigaction action {};
    action.sa_handler = [](int) { handled = true; };
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
    if (tgkill(getpid(), m_waiter, SIGUSR1) != 0) {
        return errnoName(errno);
    }
    while (!handled) {
        std::this_thread::yield();
    }
    return laterWaits() ? "waits on" : "ends";
}

/// Lets the camera's time pass, for what shows only when frames were missed.
std::string Prober::elapse(Arguments& rest) {
    unsigned milliseconds = 0;
    rest >> milliseconds;
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return "ok";
}

}  // namespace DriverTruth
