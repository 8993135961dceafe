// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A scenario: calls to a camera, one a line, each with what the kernel's driver answers. Read from
// a file by the tests of this folder; README.md shows the form.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_SCENARIO_H
#define LUMIQ_TESTS_DRIVER_TRUTH_SCENARIO_H

#include <compare>
#include <filesystem>
#include <istream>
#include <string>
#include <vector>

namespace DriverTruth {

/// "6.12"
struct KernelVersion {
    unsigned major = 0;
    unsigned minor = 0;
    auto operator<=>(const KernelVersion&) const = default;
};

/// Reads the two numbers that a release such as "6.12.107-arm64" begins with. Throws
/// std::runtime_error when it does not.
KernelVersion readVersion(const std::string& release);

/// What kernels answer from a version on. Several where it is a race which one comes.
struct Answers {
    KernelVersion since;
    std::vector<std::string> either;
};

/// One call and its answers.
struct Step {
    int line = 0;
    std::string call;
    std::vector<Answers> answers;  ///< by version, the oldest first
    /// What the simulated camera answers in place of that, and why; empty where it does not differ.
    std::string simulated;
    std::string reason;

    /// What a kernel of this version answers.
    [[nodiscard]] const std::vector<std::string>& of(KernelVersion kernel) const;
};

struct Scenario {
    std::string camera;  ///< the description's JSON text; in the file, that or another file's name
    std::vector<std::string> parameters;  ///< of the driver's module, as "nodrop=0"
    std::vector<Step> steps;
};

/// Throws std::runtime_error with the file and line of what it cannot read.
Scenario readScenario(const std::filesystem::path& file);
/// The same of a text; cameras that it names are files in the folder.
Scenario readScenario(std::istream& text, const std::filesystem::path& folder);

/// The scenarios of a folder, by name.
std::vector<std::string> scenariosIn(const std::filesystem::path& folder);

}  // namespace DriverTruth

#endif
