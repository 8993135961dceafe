// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Implementations of the cameras' interfaces that note which of their operations was called, and
// return what a test has put there. Used by the tests on one thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "call-log.h"
#include "lumiq/module.h"

namespace Nerio::Lumiq {

class RecordingModule : public Module {
public:
    explicit RecordingModule(CallLog& log) : m_log(log) {}
    ~RecordingModule() override { m_log.note("destroyed"); }

    int priority() const override {
        m_log.note("priority");
        return -7;
    }
    std::shared_ptr<CameraManager> getCameraManager() override {
        m_log.note("getCameraManager");
        return cameras;
    }
    std::shared_ptr<CodecManager> getCodecManager() override {
        m_log.note("getCodecManager");
        return codecs;
    }

    std::shared_ptr<CameraManager> cameras;
    std::shared_ptr<CodecManager> codecs;

private:
    CallLog& m_log;
};

class RecordingManager : public CameraManager {
public:
    explicit RecordingManager(CallLog& log) : m_log(log) {}
    ~RecordingManager() override { m_log.note("destroyed"); }

    bool init() override { return m_log.note("init"); }
    int getNumberOfCameras() override {
        m_log.note("getNumberOfCameras");
        return 12;
    }
    bool getCameraInfo(unsigned int index, CameraInfo& info) override {
        return m_log.note("getCameraInfo", index, &info);
    }
    bool queryCapabilities(const std::string& id,
                           std::vector<CameraCapability>& capabilities) override {
        return m_log.note("queryCapabilities", &id, &capabilities);
    }
    std::shared_ptr<Camera> openCamera(const std::string& id) override {
        m_log.note("openCamera", &id);
        return camera;
    }
    std::vector<PixelFormatDescription> getSupportedFormats(const std::string& id) override {
        m_log.note("getSupportedFormats", &id);
        return formats;
    }
    bool queryCapabilityRanges(const std::string& id, PixelFormat format,
                               CameraCapabilityRanges& ranges) override {
        return m_log.note("queryCapabilityRanges", &id, format, &ranges);
    }
    bool findClosestCapability(const std::string& id, PixelFormat format,
                               const CameraCapabilityEx& desired, CameraCapabilityEx& result,
                               CameraCapabilityPriority priority) override {
        return m_log.note("findClosestCapability", &id, format, &desired, &result, priority);
    }

    CameraManagerListener* listener() const { return m_listener; }

    std::shared_ptr<Camera> camera;
    std::vector<PixelFormatDescription> formats;

private:
    CallLog& m_log;
};

class RecordingCamera : public Camera {
public:
    explicit RecordingCamera(CallLog& log) : m_log(log) {}
    ~RecordingCamera() override { m_log.note("destroyed"); }

    bool getInfo(CameraInfo& info) override { return m_log.note("getInfo", &info); }
    std::vector<PixelFormat> getSupportedPixelFormats() override {
        m_log.note("getSupportedPixelFormats");
        return {PixelFormat::NV12};
    }
    bool startCapture(const CameraCapability& capability, PixelFormat format) override {
        return m_log.note("startCapture", &capability, format);
    }
    bool stopCapture() override { return m_log.note("stopCapture"); }
    bool captureStarted() const override { return m_log.note("captureStarted"); }
    std::string getParameterRange(CameraParameter parameter) override {
        m_log.note("getParameterRange", parameter);
        return "1..5";
    }
    std::string getParameter(CameraParameter parameter) override {
        m_log.note("getParameter", parameter);
        return "3";
    }
    bool setParameter(CameraParameter parameter, const std::string& value) override {
        return m_log.note("setParameter", parameter, &value);
    }
    std::vector<PixelFormatDescription> getSupportedFormats() override {
        m_log.note("getSupportedFormats");
        return formats;
    }
    bool isFormatSupported(const PixelFormatDescription& description) override {
        return m_log.note("isFormatSupported", &description);
    }
    bool isFormatSupported(PixelFormat format) override {
        return m_log.note("isFormatSupported", format);
    }
    bool queryCapabilityRanges(PixelFormat format, CameraCapabilityRanges& ranges) override {
        return m_log.note("queryCapabilityRanges", format, &ranges);
    }
    bool findClosestCapability(PixelFormat format, const CameraCapabilityEx& desired,
                               CameraCapabilityEx& result,
                               CameraCapabilityPriority priority) override {
        return m_log.note("findClosestCapability", format, &desired, &result, priority);
    }
    bool startCapture(const CameraCapabilityEx& capability, PixelFormat format) override {
        return m_log.note("startCapture, extended", &capability, format);
    }
    bool queryCapabilities(std::vector<CameraCapability>& capabilities) override {
        return m_log.note("queryCapabilities", &capabilities);
    }

    CameraListener* listener() const { return m_listener; }

    std::vector<PixelFormatDescription> formats;

private:
    CallLog& m_log;
};

class RecordingBuffer : public GraphicBuffer {
public:
    explicit RecordingBuffer(CallLog& log) : m_log(log) {}
    ~RecordingBuffer() override { m_log.note("destroyed"); }

    std::shared_ptr<YCbCrFrame> mapYCbCr() override {
        m_log.note("mapYCbCr");
        return planar;
    }
    std::shared_ptr<void> map() override {
        m_log.note("map");
        return secret;
    }
    std::shared_ptr<Frame> mapFrame() override {
        m_log.note("mapFrame");
        return raw;
    }
    int rotation() const override {
        m_log.note("rotation");
        return 270;
    }

    std::shared_ptr<YCbCrFrame> planar;
    std::shared_ptr<void> secret;
    std::shared_ptr<Frame> raw;

private:
    CallLog& m_log;
};

class RecordingManagerListener : public CameraManagerListener {
public:
    explicit RecordingManagerListener(CallLog& log) : m_log(log) {}
    ~RecordingManagerListener() override { m_log.note("destroyed"); }

    void cameraAdded(const CameraInfo& info) override { m_log.note("cameraAdded", &info); }
    void cameraRemoved(const std::string& id) override { m_log.note("cameraRemoved", &id); }

private:
    CallLog& m_log;
};

class RecordingListener : public CameraListener {
public:
    explicit RecordingListener(CallLog& log) : m_log(log) {}
    ~RecordingListener() override { m_log.note("destroyed"); }

    void onCameraFrame(std::shared_ptr<GraphicBuffer> buffer) override {
        m_log.note("onCameraFrame", buffer.get());
    }
    void onCameraError(const std::string& message) override {
        m_log.note("onCameraError", &message);
    }

private:
    CallLog& m_log;
};

}  // namespace Nerio::Lumiq
