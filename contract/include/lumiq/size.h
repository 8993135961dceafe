// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Frame sizes as codecs state them. Value types, usable on any thread.

#ifndef LUMIQ_SIZE_H
#define LUMIQ_SIZE_H

#include <cstddef>
#include <cstdint>

namespace Nerio::Lumiq {

/// A frame size in pixels. Signed, so that a negative value can say "none".
struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Smallest and largest frame size. A range that holds a negative value matches no size.
struct SizeRange {
    Size min;
    Size max;
};

static_assert(sizeof(Size) == 8);
static_assert(offsetof(Size, width) == 0);
static_assert(offsetof(Size, height) == 4);
static_assert(sizeof(SizeRange) == 16);
static_assert(offsetof(SizeRange, min) == 0);
static_assert(offsetof(SizeRange, max) == 8);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_SIZE_H
