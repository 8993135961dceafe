// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Implementations of every interface of the contract that say which of their operations was called.
// Used by the tests on one thread.
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "lumiq/module.h"

namespace Nerio::Lumiq {

// The host's side of the codecs does not exist here; a test needs a type to point at.
class CodecManager {};

class RecordingModule : public Module {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordingModule() override { destroyed(); }
    MOCK_METHOD(int, priority, (), (const, override));
    MOCK_METHOD(std::shared_ptr<CameraManager>, getCameraManager, (), (override));
    MOCK_METHOD(std::shared_ptr<CodecManager>, getCodecManager, (), (override));
};

class RecordingManager : public CameraManager {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordingManager() override { destroyed(); }
    MOCK_METHOD(bool, init, (), (override));
    MOCK_METHOD(int, getNumberOfCameras, (), (override));
    MOCK_METHOD(bool, getCameraInfo, (unsigned int, CameraInfo&), (override));
    MOCK_METHOD(bool, queryCapabilities, (const std::string&, std::vector<CameraCapability>&),
                (override));
    MOCK_METHOD(std::shared_ptr<Camera>, openCamera, (const std::string&), (override));
    MOCK_METHOD(std::vector<PixelFormatDescription>, getSupportedFormats, (const std::string&),
                (override));
    MOCK_METHOD(bool, queryCapabilityRanges,
                (const std::string&, PixelFormat, CameraCapabilityRanges&), (override));
    MOCK_METHOD(bool, findClosestCapability,
                (const std::string&, PixelFormat, const CameraCapabilityEx&, CameraCapabilityEx&,
                 CameraCapabilityPriority),
                (override));

    CameraManagerListener* listener() const { return m_listener; }
};

class RecordingCamera : public Camera {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordingCamera() override { destroyed(); }
    MOCK_METHOD(bool, getInfo, (CameraInfo&), (override));
    MOCK_METHOD(std::vector<PixelFormat>, getSupportedPixelFormats, (), (override));
    MOCK_METHOD(bool, startCapture, (const CameraCapability&, PixelFormat), (override));
    MOCK_METHOD(bool, stopCapture, (), (override));
    MOCK_METHOD(bool, captureStarted, (), (const, override));
    MOCK_METHOD(std::string, getParameterRange, (CameraParameter), (override));
    MOCK_METHOD(std::string, getParameter, (CameraParameter), (override));
    MOCK_METHOD(bool, setParameter, (CameraParameter, const std::string&), (override));
    MOCK_METHOD(std::vector<PixelFormatDescription>, getSupportedFormats, (), (override));
    MOCK_METHOD(bool, isFormatSupported, (const PixelFormatDescription&), (override));
    MOCK_METHOD(bool, isFormatSupported, (PixelFormat), (override));
    MOCK_METHOD(bool, queryCapabilityRanges, (PixelFormat, CameraCapabilityRanges&), (override));
    MOCK_METHOD(bool, findClosestCapability,
                (PixelFormat, const CameraCapabilityEx&, CameraCapabilityEx&,
                 CameraCapabilityPriority),
                (override));
    MOCK_METHOD(bool, startCapture, (const CameraCapabilityEx&, PixelFormat), (override));
    MOCK_METHOD(bool, queryCapabilities, (std::vector<CameraCapability>&), (override));

    CameraListener* listener() const { return m_listener; }
};

class RecordingBuffer : public GraphicBuffer {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordingBuffer() override { destroyed(); }
    MOCK_METHOD(std::shared_ptr<YCbCrFrame>, mapYCbCr, (), (override));
    MOCK_METHOD(std::shared_ptr<void>, map, (), (override));
    MOCK_METHOD(std::shared_ptr<Frame>, mapFrame, (), (override));
    MOCK_METHOD(int, rotation, (), (const, override));
};

class RecordingManagerListener : public CameraManagerListener {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordingManagerListener() override { destroyed(); }
    MOCK_METHOD(void, cameraAdded, (const CameraInfo&), (override));
    MOCK_METHOD(void, cameraRemoved, (const std::string&), (override));
};

class RecordingListener : public CameraListener {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordingListener() override { destroyed(); }
    MOCK_METHOD(void, onCameraFrame, (std::shared_ptr<GraphicBuffer>), (override));
    MOCK_METHOD(void, onCameraError, (const std::string&), (override));
};

}  // namespace Nerio::Lumiq
