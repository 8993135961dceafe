// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A parameter that tells something and cannot be set. Threads as Parameter.

#ifndef LUMIQ_INTERNAL_READ_ONLY_PARAMETER_H
#define LUMIQ_INTERNAL_READ_ONLY_PARAMETER_H

#include <string>

#include "lumiq/internal/parameter.h"

namespace Nerio::Lumiq::Internal {

/// Only its owner changes it, through ParameterSet::change.
class ReadOnlyParameter : public Parameter {
public:
    using Parameter::Parameter;

    /// False, whatever the value; the text stays.
    bool set(const std::string& value) override;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_READ_ONLY_PARAMETER_H
