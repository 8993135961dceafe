// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Loading a back end; see the header.

#include "plug-in.h"

#include <dlfcn.h>
#include <lumiq/module.h>

#include <stdexcept>

namespace EncodeAndDecode {

std::shared_ptr<Nerio::Lumiq::CodecManager> loadCodecs(const std::string& path) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw std::runtime_error(dlerror());
    }
    const auto entry =
        reinterpret_cast<Nerio::Lumiq::LumiqModuleFunction>(dlsym(library, "LumiqModule"));
    if (entry == nullptr) {
        throw std::runtime_error(path + " is not a Lumiq back end");
    }
    auto codecs = entry()->getCodecManager();
    if (!codecs) {
        throw std::runtime_error(path + " offers no codecs");
    }
    if (!codecs->init()) {
        throw std::runtime_error("the codecs of " + path + " do not start");
    }
    return codecs;
}

}  // namespace EncodeAndDecode
