// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Makes the calls of a scenario and puts each answer into words: "ok" with what was answered, the
// name of the errno, or the bits of poll. On the test's thread; a call that waits may be left to a
// thread of its own.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_PROBER_H
#define LUMIQ_TESTS_DRIVER_TRUTH_PROBER_H

#include <linux/videodev2.h>
#include <sys/types.h>

#include <cstdint>
#include <future>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "world.h"

namespace DriverTruth {

class Prober {
public:
    explicit Prober(World& world) : m_world(world) {}
    Prober(const Prober&) = delete;
    Prober& operator=(const Prober&) = delete;
    /// Pulls the cable where a call still waits. Ends the program when that does not free it.
    ~Prober();

    /// Makes a call; returns the answer. Throws std::runtime_error for what is no call.
    std::string call(const std::string& words);

private:
    struct Mapping {
        std::uint8_t* address = nullptr;
        std::size_t bytes = 0;
    };
    struct Handle {
        int descriptor = -1;
        v4l2_pix_format format{};
        std::map<std::uint32_t, Mapping> mapped;
    };
    using Arguments = std::istringstream;
    using Call = std::string (Prober::*)(Arguments& rest);
    struct NamedCall {
        const char* name;
        Call call;
    };
    static const std::vector<NamedCall>& calls();

    Handle& handle(Arguments& rest);
    static int request(const Handle& handle, unsigned long request, void* argument);

    // What belongs to the world around the camera.
    std::string open(Arguments& rest);
    std::string close(Arguments& rest);
    std::string unplug(Arguments& rest);
    std::string plug(Arguments& rest);
    std::string fault(Arguments& rest);
    std::string clear(Arguments& rest);
    std::string later(Arguments& rest);
    std::string join(Arguments& rest);
    std::string interrupt(Arguments& rest);
    std::string elapse(Arguments& rest);
    bool laterWaits();
    void freeLater();

    // Questions and settings.
    std::string queryCapabilities(Arguments& rest);
    std::string enumerateFormat(Arguments& rest);
    std::string enumerateSize(Arguments& rest);
    std::string enumerateInterval(Arguments& rest);
    std::string getFormat(Arguments& rest);
    std::string setFormat(Arguments& rest);
    std::string tryFormat(Arguments& rest);
    std::string format(Arguments& rest, unsigned long request);
    std::string getParameters(Arguments& rest);
    std::string setParameters(Arguments& rest);
    std::string enumerateInput(Arguments& rest);
    std::string number(Arguments& rest);
    std::string anyRequest(Arguments& rest);

    // Buffers and streams.
    std::string requestBuffers(Arguments& rest);
    std::string bufferCapabilities(Arguments& rest);
    std::string createBuffers(Arguments& rest);
    std::string queryBuffer(Arguments& rest);
    std::string queueBuffer(Arguments& rest);
    std::string dequeueBuffer(Arguments& rest);
    std::string map(Arguments& rest);
    std::string unmap(Arguments& rest);
    std::string look(Arguments& rest);
    std::string stream(Arguments& rest);
    std::string poll(Arguments& rest);
    std::string give(Arguments& rest);
    std::string take(Arguments& rest);
    std::string frames(Arguments& rest);
    std::string after(Arguments& rest);
    static bool frameComes(const Handle& handle, short& bits);
    std::string dequeue(Handle& handle, v4l2_buffer& buffer);
    [[nodiscard]] static std::string pictureNumber(const Handle& handle, const v4l2_buffer& buffer);

    World& m_world;
    std::map<std::string, Handle> m_handles;
    std::future<std::string> m_later;
    pid_t m_waiter = -1;  ///< the thread that makes the later call
};

}  // namespace DriverTruth

#endif
