// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The V4L2 requests that a simulated camera answers, by name and number; for faults and traces.

#ifndef LUMIQ_SIMULATOR_REQUEST_NAMES_H
#define LUMIQ_SIMULATOR_REQUEST_NAMES_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace Simulator {

std::optional<std::uint32_t> requestNumber(std::string_view name);

/// Whether it is one that a camera answers.
bool isRequest(std::uint32_t request);

/// The name of a request; "ioctl" for one that is not known.
const char* requestName(std::uint32_t request);

}  // namespace Simulator

#endif
