// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reading JSON values with complaints that name the place. Called by the readers of descriptions
// and faults, on any thread.

#include "json-reader.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "camera-description.h"

namespace Simulator {
namespace {

std::string joined(std::initializer_list<std::string_view> names) {
    std::string text;
    for (const std::string_view name : names) {
        text += (text.empty() ? "\"" : ", \"") + std::string(name) + "\"";
    }
    return text;
}

}  // namespace

nlohmann::json parseJson(std::string_view text) {
    try {
        return nlohmann::json::parse(text, nullptr, true, true);
    } catch (const nlohmann::json::exception& error) {
        throw DescriptionError(std::string("not a JSON text: ") + error.what());
    }
}

void JsonReader::fail(const std::string& complaint) const {
    throw DescriptionError((m_path.empty() ? "/" : m_path) + ": " + complaint);
}

void JsonReader::allowOnly(std::initializer_list<std::string_view> members) const {
    if (!m_value.is_object()) {
        fail("an object is needed, with members from " + joined(members));
    }
    for (const auto& item : m_value.items()) {
        if (std::find(members.begin(), members.end(), item.key()) == members.end()) {
            fail("\"" + item.key() + "\" is not known here; the members are " + joined(members));
        }
    }
}

bool JsonReader::has(std::string_view member) const {
    return m_value.contains(member);
}

JsonReader JsonReader::at(std::string_view member) const {
    const auto found = m_value.find(member);
    if (found == m_value.end()) {
        fail("\"" + std::string(member) + "\" is missing");
    }
    return {*found, m_path + "/" + std::string(member)};
}

JsonReader JsonReader::at(std::size_t index) const {
    return {m_value.at(index), m_path + "/" + std::to_string(index)};
}

std::size_t JsonReader::arraySize(std::size_t min, std::size_t max) const {
    if (!m_value.is_array() || m_value.size() < min || m_value.size() > max) {
        fail("an array of " + std::to_string(min) + " to " + std::to_string(max) +
             " elements is needed");
    }
    return m_value.size();
}

bool JsonReader::boolean() const {
    if (!m_value.is_boolean()) {
        fail("true or false is needed");
    }
    return m_value.get<bool>();
}

std::string JsonReader::string(std::size_t minBytes, std::size_t maxBytes) const {
    if (!m_value.is_string() || m_value.get_ref<const std::string&>().size() < minBytes ||
        m_value.get_ref<const std::string&>().size() > maxBytes) {
        fail("a string of " + std::to_string(minBytes) + " to " + std::to_string(maxBytes) +
             " bytes is needed");
    }
    return m_value.get<std::string>();
}

std::uint32_t JsonReader::number(std::uint32_t min, std::uint32_t max) const {
    // Unsigned is what the parser makes of every whole number from 0 up; a negative or broken
    // number is of another kind.
    if (!m_value.is_number_unsigned() || m_value.get<std::uint64_t>() < min ||
        m_value.get<std::uint64_t>() > max) {
        fail("a whole number from " + std::to_string(min) + " to " + std::to_string(max) +
             " is needed");
    }
    return m_value.get<std::uint32_t>();
}

std::uint32_t JsonReader::word() const {
    if (!m_value.is_string()) {
        return number(0, std::numeric_limits<std::uint32_t>::max());
    }
    const std::string text = m_value.get<std::string>();
    std::uint32_t word = 0;
    const char* const end = text.data() + text.size();
    if (text.size() < 3 || !text.starts_with("0x") ||
        std::from_chars(text.data() + 2, end, word, 16) != std::from_chars_result{end, {}}) {
        fail("\"" + text + "\" is not a 32-bit word; write a number or a string as \"0x84a00001\"");
    }
    return word;
}

}  // namespace Simulator
