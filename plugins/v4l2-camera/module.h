// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the library hands to the host. Any thread.

#ifndef LUMIQ_V4L2_MODULE_H
#define LUMIQ_V4L2_MODULE_H

#include "lumiq/module.h"

namespace Nerio::Lumiq {

class V4L2CameraManager;

/// The one camera manager of the process, made on the first call and destroyed when the process
/// ends.
LUMIQ_CONTRACT V4L2CameraManager* LumiqPluginManager();

/// The module of the V4L2 back end: cameras, no codecs.
class DummyModule : public Module {
public:
    [[nodiscard]] int priority() const override;
    [[nodiscard]] std::shared_ptr<CameraManager> getCameraManager() override;
    [[nodiscard]] std::shared_ptr<CodecManager> getCodecManager() override;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_V4L2_MODULE_H
