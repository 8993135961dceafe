// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One camera, as the host drives it. Implemented by back ends.

#ifndef LUMIQ_CAMERA_H
#define LUMIQ_CAMERA_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "lumiq/camera-capability.h"
#include "lumiq/camera-info.h"
#include "lumiq/camera-listener.h"
#include "lumiq/camera-parameter.h"
#include "lumiq/pixel-format.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// One camera. The host owns it; the last pointer may be let go on any thread, also while a capture
/// runs, which then ends. It must not outlive its manager.
///
/// The operations may be called on any thread. Those that ask the device something may wait for the
/// device-access service. None throws on a device's failure: they return false or something empty.
/// The order of the virtual operations is the binary contract; new ones are only ever appended.
class LUMIQ_CONTRACT Camera {
public:
    Camera() = default;
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;
    virtual ~Camera() = default;

    /// Copies the manager's record of this camera into `info`. False, and `info` untouched, once
    /// the camera has left the manager's list.
    virtual bool getInfo(CameraInfo& info) = 0;

    /// The formats of getSupportedFormats(), in its order, without how each is obtained.
    [[nodiscard]] virtual std::vector<PixelFormat> getSupportedPixelFormats() = 0;

    /// startCapture() with the whole-number rate over 1.
    virtual bool startCapture(const CameraCapability& capability, PixelFormat format) = 0;

    /// Ends the capture: when it returns, the capture thread is gone, the driver's memory is
    /// unmapped and the device is closed. True also when nothing was running. When two threads stop
    /// at once, one of them does the work and the other returns at once. Not from inside a listener
    /// call.
    virtual bool stopCapture() = 0;

    /// True from a successful start until the stop, also after the capture thread ended on an
    /// error.
    [[nodiscard]] virtual bool captureStarted() const = 0;

    /// The allowed values of a control as text; empty when there is no such control.
    [[nodiscard]] virtual std::string getParameterRange(CameraParameter parameter) = 0;

    /// The current value of a control as text; empty when there is no such control.
    [[nodiscard]] virtual std::string getParameter(CameraParameter parameter) = 0;

    /// Sets a control. False, and nothing changed, when there is no such control or the value is
    /// not allowed.
    virtual bool setParameter(CameraParameter parameter, const std::string& value) = 0;

    /// Sets the one listener; nullptr removes it. Waits until a listener call running on another
    /// thread has returned, so the old listener may be destroyed afterwards. Works from inside a
    /// listener call. The camera does not own the listener.
    virtual void setListener(CameraListener* listener) {
        const std::lock_guard lock(m_listenerMutex);
        m_listener = listener;
    }

    /// The formats that can be asked for, ascending by value, each at most once; empty when the
    /// device cannot be opened.
    [[nodiscard]] virtual std::vector<PixelFormatDescription> getSupportedFormats() = 0;

    /// True when getSupportedFormats() holds `description`, its flags included.
    [[nodiscard]] virtual bool isFormatSupported(const PixelFormatDescription& description) = 0;

    /// True when getSupportedFormats() holds `format`, whatever its flags.
    [[nodiscard]] virtual bool isFormatSupported(PixelFormat format) = 0;

    /// Sums up the sizes and rates that `format` can be captured with. False, and `ranges`
    /// untouched, when there are none.
    virtual bool queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) = 0;

    /// Finds the operating point nearest to `desired` for `format`; `priority` says what counts
    /// most. False, and `result` untouched, when none is found.
    virtual bool findClosestCapability(PixelFormat format, const CameraCapabilityEx& desired,
                                       CameraCapabilityEx& result,
                                       CameraCapabilityPriority priority) = 0;

    /// Starts the capture; images then go to the listener on the capture thread. Width and height
    /// in pixels, up to 65535. While a capture of the same size runs it returns true and changes
    /// nothing, not even rate or format; with another size it restarts. False, with a log line
    /// that says why, when the device cannot be opened or refuses, and without one when the format
    /// is not among getSupportedFormats(). A refused frame rate does not stop a start. After a
    /// refusal the driver may go on holding buffers for this object: let go of the last pointer to
    /// it and open the camera again before the next try. Not from inside a listener call.
    virtual bool startCapture(const CameraCapabilityEx& capability, PixelFormat format) = 0;

    /// Fills `capabilities` with discrete operating points, in the device's order. False when there
    /// are none.
    virtual bool queryCapabilities(std::vector<CameraCapability>& capabilities) = 0;

protected:
    CameraListener* m_listener = nullptr;  ///< Guarded by m_listenerMutex; not owned.
    std::recursive_mutex m_listenerMutex;  ///< Held during every listener call.
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CAMERA_H
