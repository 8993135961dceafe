// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Bytes that a fuzzer made, taken from the front as numbers, and the rest as text; and what a fuzz
// target does when something is not as it should be. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace Fuzz {

// Where the bytes have run out, numbers are zero.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    template <typename Number>
    Number take() {
        Number number{};
        if (m_size >= sizeof number) {
            std::memcpy(&number, m_data, sizeof number);
            m_data += sizeof number;
            m_size -= sizeof number;
        } else {
            m_size = 0;
        }
        return number;
    }

    std::string rest() const { return {reinterpret_cast<const char*>(m_data), m_size}; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
};

[[noreturn]] inline void fail(const char* file, int line, const char* condition,
                              const std::string& about) {
    std::fprintf(stderr, "%s:%d: not so: %s; with \"%s\"\n", file, line, condition, about.c_str());
    std::abort();
}

}  // namespace Fuzz

// Ends the process with a word on what it was about, which the fuzzer takes for a finding.
#define FUZZ_REQUIRE(condition, about) \
    ((condition) ? static_cast<void>(0) : ::Fuzz::fail(__FILE__, __LINE__, #condition, about))
