// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A JSON value together with where it stands, so that every complaint names the place. Used by the
// readers of descriptions and faults; no state, any thread.

#ifndef LUMIQ_SIMULATOR_JSON_READER_H
#define LUMIQ_SIMULATOR_JSON_READER_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace Simulator {

/// Parses a text; comments are allowed. Throws DescriptionError.
nlohmann::json parseJson(std::string_view text);

/// One value of a JSON text, with its path. Refers to the parsed text; keep that alive.
class JsonReader {
public:
    JsonReader(const nlohmann::json& value, std::string path)
        : m_value(value), m_path(std::move(path)) {}

    /// Throws DescriptionError: the path, what is wrong, what is allowed.
    [[noreturn]] void fail(const std::string& complaint) const;

    [[nodiscard]] bool isString() const { return m_value.is_string(); }
    [[nodiscard]] bool isArray() const { return m_value.is_array(); }
    [[nodiscard]] bool isObject() const { return m_value.is_object(); }

    /// Fails unless this is an object whose members are all among those named.
    void allowOnly(std::initializer_list<std::string_view> members) const;

    [[nodiscard]] bool has(std::string_view member) const;
    /// A member; fails when it is not there.
    [[nodiscard]] JsonReader at(std::string_view member) const;
    /// An element of an array.
    [[nodiscard]] JsonReader at(std::size_t index) const;
    /// The number of elements; fails unless this is an array of `min` to `max` elements.
    [[nodiscard]] std::size_t arraySize(std::size_t min, std::size_t max) const;

    [[nodiscard]] bool boolean() const;
    [[nodiscard]] std::string string(std::size_t minBytes, std::size_t maxBytes) const;
    [[nodiscard]] std::uint32_t number(std::uint32_t min, std::uint32_t max) const;
    /// A number, or a string with a hexadecimal one ("0x84a00001").
    [[nodiscard]] std::uint32_t word() const;

private:
    const nlohmann::json& m_value;
    std::string m_path;
};

}  // namespace Simulator

#endif
