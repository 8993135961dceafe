// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Names an adjustable control of a camera. A value type, usable on any thread.

#ifndef LUMIQ_CAMERA_PARAMETER_H
#define LUMIQ_CAMERA_PARAMETER_H

#include <cstdint>

namespace Nerio::Lumiq {

/// The key of one control in the parameter operations of Camera. The contract fixes only its width:
/// which number means which control is between a host and the back end that offers it. The V4L2
/// back end offers none.
enum class CameraParameter : std::uint32_t {};

static_assert(sizeof(CameraParameter) == 4);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_PARAMETER_H
