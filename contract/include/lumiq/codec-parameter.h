// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Names an adjustable setting of a codec. A value type, usable on any thread.

#ifndef LUMIQ_CODEC_PARAMETER_H
#define LUMIQ_CODEC_PARAMETER_H

#include <cstdint>

namespace Nerio::Lumiq {

/// The key of one setting in the parameter operations of VideoEncoder and VideoDecoder. The
/// contract fixes only its width: which number means which setting is between a host and the back
/// end that offers it.
enum class CodecParameter : std::uint32_t {};

static_assert(sizeof(CodecParameter) == 4);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CODEC_PARAMETER_H
