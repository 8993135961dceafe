// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A camera whose lists are the test's, for the operations that the base class makes of them. Used
// on one thread.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "lumiq/internal/base-camera.h"

namespace Nerio::Lumiq::Internal {

class ScriptedCamera : public BaseCamera {
public:
    using BaseCamera::startCapture;

    MOCK_METHOD(bool, getInfo, (CameraInfo&), (override));
    MOCK_METHOD(bool, startCapture, (const CameraCapability&, PixelFormat), (override));
    MOCK_METHOD(bool, stopCapture, (), (override));
    MOCK_METHOD(bool, captureStarted, (), (const, override));
    MOCK_METHOD(std::string, getParameterRange, (CameraParameter), (override));
    MOCK_METHOD(std::string, getParameter, (CameraParameter), (override));
    MOCK_METHOD(bool, setParameter, (CameraParameter, const std::string&), (override));
    MOCK_METHOD(std::vector<PixelFormatDescription>, getSupportedFormats, (), (override));
    MOCK_METHOD(bool, queryCapabilities, (std::vector<CameraCapability>&), (override));
};

}  // namespace Nerio::Lumiq::Internal
