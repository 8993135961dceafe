// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The half of a parameter that allows only the words of a list. Threads as Parameter.

#ifndef LUMIQ_INTERNAL_DISCRETE_PARAMETER_MIXIN_H
#define LUMIQ_INTERNAL_DISCRETE_PARAMETER_MIXIN_H

#include <cstddef>
#include <string>
#include <vector>

namespace Nerio::Lumiq::Internal {

/// The allowed values, in order. It is no parameter: a class joins it with one and names it where
/// both have an answer. What the number of a word is, the class says:
///
///     class Exposure : public TypedParameter<int>, public DiscreteParameterMixin {
///     public:
///         Exposure() : TypedParameter("auto", 0), DiscreteParameterMixin({"auto", "manual"}) {}
///         std::string range() override { return DiscreteParameterMixin::range(); }
///         bool validate(const std::string& value) override {
///             return DiscreteParameterMixin::validate(value);
///         }
///         bool convert(const std::string& text, int* value) override {
///             if (!validate(text)) return false;
///             *value = static_cast<int>(index(text));
///             return true;
///         }
///     };
///
/// The set() is then that of the typed parameter. With Parameter in place of TypedParameter there
/// is no number and no convert().
class DiscreteParameterMixin {
public:
    explicit DiscreteParameterMixin(std::vector<std::string> values);

    /// The values with a "," between them: "auto,manual".
    [[nodiscard]] std::string range() const;

    /// True when `value` is one of them, to the letter.
    [[nodiscard]] bool validate(const std::string& value) const;

    /// The position of `value`, counted from 0; the number of values when it is none of them.
    [[nodiscard]] std::size_t index(const std::string& value) const;

private:
    std::vector<std::string> m_values;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_DISCRETE_PARAMETER_MIXIN_H
