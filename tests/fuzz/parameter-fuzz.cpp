// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Fuzz target: settings as text. Each kind of parameter gets the fuzzer's text as its value;
// whether it takes it, and for which number, is worked out a second time by other means. Called by
// libFuzzer, or by replay.cpp for inputs at rest. One thread.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz-input.h"
#include "lumiq/internal/discrete-parameter-mixin.h"
#include "lumiq/internal/number-parameters.h"
#include "lumiq/internal/parameter-set.h"
#include "lumiq/internal/read-only-parameter.h"
#include "number-reference.h"

namespace {

using namespace Nerio::Lumiq::Internal;

using Fuzz::Verdict;

// What holds for every kind: validate() foretells set(), and a refusal changes nothing. True when
// the text was taken.
bool settingIsConsistent(Parameter& parameter, const std::string& text) {
    const std::string before = parameter.get();
    const bool valid = parameter.validate(text);
    const bool taken = parameter.set(text);
    FUZZ_REQUIRE(taken == valid, text);
    FUZZ_REQUIRE(parameter.get() == (taken ? text : before), text);
    return taken;
}

template <typename T>
bool liesBetween(T value, T minimum, T maximum) {
    return minimum <= value && value <= maximum;
}

void checkWholeNumber(int minimum, int maximum, const std::string& text) {
    constexpr int first = -77;
    IntParameter parameter(minimum, maximum, first);
    FUZZ_REQUIRE(parameter.range() == std::to_string(minimum) + "-" + std::to_string(maximum),
                 text);
    const bool taken = settingIsConsistent(parameter, text);
    const auto [verdict, expected] = Fuzz::wholeNumber(text);
    if (verdict != Verdict::Unsaid) {
        const bool allowed =
            verdict == Verdict::IsNumber && liesBetween<long long>(expected, minimum, maximum);
        FUZZ_REQUIRE(taken == allowed, text);
        FUZZ_REQUIRE(parameter.value() == (taken ? expected : first), text);
    }
    if (!taken) {
        FUZZ_REQUIRE(parameter.value() == first, text);
        return;
    }
    const int value = parameter.value();
    FUZZ_REQUIRE(liesBetween(value, minimum, maximum), text);
    FUZZ_REQUIRE(parameter.set(std::to_string(value)) && parameter.value() == value, text);
}

void checkFraction(float minimum, float maximum, const std::string& text) {
    constexpr float first = -77.5F;
    FloatParameter parameter(minimum, maximum, first);
    const bool taken = settingIsConsistent(parameter, text);
    const auto [verdict, expected] = Fuzz::fraction(text);
    if (verdict != Verdict::Unsaid) {
        const bool allowed =
            verdict == Verdict::IsNumber && liesBetween(expected, minimum, maximum);
        FUZZ_REQUIRE(taken == allowed, text);
        FUZZ_REQUIRE(parameter.value() == (taken ? expected : first), text);
    }
    if (!taken) {
        FUZZ_REQUIRE(parameter.value() == first, text);
        return;
    }
    const float value = parameter.value();
    FUZZ_REQUIRE(liesBetween(value, minimum, maximum), text);
    char exact[64];
    std::snprintf(exact, sizeof exact, "%.9g", static_cast<double>(value));
    FUZZ_REQUIRE(parameter.set(exact) && parameter.value() == value, text);
}

// A word stands for its position.
class Words : public TypedParameter<int>, public DiscreteParameterMixin {
public:
    explicit Words(const std::vector<std::string>& words)
        : TypedParameter("first", -1), DiscreteParameterMixin(words) {}
    std::string range() override { return DiscreteParameterMixin::range(); }
    bool validate(const std::string& value) override {
        return DiscreteParameterMixin::validate(value);
    }
    bool convert(const std::string& text, int* value) override {
        if (!validate(text)) {
            return false;
        }
        *value = static_cast<int>(index(text));
        return true;
    }
};

// The lines of the text are the words; the first is then looked for among the others.
void checkWords(const std::string& text) {
    std::vector<std::string> words(1);
    for (const char each : text) {
        if (each == '\n') {
            words.emplace_back();
        } else {
            words.back() += each;
        }
    }
    const std::string wanted = words.front();
    words.erase(words.begin());
    Words parameter(words);
    std::string joined;
    for (const std::string& word : words) {
        joined += word + ",";
    }
    joined.resize(joined.size() - std::min<std::size_t>(joined.size(), 1));
    FUZZ_REQUIRE(parameter.range() == joined, text);
    const auto found = std::find(words.begin(), words.end(), wanted);
    const bool taken = settingIsConsistent(parameter, wanted);
    FUZZ_REQUIRE(taken == (found != words.end()), text);
    FUZZ_REQUIRE(parameter.value() == (taken ? found - words.begin() : -1), text);
}

void checkSet(unsigned int id, int minimum, int maximum, const std::string& text) {
    ParameterSet parameters;
    IntParameter alone(minimum, maximum, 0);
    parameters.registerParameter(id, new IntParameter(minimum, maximum, 0));
    parameters.registerParameter(id + 1, new ReadOnlyParameter("before"));
    FUZZ_REQUIRE(parameters.set(id, text) == alone.set(text), text);
    FUZZ_REQUIRE(parameters.get(id) == alone.get(), text);
    FUZZ_REQUIRE(!parameters.change(id, text) && parameters.get(id) == alone.get(), text);
    FUZZ_REQUIRE(!parameters.set(id + 1, text) && parameters.get(id + 1) == "before", text);
    FUZZ_REQUIRE(parameters.change(id + 1, text) && parameters.get(id + 1) == text, text);
    FUZZ_REQUIRE(!parameters.set(id + 2, text) && parameters.get(id + 2).empty(), text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The first byte says which check, the next eight are two bounds, the rest is the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Input input(data, size);
    const auto kind = input.take<std::uint8_t>();
    if (kind % 5 == 0) {
        const auto minimum = input.take<int>();
        const auto maximum = input.take<int>();
        checkWholeNumber(minimum, maximum, input.rest());
    } else if (kind % 5 == 1) {
        const auto minimum = input.take<float>();
        const auto maximum = input.take<float>();
        checkFraction(minimum, maximum, input.rest());
    } else if (kind % 5 == 2) {
        checkWords(input.rest());
    } else if (kind % 5 == 3) {
        checkSet(kind, -1000, 1000, input.rest());
    } else {
        checkWholeNumber(-100, 100, input.rest());
        checkFraction(-1e30F, 1e30F, input.rest());
    }
    return 0;
}
