// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the tests of the contract's records ask of every record. Used by the tests on one thread.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Offset and type of a field in one line each.
#define EXPECT_FIELD(Record, field, offset, Type)                \
    EXPECT_EQ(offsetof(Record, field), std::size_t{offset});     \
    EXPECT_TRUE((std::is_same_v<decltype(Record::field), Type>)) \
        << #Record "::" #field " is of another type"

namespace Nerio::Lumiq {

template <typename Record>
constexpr bool isPlainValue =
    !std::is_polymorphic_v<Record> && std::is_nothrow_default_constructible_v<Record> &&
    std::is_copy_constructible_v<Record> && std::is_copy_assignable_v<Record> &&
    std::is_nothrow_move_constructible_v<Record> && std::is_nothrow_move_assignable_v<Record>;

template <typename Enumeration>
constexpr bool has32Bits = std::is_same_v<std::underlying_type_t<Enumeration>, std::uint32_t>;

}  // namespace Nerio::Lumiq
