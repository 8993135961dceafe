// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The queries of a camera manager, answered by the camera itself. Any thread; takes no lock, logs
// nothing.

#ifndef LUMIQ_INTERNAL_BASE_CAMERA_MANAGER_H
#define LUMIQ_INTERNAL_BASE_CAMERA_MANAGER_H

#include <string>
#include <vector>

#include "lumiq/camera-manager.h"

namespace Nerio::Lumiq::Internal {

/// Opens the camera with the manager's own openCamera(), asks it and lets go of it, so a query of a
/// camera that nobody else holds opens and closes the device. An id that cannot be opened gives an
/// empty list or false, with the output untouched. What throws in the camera passes through.
class BaseCameraManager : public CameraManager {
public:
    [[nodiscard]] std::vector<PixelFormatDescription> getSupportedFormats(
        const std::string& id) override;
    bool queryCapabilityRanges(const std::string& id, PixelFormat format,
                               CameraCapabilityRanges& ranges) override;
    bool findClosestCapability(const std::string& id, PixelFormat format,
                               const CameraCapabilityEx& desired, CameraCapabilityEx& result,
                               CameraCapabilityPriority priority) override;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_BASE_CAMERA_MANAGER_H
