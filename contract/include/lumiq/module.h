// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a back end's library hands to the host, and the function through which it does. Called by
// the host after it has loaded the library.

#ifndef LUMIQ_MODULE_H
#define LUMIQ_MODULE_H

#include <memory>

#include "lumiq/camera-manager.h"
#include "lumiq/codec-manager.h"
#include "lumiq/log.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// The object behind a loaded library. The host never deletes it. Any thread.
class LUMIQ_CONTRACT Module {
public:
    Module() = default;
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    virtual ~Module() = default;

    /// Where the host ranks this module among those it has loaded; the V4L2 back end says -100.
    [[nodiscard]] virtual int priority() const = 0;

    /// The module's cameras; empty when it offers none. The pointer of the V4L2 back end owns
    /// nothing: its manager lives until the process ends.
    [[nodiscard]] virtual std::shared_ptr<CameraManager> getCameraManager() = 0;

    /// The module's codecs; empty when it offers none, as the V4L2 back end does.
    [[nodiscard]] virtual std::shared_ptr<CodecManager> getCodecManager() = 0;
};

/// The type of LumiqModule, for dlsym(3).
using LumiqModuleFunction = Module* (*)();

}  // namespace Nerio::Lumiq

/// The one function a host looks up in a back end's library. Returns the same object on every call;
/// the library owns it. Any thread, also several at once.
extern "C" LUMIQ_CONTRACT Nerio::Lumiq::Module* LumiqModule();

#endif  // LUMIQ_MODULE_H
