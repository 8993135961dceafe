// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A folder for the files of a test. Any thread.

#ifndef LUMIQ_TEST_TEMPORARY_FOLDER_H
#define LUMIQ_TEST_TEMPORARY_FOLDER_H

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace TestSupport {

/// Empty at first; gone with its owner, whatever is in it then.
class TemporaryFolder {
public:
    /// `name` tells people whose it is. Errors: std::system_error.
    explicit TemporaryFolder(const std::string& name = "test")
        : m_path(make((std::filesystem::temp_directory_path() / ("lumiq-" + name + "-XXXXXX")))) {}
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    static std::string make(std::string pattern) {
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "cannot make " + pattern);
        }
        return pattern;
    }

    std::filesystem::path m_path;
};

}  // namespace TestSupport

#endif
