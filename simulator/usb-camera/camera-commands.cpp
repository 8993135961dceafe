// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a camera can be told while it runs. Called on its thread.

#include <charconv>

#include "camera.h"
#include "fault.h"

namespace UsbCamera {

using Simulator::Fault;
using Simulator::FaultKind;

namespace {

/// The last word of a command, a number from 1; `count` keeps its value where there is none. False
/// for anything else.
bool readCount(std::istringstream& rest, std::uint32_t& count) {
    std::string word, more;
    if (!(rest >> word)) {
        return true;
    }
    const char* const end = word.data() + word.size();
    const auto read = std::from_chars(word.data(), end, count);
    return read.ec == std::errc() && read.ptr == end && count != 0 && !(rest >> more);
}

}  // namespace

const char* const commandHelp = R"(Commands, each answered by a line:
  status                 where the camera is and what it does
  unplug                 pull the cable
  plug                   put it in again
  stall [MILLISECONDS]   send no more frames, for a time or until "resume"
  fault JSON             as in a description: {"frame": "error", "first": 3, "count": "always"}, and
                         short, truncated, garbled, lost, stall, unplug in place of error
  resume, clear          end the stall and all other faults and refusals
  refuse REQUEST [COUNT] refuse the next requests (1): probe, commit, interface
  quit                   unplug and end
)";

std::string Camera::obey(const std::string& command) {
    std::istringstream words(command);
    std::string name;
    words >> name;
    try {
        return carryOut(name, words);
    } catch (const std::exception& error) {
        return std::string("error: ") + error.what();
    }
}

std::string Camera::carryOut(const std::string& name, std::istringstream& rest) {
    if (name == "status") {
        return status();
    }
    if (name == "unplug") {
        unplug();
    } else if (name == "plug") {
        if (pluggedIn()) {
            return "error: the camera is plugged in";
        }
        plugIn();
    } else if (name == "stall") {
        return stall(rest);
    } else if (name == "fault") {
        std::string json;
        std::getline(rest, json, '\0');
        return addFault(Simulator::parseFault(json));
    } else if (name == "resume" || name == "clear") {
        return clear();
    } else if (name == "refuse") {
        return refuse(rest);
    } else if (name == "quit") {
        unplug();
        m_quit = true;
    } else {
        return "error: \"" + name +
               "\" is no command; there are status, unplug, plug, stall, fault, " +
               "resume, clear, refuse, quit";
    }
    return "ok";
}

std::string Camera::addFault(const Fault& fault) {
    if (fault.event != Simulator::eventFrame) {
        return "error: a USB camera does not see the calls of a program, only their requests; use "
               "\"refuse\" for those";
    }
    if (fault.kind == FaultKind::QueueError) {
        return "error: no USB camera can break a queue of the kernel";
    }
    if (fault.kind == FaultKind::UnflaggedFrame) {
        return "error: no USB camera can keep the kernel from looking at a frame's length; use "
               "\"short\"";
    }
    return Simulator::addFault(*m_faults, fault) ? "ok" : "error: too many faults; \"clear\" them";
}

std::string Camera::stall(std::istringstream& rest) {
    Fault fault{FaultKind::Stall, Simulator::eventFrame, 0, 1, 1, 1};
    if (!readCount(rest, fault.value)) {
        return "error: stall takes a number of milliseconds from 1, or nothing";
    }
    return addFault(fault);
}

std::string Camera::refuse(std::istringstream& rest) {
    std::string request;
    std::uint32_t count = 1;
    rest >> request;
    if (!readCount(rest, count)) {
        return "error: the count of refusals is a number from 1";
    }
    return m_control.refuse(request, count)
               ? "ok"
               : "error: what can be refused is probe, commit, interface";
}

std::string Camera::clear() {
    Simulator::removeFaults(*m_faults);
    m_control.refuseNothing();
    return "ok";
}

std::string Camera::status() const {
    if (!m_device) {
        return "unplugged";
    }
    std::string words = "plugged";
    const std::string where = m_port.whereabouts();
    words += where.empty() ? "" : " " + where;
    if (m_device->streaming()) {
        const UvcFrame& frame = m_negotiation.frame(m_control.committed());
        const std::uint32_t code = m_negotiation.format(m_control.committed()).fourcc;
        words += " streaming=" + Simulator::fourccText(code) + "," + std::to_string(frame.width) +
                 "x" + std::to_string(frame.height);
    }
    return words;
}

}  // namespace UsbCamera
