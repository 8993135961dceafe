// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Loads the back end that the command line names, if it names one, and prints what it says of
// itself. One thread.

#include <dlfcn.h>

#include <lumiq/module.h>
#include <iostream>

namespace {

int complain() {
    std::cerr << dlerror() << "\n";
    return 1;
}

int printModule(const char* path) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return complain();
    }
    const auto entry =
        reinterpret_cast<Nerio::Lumiq::LumiqModuleFunction>(dlsym(library, "LumiqModule"));
    if (entry == nullptr) {
        return complain();
    }
    Nerio::Lumiq::Module* const module = entry();
    std::cout << "priority " << module->priority() << ", cameras "
              << module->getCameraManager()->getNumberOfCameras() << ", codecs "
              << (module->getCodecManager() ? "yes" : "no") << "\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::cout << "format " << toString(Nerio::Lumiq::PixelFormat::MJPG) << "\n";
    return argc > 1 ? printModule(argv[1]) : 0;
}
