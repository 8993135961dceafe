// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads faults from JSON. Called by whoever describes a camera or switches a fault on, on any
// thread.

#include "fault.h"

#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "fault-reader.h"
#include "request-names.h"

namespace Simulator {
namespace {

constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
constexpr int largestErrno = 133;

constexpr std::pair<std::string_view, FaultKind> frameFaults[] = {
    {"error", FaultKind::ErrorFrame},
    {"short", FaultKind::ShortFrame},
    {"truncated", FaultKind::TruncateFrame},
    {"garbled", FaultKind::GarbleFrame},
    {"lost", FaultKind::LoseFrame},
    {"stall", FaultKind::Stall},
    {"unplug", FaultKind::Unplug},
    {"broken", FaultKind::QueueError},
    {"unflagged", FaultKind::UnflaggedFrame},
};

constexpr std::pair<std::string_view, std::uint32_t> pollBits[] = {
    {"POLLIN", 0x1},   {"POLLPRI", 0x2},   {"POLLERR", 0x8},
    {"POLLHUP", 0x10}, {"POLLNVAL", 0x20}, {"POLLRDNORM", 0x40},
};

std::uint32_t readErrno(const JsonReader& reader) {
    const std::string name = reader.string(0, 64);
    for (int number = 1; number <= largestErrno; ++number) {
        const char* const known = strerrorname_np(number);
        if (known != nullptr && name == known) {
            return static_cast<std::uint32_t>(number);
        }
    }
    reader.fail("\"" + name + "\" is not the name of an errno, as \"EIO\"");
}

std::uint32_t readPollBits(const JsonReader& reader) {
    std::uint32_t bits = 0;
    const std::size_t size = reader.arraySize(1, std::size(pollBits));
    for (std::size_t i = 0; i < size; ++i) {
        const std::string name = reader.at(i).string(0, 64);
        std::uint32_t bit = 0;
        for (const auto& [known, value] : pollBits) {
            bit = name == known ? value : bit;
        }
        if (bit == 0) {
            reader.at(i).fail("\"" + name + "\" is not a bit of poll, as \"POLLERR\"");
        }
        bits |= bit;
    }
    return bits;
}

std::uint32_t readCall(const JsonReader& reader) {
    const std::string name = reader.string(0, 64);
    if (name == "mmap") {
        return eventMmap;
    }
    if (name == "poll") {
        return eventPoll;
    }
    const std::optional<std::uint32_t> request = requestNumber(name);
    if (!request) {
        reader.fail("\"" + name +
                    "\" is not a call that can fail; allowed are \"mmap\", \"poll\" and the "
                    "requests that a camera answers, as \"VIDIOC_QBUF\"");
    }
    return *request;
}

void readCallEffect(const JsonReader& reader, Fault& fault) {
    fault.event = readCall(reader.at("call"));
    const int effects = reader.has("errno") + reader.has("revents") + reader.has("granted") +
                        reader.has("bufferBytes") + reader.has("index");
    if (effects != 1 || reader.has("milliseconds")) {
        reader.fail(
            "a fault of a call has exactly one of \"errno\", \"revents\" (poll), "
            "\"granted\" and \"bufferBytes\" (VIDIOC_REQBUFS), \"index\" (VIDIOC_DQBUF)");
    }
    if (reader.has("errno")) {
        fault.kind = FaultKind::CallErrno;
        fault.value = readErrno(reader.at("errno"));
    } else if (reader.has("revents") && fault.event == eventPoll) {
        fault.kind = FaultKind::PollEvents;
        fault.value = readPollBits(reader.at("revents"));
    } else if (reader.has("granted") && fault.event == requestNumber("VIDIOC_REQBUFS")) {
        fault.kind = FaultKind::GrantBuffers;
        fault.value = reader.at("granted").number(0, 32);
    } else if (reader.has("bufferBytes") && fault.event == requestNumber("VIDIOC_REQBUFS")) {
        fault.kind = FaultKind::BufferBytes;
        fault.value = reader.at("bufferBytes").number(1, 1U << 28);
    } else if (reader.has("index") && fault.event == requestNumber("VIDIOC_DQBUF")) {
        fault.kind = FaultKind::DequeueIndex;
        fault.value = reader.at("index").number(0, largest);
    } else {
        reader.fail("this effect does not go with this call");
    }
}

void readFrameEffect(const JsonReader& reader, Fault& fault) {
    fault.event = eventFrame;
    const std::string name = reader.at("frame").string(0, 64);
    bool found = false;
    for (const auto& [known, kind] : frameFaults) {
        if (name == known) {
            fault.kind = kind;
            found = true;
        }
    }
    if (!found) {
        reader.at("frame").fail("\"" + name +
                                "\" is not a fault of frames; allowed are \"error\", \"short\", "
                                "\"unflagged\", \"truncated\", \"garbled\", \"lost\", \"stall\", "
                                "\"unplug\", \"broken\"");
    }
    if (reader.has("milliseconds")) {
        if (fault.kind != FaultKind::Stall) {
            reader.at("milliseconds").fail("only \"stall\" takes a time");
        }
        fault.value = reader.at("milliseconds").number(1, largest);
    }
}

std::uint32_t readCount(const JsonReader& reader) {
    if (reader.isString()) {
        if (reader.string(0, 64) != "always") {
            reader.fail("a whole number from 1 or \"always\" is needed");
        }
        return 0;
    }
    return reader.number(1, largest);
}

}  // namespace

Fault readFault(const JsonReader& reader) {
    reader.allowOnly({"call", "frame", "errno", "revents", "granted", "bufferBytes", "index",
                      "milliseconds", "first", "every", "count"});
    Fault fault;
    if (reader.has("call") == reader.has("frame")) {
        reader.fail("a fault has either \"call\" or \"frame\"");
    }
    if (reader.has("call")) {
        readCallEffect(reader, fault);
    } else {
        if (reader.has("errno") || reader.has("revents") || reader.has("granted") ||
            reader.has("bufferBytes") || reader.has("index")) {
            reader.fail(
                "a fault of frames takes only \"milliseconds\", \"first\", \"every\" and "
                "\"count\" besides");
        }
        readFrameEffect(reader, fault);
    }
    fault.first = reader.has("first") ? reader.at("first").number(1, largest) : 1;
    fault.every = reader.has("every") ? reader.at("every").number(1, largest) : 1;
    fault.count = reader.has("count") ? readCount(reader.at("count")) : 1;
    return fault;
}

Fault parseFault(std::string_view json) {
    const nlohmann::json parsed = parseJson(json);
    return readFault(JsonReader(parsed, ""));
}

}  // namespace Simulator
