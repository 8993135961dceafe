// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The parameters of one object by number. Called by the object they belong to, on whatever thread
// that is called on, by one at a time.

#ifndef LUMIQ_INTERNAL_PARAMETER_SET_H
#define LUMIQ_INTERNAL_PARAMETER_SET_H

#include <map>
#include <string>

#include "lumiq/internal/parameter.h"

namespace Nerio::Lumiq::Internal {

/// Owns parameters and passes questions and changes on by identifier, such as the number of a
/// CodecParameter or a CameraParameter. An identifier may be registered with nullptr: it is then
/// taken, and otherwise treated like an unknown one.
class ParameterSet {
public:
    ParameterSet() = default;
    ParameterSet(const ParameterSet&) = delete;
    ParameterSet& operator=(const ParameterSet&) = delete;
    /// Deletes the parameters, in the order of their identifiers.
    virtual ~ParameterSet();

    /// The range of the parameter; empty when there is none.
    virtual std::string range(unsigned int id);

    /// Takes over `parameter`, made with new and registered nowhere else. False when the identifier
    /// is taken: the earlier parameter stays, and `parameter` remains the caller's to delete.
    bool registerParameter(unsigned int id, Parameter* parameter);

    /// Registers one after the other. False when any was refused: those whose identifier find()
    /// gives another parameter for remain the caller's to delete.
    bool registerParameters(const std::map<unsigned int, Parameter*>& parameters);

    /// The parameter, which stays the set's; nullptr when there is none.
    [[nodiscard]] Parameter* find(unsigned int id) const;

    /// The text of the parameter; empty when there is none.
    [[nodiscard]] std::string get(unsigned int id) const;

    /// The parameter's own set(); false when there is none.
    bool set(unsigned int id, const std::string& value);

    /// For the owner: replaces the text of a ReadOnlyParameter, without any check. False, and
    /// nothing changed, when there is none or it is of another kind.
    bool change(unsigned int id, const std::string& text);

private:
    std::map<unsigned int, Parameter*> m_parameters;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_PARAMETER_SET_H
