// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Forwards a manager's queries to a camera. Called by hosts, on their threads.

#include "lumiq/internal/base-camera-manager.h"

namespace Nerio::Lumiq::Internal {

std::vector<PixelFormatDescription> BaseCameraManager::getSupportedFormats(const std::string& id) {
    const std::shared_ptr<Camera> camera = openCamera(id);
    return camera ? camera->getSupportedFormats() : std::vector<PixelFormatDescription>();
}

bool BaseCameraManager::queryCapabilityRanges(const std::string& id, PixelFormat format,
                                              CameraCapabilityRanges& ranges) {
    const std::shared_ptr<Camera> camera = openCamera(id);
    return camera && camera->queryCapabilityRanges(format, ranges);
}

bool BaseCameraManager::findClosestCapability(const std::string& id, PixelFormat format,
                                              const CameraCapabilityEx& desired,
                                              CameraCapabilityEx& result,
                                              CameraCapabilityPriority priority) {
    const std::shared_ptr<Camera> camera = openCamera(id);
    return camera && camera->findClosestCapability(format, desired, result, priority);
}

}  // namespace Nerio::Lumiq::Internal
