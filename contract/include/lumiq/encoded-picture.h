// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One picture as an encoder made it. A plain record; the thread that holds it reads it.

#ifndef LUMIQ_ENCODED_PICTURE_H
#define LUMIQ_ENCODED_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Nerio::Lumiq {

/// One encoded picture. It owns its bytes and is valid as long as it is held, also after its
/// encoder is gone.
struct EncodedPicture {
    std::vector<std::uint8_t> data;  ///< The encoded bytes.
    std::int64_t timestamp = -1;     ///< Microseconds, that of the picture; -1: unknown.
    bool isKeyPicture = false;       ///< True: can be decoded without any earlier one.
};

static_assert(sizeof(EncodedPicture) == 40);
static_assert(offsetof(EncodedPicture, data) == 0);
static_assert(offsetof(EncodedPicture, timestamp) == 24);
static_assert(offsetof(EncodedPicture, isKeyPicture) == 32);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_ENCODED_PICTURE_H
