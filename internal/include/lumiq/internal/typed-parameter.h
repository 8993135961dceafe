// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A parameter that keeps the number its text stands for. Threads as Parameter.

#ifndef LUMIQ_INTERNAL_TYPED_PARAMETER_H
#define LUMIQ_INTERNAL_TYPED_PARAMETER_H

#include <string>
#include <utility>

#include "lumiq/internal/parameter.h"

namespace Nerio::Lumiq::Internal {

/// Text and parsed value. Instances exist for int and float.
///
/// assign() changes the text alone: value() then still says what the last set() made it.
template <typename T>
class TypedParameter : public Parameter {
public:
    TypedParameter(std::string text, T value) : Parameter(std::move(text)), m_value(value) {}

    /// Takes a value as Parameter::set does, then converts it: what was passed in, not what
    /// adjust() made of it. A validate() that lets through what convert() refuses leaves the new
    /// text beside the old value and gives false; those of IntParameter and FloatParameter do not.
    bool set(const std::string& value) override {
        return Parameter::set(value) && convert(value, &m_value);
    }

    /// The parsed value.
    virtual T value() { return m_value; }

    /// Parses `text` into `*value`, which must not be null. False, and `*value` untouched, when it
    /// does not parse.
    virtual bool convert(const std::string& text, T* value) = 0;

private:
    T m_value;
};

extern template class TypedParameter<int>;
extern template class TypedParameter<float>;

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_TYPED_PARAMETER_H
