// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The text of a parameter, and the parameter that keeps its text. Called by the parameters' owner.

#include "lumiq/internal/parameter.h"

#include <utility>

#include "lumiq/internal/read-only-parameter.h"

namespace Nerio::Lumiq::Internal {

Parameter::Parameter(std::string text) : m_text(std::move(text)) {}

Parameter::~Parameter() = default;

std::string Parameter::range() {
    return "-";
}

bool Parameter::set(const std::string& value) {
    if (!validate(value)) {
        return false;
    }
    m_text = adjust(value);
    return true;
}

void Parameter::assign(const std::string& text) {
    m_text = text;
}

std::string Parameter::get() {
    return m_text;
}

bool Parameter::validate(const std::string& /*value*/) {
    return true;
}

std::string Parameter::adjust(const std::string& value) {
    return value;
}

bool ReadOnlyParameter::set(const std::string& /*value*/) {
    return false;
}

}  // namespace Nerio::Lumiq::Internal
