// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a text is worth as a number, worked out without the C library's own readers, for the fuzz
// target to compare with. One thread.
#pragma once

#include <string_view>

namespace Fuzz {

enum class Verdict {
    IsNumber,
    IsNone,
    Unsaid,  // The C library's versions differ, or this reference does not know.
};

template <typename T>
struct Reading {
    Verdict verdict;
    T value;
};

// As "%i" reads: up to the first NUL. What an int cannot hold comes out as a value beyond every
// int.
Reading<long long> wholeNumber(std::string_view text);

// As "%f" reads a decimal number in the C locale; hexadecimal numbers and the words for infinite
// and none at all are left unsaid.
Reading<float> fraction(std::string_view text);

}  // namespace Fuzz
