// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads numbers digit by digit. Called by the fuzz target.

#include "number-reference.h"

#include <charconv>
#include <cstddef>
#include <limits>
#include <string>

namespace Fuzz {
namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

bool isDecimal(char character) {
    return character >= '0' && character <= '9';
}

// At least `base` where it is no digit.
int digit(char character) {
    if (isDecimal(character)) {
        return character - '0';
    }
    const char lower = static_cast<char>(character | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 16;
}

// As C strings end.
std::string_view withoutWhiteSpace(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    const std::size_t begin = text.find_first_not_of(whiteSpace);
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin);
}

bool takeSign(std::string_view& text) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    return negative;
}

bool hasPrefix(std::string_view text, char letter) {
    return text.size() >= 2 && text[0] == '0' && (text[1] | 0x20) == letter;
}

}  // namespace

Reading<long long> wholeNumber(std::string_view text) {
    text = withoutWhiteSpace(text);
    const bool negative = takeSign(text);
    int base = 10;
    if (hasPrefix(text, 'x')) {
        text.remove_prefix(2);
        base = 16;
        if (text.empty() || digit(text.front()) >= base) {
            return {Verdict::Unsaid, 0};
        }
    } else if (hasPrefix(text, 'b')) {
        return {Verdict::Unsaid, 0};
    } else if (!text.empty() && text.front() == '0') {
        base = 8;
    }
    if (text.empty() || digit(text.front()) >= base) {
        return {Verdict::IsNone, 0};
    }
    constexpr long long beyond = 1LL << 40;
    long long value = 0;
    for (std::size_t at = 0; at < text.size() && digit(text[at]) < base && value < beyond; ++at) {
        value = value * base + digit(text[at]);
    }
    return {Verdict::IsNumber, negative ? -value : value};
}

Reading<float> fraction(std::string_view text) {
    text = withoutWhiteSpace(text);
    const bool negative = takeSign(text);
    const std::size_t firstDigit = text.substr(0, 1) == "." ? 1 : 0;
    if (hasPrefix(text, 'x') ||
        (!text.empty() && ((text.front() | 0x20) == 'i' || (text.front() | 0x20) == 'n'))) {
        return {Verdict::Unsaid, 0};
    }
    if (firstDigit >= text.size() || !isDecimal(text[firstDigit])) {
        return {Verdict::IsNone, 0};
    }
    float value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc()) {
        // Too large or too small for a float; which of them, it does not say.
        return {Verdict::Unsaid, 0};
    }
    return {Verdict::IsNumber, negative ? -value : value};
}

}  // namespace Fuzz
