// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the host implements to receive images from a camera. Called by the back end.

#ifndef LUMIQ_CAMERA_LISTENER_H
#define LUMIQ_CAMERA_LISTENER_H

#include <memory>
#include <string>

#include "lumiq/graphic-buffer.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// Receives the images and the failures of one camera. The camera never owns it: call
/// Camera::setListener(nullptr) before destroying it.
///
/// Every call is made with the camera's listener lock held, frames with its device lock as well.
/// From inside a call, setListener works; startCapture, stopCapture and questions for the formats
/// Raw, Encoded and Preferred of the same camera must not be called, nor exit(3), which waits for
/// the bus thread while that may be waiting for this call. Letting go of the last pointer to the
/// camera is allowed.
class LUMIQ_CONTRACT CameraListener {
public:
    virtual ~CameraListener() = default;

    /// One captured image. Capture thread. The buffer may be kept for as long as the host likes,
    /// but its pixels must be used or copied before this call returns: the driver fills the memory
    /// again right after. A slow call costs frames, nothing else.
    virtual void onCameraFrame(std::shared_ptr<GraphicBuffer> buffer) = 0;

    /// The capture failed or ended. `message` says why:
    ///
    ///   "Camera removed"       The device is gone and the capture has been stopped, or is just
    ///                          being stopped by another thread: a last image may follow then.
    ///                          Bus thread.
    ///   "timeout"              No image for ten seconds; no more will come until the host stops
    ///                          and starts the capture. Capture thread.
    ///   "error revents: N"     poll(2) reported N for the device, in decimal; the capture thread
    ///                          has ended, stop before starting again.
    ///                          Capture thread.
    ///   any other text         Waiting for the device failed for this reason of strerror(3); the
    ///                          capture goes on. Capture thread.
    virtual void onCameraError(const std::string& message) = 0;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_LISTENER_H
