// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The encoder's settings; see the header.

#include "encoder-settings.h"

#include <lumiq/internal/read-only-parameter.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "../settings.h"

namespace SoftwareCodec {
namespace {

using Nerio::Lumiq::CodecParameter;
using Nerio::Lumiq::Internal::IntParameter;
using Nerio::Lumiq::Internal::ParameterSet;
using Nerio::Lumiq::Internal::ReadOnlyParameter;

unsigned int number(CodecParameter parameter) {
    return static_cast<unsigned int>(parameter);
}

/// Hands the parameter over to the set, which deletes it. Each number is registered once: a set
/// refuses the second, and that one would be nobody's.
template <typename Kind>
Kind* addTo(ParameterSet& set, CodecParameter id, std::unique_ptr<Kind> parameter) {
    if (!set.registerParameter(number(id), parameter.get())) {
        throw std::logic_error("two settings have one number");
    }
    return parameter.release();
}

}  // namespace

// The words stand in the order of Chroma.
ChromaParameter::ChromaParameter()
    : TypedParameter("4:2:0", 0), DiscreteParameterMixin({"4:2:0", "grey"}) {}

std::string ChromaParameter::range() {
    return DiscreteParameterMixin::range();
}

bool ChromaParameter::validate(const std::string& value) {
    return DiscreteParameterMixin::validate(value);
}

bool ChromaParameter::convert(const std::string& text, int* value) {
    if (!validate(text)) {
        return false;
    }
    *value = static_cast<int>(index(text));
    return true;
}

EncoderSettings::EncoderSettings(ParameterSet& parameters)
    : m_parameters(parameters),
      m_quality(
          addTo(parameters, SoftwareCodec::quality, std::make_unique<IntParameter>(1, 100, 90))),
      m_chroma(addTo(parameters, SoftwareCodec::chroma, std::make_unique<ChromaParameter>())) {
    addTo(parameters, SoftwareCodec::lastSize, std::make_unique<ReadOnlyParameter>("0"));
}

int EncoderSettings::quality() const {
    return m_quality->value();
}

Chroma EncoderSettings::chroma() const {
    return static_cast<Chroma>(m_chroma->value());
}

void EncoderSettings::setLastSize(std::size_t bytes) {
    m_parameters.change(number(SoftwareCodec::lastSize), std::to_string(bytes));
}

}  // namespace SoftwareCodec
