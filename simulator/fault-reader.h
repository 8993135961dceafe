// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads one fault out of a larger JSON text; for the reader of descriptions and parseFault().

#ifndef LUMIQ_SIMULATOR_FAULT_READER_H
#define LUMIQ_SIMULATOR_FAULT_READER_H

#include "fault.h"
#include "json-reader.h"

namespace Simulator {

/// Throws DescriptionError.
Fault readFault(const JsonReader& reader);

}  // namespace Simulator

#endif
