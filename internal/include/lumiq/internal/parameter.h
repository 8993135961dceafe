// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A setting whose value is text: what every kind of parameter has in common. Called by the object
// that the setting belongs to, on whatever thread that is called on, by one at a time.

#ifndef LUMIQ_INTERNAL_PARAMETER_H
#define LUMIQ_INTERNAL_PARAMETER_H

#include <string>

namespace Nerio::Lumiq::Internal {

/// Holds a text and takes any other. The kinds derived from it say which values they allow. None of
/// the operations throws on a value, however odd; they return false and keep what they had.
///
/// The order of the virtual operations is kept; new ones are only ever appended.
class Parameter {
public:
    explicit Parameter(std::string text = {});
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;
    virtual ~Parameter();

    /// The allowed values as text; "-" says nothing about them.
    virtual std::string range();

    /// Takes a value: stores adjust(value) when validate(value) says yes. Otherwise false, and the
    /// old text stays.
    virtual bool set(const std::string& value);

    /// Replaces the text, whatever it is.
    virtual void assign(const std::string& text);

    /// A copy of the text.
    virtual std::string get();

    /// True when set() would take the value.
    virtual bool validate(const std::string& value);

    /// What is stored in place of a value that was found valid; the value itself unless a derived
    /// class brings it into another form.
    virtual std::string adjust(const std::string& value);

private:
    std::string m_text;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_PARAMETER_H
