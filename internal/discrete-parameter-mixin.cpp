// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The words that a parameter allows. Called by the parameters' owner.

#include "lumiq/internal/discrete-parameter-mixin.h"

#include <algorithm>
#include <utility>

namespace Nerio::Lumiq::Internal {

DiscreteParameterMixin::DiscreteParameterMixin(std::vector<std::string> values)
    : m_values(std::move(values)) {}

std::string DiscreteParameterMixin::range() const {
    std::string text;
    for (const std::string& value : m_values) {
        if (&value != &m_values.front()) {
            text += ',';
        }
        text += value;
    }
    return text;
}

bool DiscreteParameterMixin::validate(const std::string& value) const {
    return index(value) != m_values.size();
}

std::size_t DiscreteParameterMixin::index(const std::string& value) const {
    const auto found = std::find(m_values.begin(), m_values.end(), value);
    return static_cast<std::size_t>(found - m_values.begin());
}

}  // namespace Nerio::Lumiq::Internal
