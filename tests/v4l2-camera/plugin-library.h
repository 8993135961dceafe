// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The built library, loaded as a host loads it. Each object of this class gets a module and a
// manager of its own, since it loads a copy of the file: tests in one process do not see each
// other's cameras.

#ifndef LUMIQ_TEST_PLUGIN_LIBRARY_H
#define LUMIQ_TEST_PLUGIN_LIBRARY_H

#include <memory>
#include <string>

#include "lumiq/module.h"

namespace TestSupport {

class PluginLibrary {
public:
    PluginLibrary();

    Nerio::Lumiq::Module& module() const { return *m_module; }
    Nerio::Lumiq::CameraManager& manager() const { return *m_manager; }

    /// The address of a symbol; null when the library does not show it.
    void* symbol(const char* name) const;

    /// Where the library under test lies.
    static std::string path();

private:
    void* m_handle = nullptr;  // Never closed: the library stays loaded anyway.
    Nerio::Lumiq::Module* m_module = nullptr;
    std::shared_ptr<Nerio::Lumiq::CameraManager> m_manager;
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_PLUGIN_LIBRARY_H
