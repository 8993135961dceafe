// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Loading the plug-in; see the header.
#include "plugin.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "exit-code.h"

namespace LumiqCam {
namespace {

constexpr const char* kDefaultLibrary = "liblumiq-v4l2-camera.so";

std::string chosenPath(const std::string& given) {
    if (!given.empty()) {
        return given;
    }
    const char* const named = std::getenv("LUMIQ_PLUGIN");
    return named != nullptr && *named != '\0' ? named : kDefaultLibrary;
}

std::string besideThisProgram() {
    std::error_code unreadable;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unreadable);
    return program.parent_path().parent_path() / "lib" / kDefaultLibrary;
}

void* open(const std::string& path) {
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

std::string loaderError() {
    const char* const text = dlerror();
    return text == nullptr ? "unknown error" : text;
}

}  // namespace

Plugin::Plugin(const std::string& path) : m_path(chosenPath(path)), m_library(open(m_path)) {
    const std::string error = m_library == nullptr ? loaderError() : std::string();
    if (m_library == nullptr && m_path == kDefaultLibrary) {
        // The loader looks into this program's RUNPATH only when the call comes from the program
        // itself; under a sanitizer it comes from the sanitizer's library.
        m_library = open(besideThisProgram());
    }
    if (m_library == nullptr) {
        throw Failure(ExitCode::NoService, "cannot load the plug-in: " + error,
                      "Name the plug-in with --plugin or LUMIQ_PLUGIN.");
    }
    const auto entry =
        reinterpret_cast<Nerio::Lumiq::LumiqModuleFunction>(dlsym(m_library, "LumiqModule"));
    m_module = entry == nullptr ? nullptr : entry();
    if (m_module == nullptr) {
        throw Failure(ExitCode::NoService, m_path + " is not a Lumiq plug-in: it gives no module",
                      "Name another library with --plugin or LUMIQ_PLUGIN.");
    }
}

std::shared_ptr<Nerio::Lumiq::CameraManager> Plugin::cameraManager() const {
    auto manager = m_module->getCameraManager();
    if (!manager) {
        throw Failure(ExitCode::NoService, "the plug-in " + m_path + " has no cameras to offer",
                      "Name a camera plug-in with --plugin or LUMIQ_PLUGIN.");
    }
    return manager;
}

void Plugin::logToSyslog() const {
    const auto init = reinterpret_cast<void (*)()>(dlsym(m_library, "_ZN5Nerio5Lumiq7LogInitEv"));
    if (init == nullptr) {
        throw Failure(ExitCode::NoService, "the plug-in " + m_path + " has no log for syslog",
                      "Leave out --syslog.");
    }
    init();
}

}  // namespace LumiqCam
