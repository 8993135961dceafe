// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Compares answers with what is written.

#include "transcript.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "prober.h"

namespace DriverTruth {
namespace {

/// What is written for one of the worlds.
std::vector<std::string> expected(const Step& step, Whose whose, KernelVersion kernel) {
    return whose == Whose::Simulator && !step.simulated.empty() ? std::vector{step.simulated}
                                                                : step.of(kernel);
}

/// Whether the simulated camera is said to differ where it does as the kernel does.
bool differsForNothing(const Step& step, KernelVersion kernel) {
    const std::vector<std::string>& written = step.of(kernel);
    return std::find(written.begin(), written.end(), step.simulated) != written.end();
}

std::string joined(const std::vector<std::string>& answers) {
    std::string text;
    for (const std::string& answer : answers) {
        text += (text.empty() ? "" : " or ") + answer;
    }
    return text;
}

}  // namespace

std::vector<std::string> scenariosOf(const std::string& driver) {
    std::vector<std::string> names = scenariosIn(LUMIQ_SCENARIOS "/" + driver);
    for (std::string& name : names) {
        name.insert(0, driver + "/");
    }
    return names;
}

Scenario scenarioNamed(const std::string& name) {
    return readScenario(LUMIQ_SCENARIOS "/" + name + ".scenario");
}

std::string testName(const std::string& scenario) {
    std::string name = scenario.substr(scenario.find('/') + 1);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

Transcript run(const std::string& name, const Scenario& scenario, World& world, Whose whose,
               KernelVersion kernel) {
    Transcript transcript;
    Prober prober(world);
    for (const Step& step : scenario.steps) {
        const auto complain = [&](const std::string& what) {
            transcript.differences +=
                "line " + std::to_string(step.line) + ": " + step.call + "\n    " + what + "\n";
        };
        std::string answer;
        try {
            answer = prober.call(step.call);
        } catch (const std::exception& error) {
            answer = std::string("cannot be done: ") + error.what();
        }
        transcript.text += step.call + " -> " + answer + "\n";
        const std::vector<std::string> written = expected(step, whose, kernel);
        if (std::find(written.begin(), written.end(), answer) == written.end()) {
            complain("answers " + answer + "\n    written " + joined(written));
        }
        if (whose == Whose::Simulator && differsForNothing(step, kernel)) {
            complain("the simulator answers as the driver; the line below can go");
        }
    }
    if (const char* const folder = std::getenv("LUMIQ_EXCHANGE")) {
        const char* const suffix = whose == Whose::Driver ? ".driver" : ".simulator";
        std::ofstream(std::string(folder) + "/" + testName(name) + suffix) << transcript.text;
    }
    return transcript;
}

}  // namespace DriverTruth
