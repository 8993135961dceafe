// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Log lines under the tag of this back end. Any thread.
#pragma once

#include <lumiq/internal/log.h>

/// SOFTWARE_CODEC_LOG(Error) << "text": the whole line in one go, with the name of the function.
#define SOFTWARE_CODEC_LOG(level) LUMIQ_LOG_TAGGED(level, "[software-codec] ", __func__)
