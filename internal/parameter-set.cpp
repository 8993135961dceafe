// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Finds a parameter by its identifier and asks it. Called by the parameters' owner.

#include "lumiq/internal/parameter-set.h"

#include "lumiq/internal/read-only-parameter.h"

namespace Nerio::Lumiq::Internal {

ParameterSet::~ParameterSet() {
    for (const auto& [id, parameter] : m_parameters) {
        delete parameter;
    }
}

std::string ParameterSet::range(unsigned int id) {
    Parameter* const parameter = find(id);
    return parameter != nullptr ? parameter->range() : std::string();
}

bool ParameterSet::registerParameter(unsigned int id, Parameter* parameter) {
    return m_parameters.emplace(id, parameter).second;
}

bool ParameterSet::registerParameters(const std::map<unsigned int, Parameter*>& parameters) {
    bool all = true;
    for (const auto& [id, parameter] : parameters) {
        all = registerParameter(id, parameter) && all;
    }
    return all;
}

Parameter* ParameterSet::find(unsigned int id) const {
    const auto found = m_parameters.find(id);
    return found != m_parameters.end() ? found->second : nullptr;
}

std::string ParameterSet::get(unsigned int id) const {
    Parameter* const parameter = find(id);
    return parameter != nullptr ? parameter->get() : std::string();
}

bool ParameterSet::set(unsigned int id, const std::string& value) {
    Parameter* const parameter = find(id);
    return parameter != nullptr && parameter->set(value);
}

bool ParameterSet::change(unsigned int id, const std::string& text) {
    auto* const parameter = dynamic_cast<ReadOnlyParameter*>(find(id));
    if (parameter == nullptr) {
        return false;
    }
    // The text itself, whatever a derived class made of assign().
    parameter->Parameter::assign(text);
    return true;
}

}  // namespace Nerio::Lumiq::Internal
