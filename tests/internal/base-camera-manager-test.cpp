// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A manager's queries, answered by a camera that is let go of right after. One thread.

#include "lumiq/internal/base-camera-manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "lumiq/internal/base-graphic-buffer.h"
#include "scripted-camera.h"

namespace Nerio::Lumiq::Internal {
namespace {

using testing::Ref;
using testing::Return;
using testing::StrictMock;

class AnsweringCamera : public ScriptedCamera {
public:
    MOCK_METHOD(bool, queryCapabilityRanges, (PixelFormat, CameraCapabilityRanges&), (override));
    MOCK_METHOD(bool, findClosestCapability,
                (PixelFormat, const CameraCapabilityEx&, CameraCapabilityEx&,
                 CameraCapabilityPriority),
                (override));
};

class ScriptedManager : public BaseCameraManager {
public:
    MOCK_METHOD(bool, init, (), (override));
    MOCK_METHOD(int, getNumberOfCameras, (), (override));
    MOCK_METHOD(bool, getCameraInfo, (unsigned int, CameraInfo&), (override));
    MOCK_METHOD(bool, queryCapabilities, (const std::string&, std::vector<CameraCapability>&),
                (override));
    MOCK_METHOD(std::shared_ptr<Camera>, openCamera, (const std::string&), (override));
};

static_assert(std::is_base_of_v<CameraManager, BaseCameraManager>);
static_assert(sizeof(BaseCameraManager) == sizeof(CameraManager));

// A manager that opens a camera which nobody but the query holds.
class ABaseCameraManager : public testing::Test {
protected:
    // The camera that the next openCamera(id) opens.
    StrictMock<AnsweringCamera>& nextCamera() {
        auto opened = std::make_shared<StrictMock<AnsweringCamera>>();
        auto& reference = *opened;
        m_opened = opened;
        EXPECT_CALL(scripted, openCamera(id)).WillOnce([opened]() mutable {
            return std::move(opened);
        });
        return reference;
    }

    bool cameraIsGone() {
        testing::Mock::VerifyAndClearExpectations(&scripted);
        return m_opened.expired();
    }

    const std::string id = "/io/some/camera";
    StrictMock<ScriptedManager> scripted;
    CameraManager& manager = scripted;
    const PixelFormat format = PixelFormat::NV12;
    const CameraCapabilityPriority priority = CameraCapabilityPriority::FpsHeight;
    CameraCapabilityRanges ranges;
    const CameraCapabilityEx desired{640, 480, {30, 1}};
    CameraCapabilityEx result{1, 2, {3, 4}};

private:
    std::weak_ptr<Camera> m_opened;
};

TEST_F(ABaseCameraManager, PassesTheQuestionForFormatsOnToTheCamera) {
    const std::vector<PixelFormatDescription> formats = {{PixelFormat::YUYV, 0},
                                                         {PixelFormat::Raw, 2}};
    EXPECT_CALL(nextCamera(), getSupportedFormats).WillOnce(Return(formats));
    EXPECT_EQ(manager.getSupportedFormats(id), formats);
    EXPECT_TRUE(cameraIsGone());
}

TEST_F(ABaseCameraManager, PassesTheQuestionForRangesOnToTheCamera) {
    for (const bool answer : {true, false}) {
        EXPECT_CALL(nextCamera(), queryCapabilityRanges(format, Ref(ranges)))
            .WillOnce(Return(answer));
        EXPECT_EQ(manager.queryCapabilityRanges(id, format, ranges), answer);
        EXPECT_TRUE(cameraIsGone());
    }
}

TEST_F(ABaseCameraManager, PassesTheQuestionForTheClosestCapabilityOnToTheCamera) {
    for (const bool answer : {true, false}) {
        EXPECT_CALL(nextCamera(),
                    findClosestCapability(format, Ref(desired), Ref(result), priority))
            .WillOnce(Return(answer));
        EXPECT_EQ(manager.findClosestCapability(id, format, desired, result, priority), answer);
        EXPECT_TRUE(cameraIsGone());
    }
}

TEST_F(ABaseCameraManager, FailsForAnIdentifierThatCannotBeOpened) {
    EXPECT_CALL(scripted, openCamera("unknown")).Times(3).WillRepeatedly(Return(nullptr));
    ranges.minWidth = 4711;
    EXPECT_TRUE(manager.getSupportedFormats("unknown").empty());
    EXPECT_FALSE(manager.queryCapabilityRanges("unknown", format, ranges));
    EXPECT_FALSE(manager.findClosestCapability("unknown", format, desired, result, priority));
    EXPECT_EQ(ranges.minWidth, 4711U);
    EXPECT_EQ(result.width, 1U);
    EXPECT_EQ(result.height, 2U);
    EXPECT_EQ(result.fps.numerator, 3U);
    EXPECT_EQ(result.fps.denominator, 4U);
}

TEST_F(ABaseCameraManager, LeavesACameraThatTheHostHoldsOpen) {
    const auto held = std::make_shared<StrictMock<AnsweringCamera>>();
    EXPECT_CALL(scripted, openCamera(id)).WillRepeatedly(Return(held));
    EXPECT_CALL(*held, getSupportedFormats)
        .WillOnce(Return(std::vector<PixelFormatDescription>{{PixelFormat::YUYV, 0}}));
    // The strict camera would complain about a stop.
    EXPECT_EQ(manager.getSupportedFormats(id).size(), 1U);
    testing::Mock::VerifyAndClearExpectations(&scripted);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(ABaseCameraManager, LetsAnExceptionOfTheCameraThroughAfterLettingGoOfIt) {
    const auto fail = [](auto&&...) -> bool { throw std::runtime_error("camera"); };
    EXPECT_CALL(nextCamera(), getSupportedFormats)
        .WillOnce(testing::Throw(std::runtime_error("camera")));
    EXPECT_THROW((void)manager.getSupportedFormats(id), std::runtime_error);
    EXPECT_TRUE(cameraIsGone());

    EXPECT_CALL(nextCamera(), queryCapabilityRanges).WillOnce(fail);
    EXPECT_THROW(manager.queryCapabilityRanges(id, format, ranges), std::runtime_error);
    EXPECT_TRUE(cameraIsGone());

    EXPECT_CALL(nextCamera(), findClosestCapability).WillOnce(fail);
    EXPECT_THROW(manager.findClosestCapability(id, format, desired, result, priority),
                 std::runtime_error);
    EXPECT_TRUE(cameraIsGone());
}

TEST_F(ABaseCameraManager, LetsAnExceptionOfOpeningThrough) {
    EXPECT_CALL(scripted, openCamera(id))
        .Times(3)
        .WillRepeatedly(testing::Throw(std::runtime_error("bus")));
    EXPECT_THROW((void)manager.getSupportedFormats(id), std::runtime_error);
    EXPECT_THROW(manager.queryCapabilityRanges(id, format, ranges), std::runtime_error);
    EXPECT_THROW(manager.findClosestCapability(id, format, desired, result, priority),
                 std::runtime_error);
}

TEST(ABaseGraphicBuffer, CannotBeViewedAndIsNotTurned) {
    BaseGraphicBuffer base;
    GraphicBuffer& buffer = base;
    EXPECT_EQ(buffer.mapYCbCr(), nullptr);
    EXPECT_EQ(buffer.map(), nullptr);
    EXPECT_EQ(buffer.mapFrame(), nullptr);
    EXPECT_EQ(buffer.rotation(), 0);
    EXPECT_EQ(buffer.timestamp, -1);
    EXPECT_EQ(buffer.reserved1, 0U);
    EXPECT_EQ(buffer.reserved2, 0U);
    EXPECT_EQ(buffer.reserved3, 0U);
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
