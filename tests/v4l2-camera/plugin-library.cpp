// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Loads copies of the library under test.

#include "plugin-library.h"

#include <dlfcn.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>

#include "temporary-folder.h"

namespace TestSupport {
namespace {

// A folder for the copies, removed when the process ends: sanitizers want to read the files until
// then.
class CopyFolder {
public:
    std::filesystem::path next() {
        return m_folder.path() / ("plugin-" + std::to_string(m_count.fetch_add(1)) + ".so");
    }

private:
    const TemporaryFolder m_folder{"plugin"};
    std::atomic<int> m_count{0};
};

}  // namespace

PluginLibrary::PluginLibrary() {
    static CopyFolder folder;
    const std::filesystem::path copy = folder.next();
    std::filesystem::copy_file(path(), copy);
    m_handle = ::dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    const auto entry = reinterpret_cast<Nerio::Lumiq::LumiqModuleFunction>(symbol("LumiqModule"));
    if (entry == nullptr) {
        throw std::runtime_error("the library has no LumiqModule");
    }
    m_module = entry();
    m_manager = m_module->getCameraManager();
}

void* PluginLibrary::symbol(const char* name) const {
    return ::dlsym(m_handle, name);
}

std::string PluginLibrary::path() {
    return LUMIQ_PLUGIN_PATH;
}

}  // namespace TestSupport
