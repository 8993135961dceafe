// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One V4L2 camera: its device, what the device offers, and the running capture. Made by the
// manager, owned by the host. Host threads call the public operations; the bus thread stops a
// removed camera; the capture thread runs loop().

#ifndef LUMIQ_V4L2_CAMERA_H
#define LUMIQ_V4L2_CAMERA_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "capability-selection.h"
#include "lumiq/internal/base-camera.h"
#include "lumiq/internal/mutex.h"
#include "pixel-formats.h"
#include "unique-fd.h"
#include "v4l2-camera-buffer.h"
#include "v4l2-camera-frame.h"
#include "v4l2-device.h"

namespace Nerio::Lumiq {

class UvcDeviceProxy;
class V4L2CameraManager;
struct OpenCameras;

/// Always made with std::make_shared. See README.md beside this file for its threads and locks.
class V4L2Camera final : public Internal::BaseCamera,
                         public std::enable_shared_from_this<V4L2Camera> {
public:
    /// Asks nobody anything: the device is opened when it is first needed.
    V4L2Camera(std::string id, V4L2CameraManager* manager);

    /// Ends a running capture, also on the capture thread itself.
    ~V4L2Camera() override;

    bool getInfo(CameraInfo& info) override;
    bool startCapture(const CameraCapability& capability, PixelFormat format) override;
    bool stopCapture() override;
    [[nodiscard]] bool captureStarted() const override;
    [[nodiscard]] std::string getParameterRange(CameraParameter parameter) override;
    [[nodiscard]] std::string getParameter(CameraParameter parameter) override;
    bool setParameter(CameraParameter parameter, const std::string& value) override;
    [[nodiscard]] std::vector<PixelFormatDescription> getSupportedFormats() override;
    bool queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) override;
    bool findClosestCapability(PixelFormat format, const CameraCapabilityEx& desired,
                               CameraCapabilityEx& result,
                               CameraCapabilityPriority priority) override;
    bool startCapture(const CameraCapabilityEx& capability, PixelFormat format) override;
    bool queryCapabilities(std::vector<CameraCapability>& capabilities) override;

    /// Tells the listener, if there is one. Bus thread, or capture thread.
    void reportError(const std::string& message);

private:
    using Device = std::shared_ptr<V4L2Device>;

    // The device: v4l2-camera.cpp.
    Device openDevice();
    Device device();
    Device takeDevice();

    // What the device offers: v4l2-camera-queries.cpp.
    template <typename Question>
    bool ask(const Question& question);
    bool listFormats(std::vector<std::uint32_t>& codes);
    std::vector<PixelFormatDescription> checkFormatsConverting(
        const std::vector<PixelFormatDescription>& direct);
    std::uint32_t v4l2Format(PixelFormat format);
    std::set<std::uint32_t> v4l2Formats();
    std::uint32_t bestOffered(std::span<const std::uint32_t> candidates);
    bool findClosestCapabilitySizeFps(PixelFormat format, const CameraCapabilityEx& desired,
                                      CameraCapabilityEx& result, bool widthFirst);
    bool findClosestCapabilityFpsSize(PixelFormat format, const CameraCapabilityEx& desired,
                                      CameraCapabilityEx& result, bool widthFirst);

    // Starting and stopping: v4l2-camera-capture.cpp.
    bool startStream(const CameraCapabilityEx& capability, PixelFormat format)
        LUMIQ_REQUIRES(m_startMutex) LUMIQ_EXCLUDES(m_deviceMutex);
    bool setFormat(const V4L2Device& device, const CameraCapabilityEx& capability,
                   std::uint32_t fourcc) LUMIQ_REQUIRES(m_startMutex) LUMIQ_REQUIRES(m_deviceMutex);
    void setFrameRate(const V4L2Device& device, const FrameRate& rate)
        LUMIQ_REQUIRES(m_deviceMutex);
    bool allocBuffers(const V4L2Device& device) LUMIQ_REQUIRES(m_deviceMutex);
    bool allocBuffer(const V4L2Device& device, std::uint32_t index) LUMIQ_REQUIRES(m_deviceMutex);
    bool streamOn(const V4L2Device& device) LUMIQ_REQUIRES(m_deviceMutex);
    bool startThread(const Device& device) LUMIQ_REQUIRES(m_deviceMutex);
    void unmapBuffers() LUMIQ_REQUIRES(m_deviceMutex);
    void freeBuffers(const V4L2Device& device) LUMIQ_REQUIRES(m_deviceMutex);
    std::thread takeThread() LUMIQ_EXCLUDES(m_deviceMutex);
    void tearDown() LUMIQ_EXCLUDES(m_deviceMutex);

    // The capture thread: v4l2-camera-loop.cpp.
    enum class Wake { Frame, Again, End };
    void loop(const V4L2Device& device);
    Wake waitForFrame(int fd);
    Wake onPollError(int error);
    void reportFromLoop(const std::string& message);
    std::shared_ptr<V4L2Camera> deliverFrame(const V4L2Device& device)
        LUMIQ_EXCLUDES(m_deviceMutex);
    std::shared_ptr<V4L2Camera> callListener(std::uint32_t index) LUMIQ_REQUIRES(m_deviceMutex);
    [[nodiscard]] bool endLoopOnThisThread();

    V4L2CameraManager* const m_manager;
    const std::shared_ptr<OpenCameras> m_openCameras;
    const std::string m_id;

    // Guards the descriptor and what is remembered of the device. Innermost; never held during a
    // call to anything else, so enumeration, a removal and a stop may meet.
    Internal::Mutex m_openMutex;
    Device m_device LUMIQ_GUARDED_BY(m_openMutex);
    unsigned m_openings LUMIQ_GUARDED_BY(m_openMutex) = 0;  ///< Devices that there have been.
    std::unique_ptr<UvcDeviceProxy> m_deviceProxy LUMIQ_GUARDED_BY(m_openMutex);
    std::set<std::uint32_t> m_v4l2Formats LUMIQ_GUARDED_BY(m_openMutex);
    std::map<PixelFormat, PixelFormat> m_convertingSources LUMIQ_GUARDED_BY(m_openMutex);

    // One start at a time; a stop does not take it.
    Internal::Mutex m_startMutex;
    std::uint16_t m_width LUMIQ_GUARDED_BY(m_startMutex) = 0;   ///< Of the last start, pixels.
    std::uint16_t m_height LUMIQ_GUARDED_BY(m_startMutex) = 0;  ///< Of the last start, rows.

    // The only state of the capture that is read without a lock.
    std::atomic<bool> m_started{false};

    // Held by start, by stop, and by each dequeue-deliver-requeue cycle. Taken before the listener
    // lock.
    Internal::Mutex m_deviceMutex;
    StreamFormat m_stream LUMIQ_GUARDED_BY(m_deviceMutex);
    FrameRate m_frameRate LUMIQ_GUARDED_BY(m_deviceMutex);
    std::uint32_t m_bufferCount LUMIQ_GUARDED_BY(m_deviceMutex) = 0;
    std::shared_ptr<V4L2CameraBuffers> m_buffers LUMIQ_GUARDED_BY(m_deviceMutex);
    std::chrono::steady_clock::time_point m_startTime LUMIQ_GUARDED_BY(m_deviceMutex);
    std::thread m_thread LUMIQ_GUARDED_BY(m_deviceMutex);
    // True from a start until the stop has torn everything down; a start waits for that. While it
    // is true the device is open, so whoever holds the device mutex does not wait for the service,
    // and the bus thread, which stops a removed camera, may wait for the device mutex.
    bool m_running LUMIQ_GUARDED_BY(m_deviceMutex) = false;
    std::condition_variable_any m_tornDown;

    // Wakes the capture thread out of poll.
    UniqueFd m_eventFd;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_V4L2_CAMERA_H
