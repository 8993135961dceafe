// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// An exact quotient of two whole numbers; the contract uses it for frame rates. A value type,
// usable on any thread.

#ifndef LUMIQ_FRACTION_H
#define LUMIQ_FRACTION_H

#include <cstddef>
#include <cstdint>
#include <numeric>

namespace Nerio::Lumiq {

/// A quotient kept as it was given; nothing reduces it on construction or copy.
///
/// As a frame rate it is in frames per second: 30/1 is thirty frames per second, 30000/1001 the
/// NTSC rate. 0/1 means "not set".
template <typename T>
struct Fraction {
    T numerator = 0;
    T denominator = 1;
};

/// The quotient in lowest terms. A zero numerator gives 0/1, a zero denominator 1/0.
[[nodiscard]] constexpr Fraction<unsigned int> reduced(
    const Fraction<unsigned int>& value) noexcept {
    if (value.numerator == 0) {
        return {0, 1};
    }
    if (value.denominator == 0) {
        return {1, 0};
    }
    const unsigned int divisor = std::gcd(value.numerator, value.denominator);
    return {value.numerator / divisor, value.denominator / divisor};
}

/// True when `left` is smaller than `right`.
///
/// Both sides are reduced and then compared by cross-multiplication in 32 bits, so products above
/// 2^32 - 1 wrap; rates with small terms, as 30000/1001, stay far below that. Nothing is less than
/// a right side whose numerator is 0.
[[nodiscard]] constexpr bool operator<(const Fraction<unsigned int>& left,
                                       const Fraction<unsigned int>& right) noexcept {
    if (right.numerator == 0) {
        return false;
    }
    const Fraction<unsigned int> a = reduced(left);
    const Fraction<unsigned int> b = reduced(right);
    return a.numerator * b.denominator < b.numerator * a.denominator;
}

/// True when `left` is greater than `right`; the arithmetic is that of operator<. Against a right
/// side whose numerator is 0, every left side with a non-zero numerator is greater.
[[nodiscard]] constexpr bool operator>(const Fraction<unsigned int>& left,
                                       const Fraction<unsigned int>& right) noexcept {
    if (right.numerator == 0) {
        return left.numerator != 0;
    }
    const Fraction<unsigned int> a = reduced(left);
    const Fraction<unsigned int> b = reduced(right);
    return a.numerator * b.denominator > b.numerator * a.denominator;
}

static_assert(sizeof(Fraction<unsigned int>) == 8);
static_assert(offsetof(Fraction<unsigned int>, numerator) == 0);
static_assert(offsetof(Fraction<unsigned int>, denominator) == 4);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_FRACTION_H
