// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The entry points of the library. Called by the host, on any thread.

#include "module.h"

#include "v4l2-camera-manager.h"

namespace Nerio::Lumiq {

V4L2CameraManager* LumiqPluginManager() {
    static V4L2CameraManager manager;
    return &manager;
}

// Below every back end that knows its hardware better.
int DummyModule::priority() const {
    return -100;
}

std::shared_ptr<CameraManager> DummyModule::getCameraManager() {
    // Owns nothing, not even a count: the manager lives as long as the process.
    return {std::shared_ptr<CameraManager>(), LumiqPluginManager()};
}

std::shared_ptr<CodecManager> DummyModule::getCodecManager() {
    return {};
}

}  // namespace Nerio::Lumiq

Nerio::Lumiq::Module* LumiqModule() {
    static Nerio::Lumiq::DummyModule module;
    return &module;
}
