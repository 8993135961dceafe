// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Numbers from and to text. Called by the parameters' owner.

#include "lumiq/internal/number-parameters.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <locale>
#include <sstream>

namespace Nerio::Lumiq::Internal {
namespace {

// A global locale of the host's must not group the digits or replace the point.
std::ostringstream plainStream() {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    return stream;
}

template <typename T>
std::string textOf(T number) {
    std::ostringstream stream = plainStream();
    stream << number;
    return stream.str();
}

template <typename T>
std::string rangeOf(T minimum, T maximum) {
    return textOf(minimum) + "-" + textOf(maximum);
}

template <typename T>
bool liesBetween(T value, T minimum, T maximum) {
    return minimum <= value && value <= maximum;
}

}  // namespace

template class TypedParameter<int>;
template class TypedParameter<float>;

IntParameter::IntParameter(int minimum, int maximum, int value)
    : TypedParameter(textOf(value), value), m_minimum(minimum), m_maximum(maximum) {}

std::string IntParameter::range() {
    return rangeOf(m_minimum, m_maximum);
}

bool IntParameter::validate(const std::string& value) {
    int parsed = 0;
    return convert(value, &parsed) && liesBetween(parsed, m_minimum, m_maximum);
}

bool IntParameter::convert(const std::string& text, int* value) {
    // sscanf says whether there is a number. What it stores for one that does not fit is undefined,
    // so the number is read by strtoll, which "%i" takes its digits from and which stays at its own
    // limits, far beyond those of an int.
    int end = 0;
    if (std::sscanf(text.c_str(), "%*i%n", &end) == EOF || end == 0) {
        return false;
    }
    const long long number = std::strtoll(text.c_str(), nullptr, 0);
    using Limits = std::numeric_limits<int>;
    if (number < Limits::min() || number > Limits::max()) {
        return false;
    }
    *value = static_cast<int>(number);
    return true;
}

FloatParameter::FloatParameter(float minimum, float maximum, float value)
    : TypedParameter(textOf(value), value), m_minimum(minimum), m_maximum(maximum) {}

std::string FloatParameter::range() {
    return rangeOf(m_minimum, m_maximum);
}

bool FloatParameter::validate(const std::string& value) {
    float parsed = 0;
    return convert(value, &parsed) && liesBetween(parsed, m_minimum, m_maximum);
}

bool FloatParameter::convert(const std::string& text, float* value) {
    return std::sscanf(text.c_str(), "%f", value) == 1;
}

}  // namespace Nerio::Lumiq::Internal
