// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What objects note of the calls that they get. Used by the tests on one thread.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace Nerio::Lumiq {

class CallLog {
public:
    /// Notes a call. What came by reference is noted by its address.
    template <typename... Arguments>
    bool note(const char* operation, const Arguments&... arguments) {
        m_calls += words(operation, arguments...);
        return true;
    }

    /// Whether this call was made since the last question, once, and no other.
    template <typename... Arguments>
    testing::AssertionResult isJust(const char* operation, const Arguments&... arguments) {
        const std::string calls = std::exchange(m_calls, {});
        if (calls == words(operation, arguments...)) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "called: " << calls;
    }

private:
    template <typename... Arguments>
    static std::string words(const char* operation, const Arguments&... arguments) {
        std::ostringstream text;
        text << operation;
        ((text << word(arguments)), ...);
        text << "; ";
        return text.str();
    }

    template <typename Argument>
    static std::string word(const Argument& argument) {
        std::ostringstream text;
        if constexpr (std::is_enum_v<Argument>) {
            text << ' ' << static_cast<std::underlying_type_t<Argument>>(argument);
        } else {
            text << ' ' << argument;
        }
        return text.str();
    }

    std::string m_calls;
};

}  // namespace Nerio::Lumiq
