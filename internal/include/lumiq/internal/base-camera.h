// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The generic half of a camera: format checks, ranges and the search for the closest operating
// point, made from the back end's own lists. Any thread; takes no lock, logs nothing.

#ifndef LUMIQ_INTERNAL_BASE_CAMERA_H
#define LUMIQ_INTERNAL_BASE_CAMERA_H

#include <vector>

#include "lumiq/camera.h"

namespace Nerio::Lumiq::Internal {

/// A back end derives from it and supplies getSupportedFormats(), queryCapabilities() and
/// startCapture(const CameraCapability&, PixelFormat) besides the operations that have no generic
/// form. What throws in those passes through.
class BaseCamera : public Camera {
public:
    [[nodiscard]] std::vector<PixelFormat> getSupportedPixelFormats() override;

    [[nodiscard]] bool isFormatSupported(const PixelFormatDescription& description) override;
    [[nodiscard]] bool isFormatSupported(PixelFormat format) override;

    /// Bounds over queryCapabilities(), which knows nothing of formats: `format` only has to be
    /// among getSupportedFormats(). All steps are 0.
    bool queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) override;

    /// Chooses from queryCapabilities(), whatever the format: keeps those nearest in the first
    /// dimension of `priority`, of these those nearest in the second, then in the third; of what is
    /// left the first. An unknown priority chooses the first of all. The wished rate counts as
    /// whole frames per second.
    bool findClosestCapability(PixelFormat format, const CameraCapabilityEx& desired,
                               CameraCapabilityEx& result,
                               CameraCapabilityPriority priority) override;

    using Camera::startCapture;

    /// Starts with the rate rounded to whole frames per second, halves upwards.
    bool startCapture(const CameraCapabilityEx& capability, PixelFormat format) override;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_BASE_CAMERA_H
