// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The settings of an encoder, one of each kind: a number within bounds, a word of a list, and a
// text that only the encoder changes. Threads as the encoder.
#pragma once

#include <lumiq/internal/discrete-parameter-mixin.h>
#include <lumiq/internal/number-parameters.h>
#include <lumiq/internal/parameter-set.h>

#include <cstddef>
#include <string>

#include "turbo-jpeg.h"

namespace SoftwareCodec {

/// A word of a list: the mixin knows the list, the parameter keeps the value, and this class says
/// whose answer counts where both have one.
class ChromaParameter : public Nerio::Lumiq::Internal::TypedParameter<int>,
                        public Nerio::Lumiq::Internal::DiscreteParameterMixin {
public:
    ChromaParameter();

    std::string range() override;
    bool validate(const std::string& value) override;
    bool convert(const std::string& text, int* value) override;
};

/// Puts the settings into an encoder's set, and reads them as what they stand for.
class EncoderSettings {
public:
    explicit EncoderSettings(Nerio::Lumiq::Internal::ParameterSet& parameters);

    [[nodiscard]] int quality() const;
    [[nodiscard]] Chroma chroma() const;
    void setLastSize(std::size_t bytes);

private:
    Nerio::Lumiq::Internal::ParameterSet& m_parameters;
    // Owned by the set.
    Nerio::Lumiq::Internal::IntParameter* m_quality;
    ChromaParameter* m_chroma;
};

}  // namespace SoftwareCodec
