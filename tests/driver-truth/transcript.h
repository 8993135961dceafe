// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Runs a scenario and says where the answers are others than written. Called by the tests of all
// worlds.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_TRANSCRIPT_H
#define LUMIQ_TESTS_DRIVER_TRUTH_TRANSCRIPT_H

#include <string>
#include <vector>

#include "scenario.h"
#include "world.h"

namespace DriverTruth {

enum class Whose { Simulator, Driver };

struct Transcript {
    std::string text;         ///< every call with its answer, as it would be written in a scenario
    std::string differences;  ///< what is not as written; empty when all is
};

/// Holds every answer to what is written of one kernel, that of the driver or that which the
/// simulated camera stands for. Where LUMIQ_EXCHANGE names a folder, the text is left there under
/// the scenario's name.
Transcript run(const std::string& name, const Scenario& scenario, World& world, Whose whose,
               KernelVersion kernel);

/// The scenarios that are written of a driver, "uvcvideo/formats" and so on.
std::vector<std::string> scenariosOf(const std::string& driver);
/// One of them.
Scenario scenarioNamed(const std::string& name);
/// The name of a scenario as part of a test's name: "formats".
std::string testName(const std::string& scenario);

}  // namespace DriverTruth

#endif
