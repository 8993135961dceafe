// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the tests of starting and stopping share: which calls belong to the stream, and cameras that
// refuse some of them. Used on the test's thread.

#ifndef LUMIQ_TEST_CAPTURE_FIXTURE_H
#define LUMIQ_TEST_CAPTURE_FIXTURE_H

#include <string>
#include <thread>
#include <vector>

#include "camera-fixture.h"

namespace TestSupport {

inline constexpr Nerio::Lumiq::CameraCapabilityEx vga{640, 480, {30, 1}};
inline constexpr Nerio::Lumiq::CameraCapabilityEx qvga{320, 240, {30, 1}};

class CaptureFixture : public CameraFixture {
protected:
    /// What the library asked of the stream, in order; enumeration and the capture thread's cycle
    /// left out.
    static std::vector<std::string> withoutEnumeration(
        const std::vector<Simulator::TracedCall>& calls) {
        std::vector<std::string> names;
        for (const Simulator::TracedCall& call : calls) {
            if (call.name.rfind("VIDIOC_ENUM", 0) != 0 && call.name != "sched_yield" &&
                call.name != "poll" && call.name != "VIDIOC_DQBUF" &&
                (call.name != "close" || call.thread == std::this_thread::get_id())) {
                names.push_back(call.name);
            }
        }
        return names;
    }

    /// The code that the last start chose; empty when it chose none.
    std::string selected() {
        const std::string prefix = "startCapture: Selected format: ";
        for (const std::string& message : log.messages()) {
            if (message.rfind(prefix, 0) == 0) {
                return message.substr(prefix.size());
            }
        }
        return "";
    }
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_CAPTURE_FIXTURE_H
