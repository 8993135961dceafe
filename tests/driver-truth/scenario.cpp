// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reads scenarios.

#include "scenario.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace DriverTruth {
namespace {

const std::string arrow = " -> ";
const std::string simulatorPrefix = "simulator -> ";
const std::string because = " because ";
const std::string since = "since ";

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    const std::size_t end = text.find_last_not_of(" \t");
    return begin == std::string::npos ? std::string() : text.substr(begin, end - begin + 1);
}

std::vector<std::string> split(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    std::size_t at = 0;
    while (true) {
        const std::size_t end = text.find(separator, at);
        parts.push_back(trimmed(text.substr(at, end - at)));
        if (end == std::string::npos) {
            return parts;
        }
        at = end + separator.size();
    }
}

/// "EBUSY | since 7.2: EINVAL or ENODEV"
std::vector<Answers> readAnswers(const std::string& text) {
    std::vector<Answers> answers;
    for (const std::string& part : split(text, " | ")) {
        if (answers.empty()) {
            answers.push_back({{}, split(part, " or ")});
            continue;
        }
        const std::size_t colon = part.find(": ");
        if (!part.starts_with(since) || colon == std::string::npos) {
            throw std::runtime_error("behind \" | \" stands \"since VERSION: ANSWER\"");
        }
        const KernelVersion version = readVersion(part.substr(since.size(), colon - since.size()));
        if (version <= answers.back().since) {
            throw std::runtime_error("the answers of older kernels come first");
        }
        answers.push_back({version, split(part.substr(colon + 2), " or ")});
    }
    return answers;
}

std::string readText(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Reader {
public:
    explicit Reader(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    void take(const std::string& line) {
        ++m_line;
        const std::string text = trimmed(line);
        if (text.empty() || text.front() == '#') {
            return;
        }
        if (text.starts_with("camera ")) {
            const std::string camera = trimmed(text.substr(7));
            m_scenario.camera =
                camera.front() == '{' ? camera : readText(m_folder / (camera + ".json"));
        } else if (text.starts_with("parameter ")) {
            m_scenario.parameters.push_back(trimmed(text.substr(10)));
        } else if (text.starts_with(simulatorPrefix)) {
            takeDifference(text.substr(simulatorPrefix.size()));
        } else {
            takeStep(text);
        }
    }

    [[nodiscard]] int line() const { return m_line; }
    Scenario finish() {
        if (m_scenario.camera.empty() || m_scenario.steps.empty()) {
            throw std::runtime_error("a scenario has a camera and at least one call");
        }
        return std::move(m_scenario);
    }

private:
    void takeStep(const std::string& text) {
        const std::size_t at = text.find(arrow);
        Step step;
        step.line = m_line;
        step.call = trimmed(text.substr(0, at));
        if (at != std::string::npos) {
            step.answers = readAnswers(text.substr(at + arrow.size()));
        }
        m_scenario.steps.push_back(std::move(step));
    }

    void takeDifference(const std::string& text) {
        const std::size_t at = text.find(because);
        if (m_scenario.steps.empty() || at == std::string::npos) {
            throw std::runtime_error("a difference of the simulator follows its call and says why");
        }
        m_scenario.steps.back().simulated = trimmed(text.substr(0, at));
        m_scenario.steps.back().reason = trimmed(text.substr(at + because.size()));
    }

    const std::filesystem::path m_folder;
    Scenario m_scenario;
    int m_line = 0;
};

}  // namespace

KernelVersion readVersion(const std::string& release) {
    std::istringstream numbers(release);
    KernelVersion version;
    char point = 0;
    if (!(numbers >> version.major >> point >> version.minor) || point != '.') {
        throw std::runtime_error("\"" + release + "\" is no version of a kernel");
    }
    return version;
}

const std::vector<std::string>& Step::of(KernelVersion kernel) const {
    static const std::vector<std::string> none;
    const auto newer =
        std::find_if(answers.begin(), answers.end(),
                     [kernel](const Answers& written) { return written.since > kernel; });
    return newer == answers.begin() ? none : std::prev(newer)->either;
}

Scenario readScenario(std::istream& text, const std::filesystem::path& folder) {
    Reader reader(folder);
    try {
        for (std::string line; std::getline(text, line);) {
            reader.take(line);
        }
        return reader.finish();
    } catch (const std::exception& error) {
        throw std::runtime_error("line " + std::to_string(reader.line()) + ": " + error.what());
    }
}

Scenario readScenario(const std::filesystem::path& file) {
    std::ifstream stream(file);
    try {
        return readScenario(stream, file.parent_path());
    } catch (const std::exception& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

std::vector<std::string> scenariosIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".scenario") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace DriverTruth
