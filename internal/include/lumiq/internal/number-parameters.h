// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Parameters that are numbers between two bounds. Threads as Parameter.

#ifndef LUMIQ_INTERNAL_NUMBER_PARAMETERS_H
#define LUMIQ_INTERNAL_NUMBER_PARAMETERS_H

#include <string>

#include "lumiq/internal/typed-parameter.h"

namespace Nerio::Lumiq::Internal {

/// A whole number. The text is kept as it was set: "0x10" stays that and is worth 16.
///
/// A value is read as sscanf(3) reads "%i": white space before it is skipped, "0x" begins a
/// hexadecimal number and "0" an octal one ("0b" a binary one where the C library is as new as
/// glibc 2.38), and what follows the number is ignored, so "12abc" is 12. A number that an int
/// cannot hold is outside every bounds, however many digits it has. No locale matters.
class IntParameter : public TypedParameter<int> {
public:
    /// From `minimum` to `maximum`, both included. `value` is the first one and is not checked.
    IntParameter(int minimum, int maximum, int value);

    /// "0-255" for the bounds 0 and 255, and "-10-10" for -10 and 10.
    std::string range() override;
    bool validate(const std::string& value) override;
    bool convert(const std::string& text, int* value) override;

private:
    int m_minimum;
    int m_maximum;
};

/// A number with a fraction. The text is kept as it was set.
///
/// A value is read as sscanf(3) reads "%f", exponents and hexadecimal digits included; what follows
/// the number is ignored. "nan" is outside every bounds, and so is an infinite number unless a
/// bound is infinite. The decimal point is that of the process's locale (LC_NUMERIC, setlocale(3)):
/// a host that switches to one with a decimal comma must write "0,5", since "0.5" is 0 there.
/// Ranges and the first text always have a point.
class FloatParameter : public TypedParameter<float> {
public:
    /// From `minimum` to `maximum`, both included. `value` is the first one and is not checked.
    FloatParameter(float minimum, float maximum, float value);

    /// "0.5-2" for the bounds 0.5 and 2; six significant digits, whatever the locale.
    std::string range() override;
    bool validate(const std::string& value) override;
    bool convert(const std::string& text, float* value) override;

private:
    float m_minimum;
    float m_maximum;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_NUMBER_PARAMETERS_H
