// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Every operation of every interface stands in the slot that the contract gives it: called by
// number, that operation runs, no other, with the arguments and the result in place. One thread.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "recording-implementations.h"
#include "slot-call.h"

namespace Nerio::Lumiq {
namespace {

using testing::_;
using testing::An;
using testing::Const;
using testing::Matcher;
using testing::Ref;
using testing::Return;
using testing::StrictMock;

// Not owned by anybody: the destructor slots end these objects.
template <typename T>
class Storage {
public:
    Storage() : m_object(::new (static_cast<void*>(m_bytes)) StrictMock<T>) {}
    StrictMock<T>& operator*() const { return *m_object; }

private:
    alignas(StrictMock<T>) std::byte m_bytes[sizeof(StrictMock<T>)];
    StrictMock<T>* m_object;
};

template <typename T>
class TheFirstTwoSlots : public testing::Test {};

using Interfaces = testing::Types<RecordingModule, RecordingManager, RecordingCamera,
                                  RecordingBuffer, RecordingManagerListener, RecordingListener>;
TYPED_TEST_SUITE(TheFirstTwoSlots, Interfaces);

TYPED_TEST(TheFirstTwoSlots, AreTheDestructor) {
    const Storage<TypeParam> inPlace;
    EXPECT_CALL(*inPlace, destroyed);
    slotCall<void()>(*inPlace, destroySlot)();

    auto* const onTheHeap = new StrictMock<TypeParam>;
    EXPECT_CALL(*onTheHeap, destroyed);
    slotCall<void()>(*onTheHeap, destroyAndFreeSlot)();
}

// An object whose end is of no interest to the test.
template <typename T>
class Recording : public StrictMock<T> {
public:
    Recording() { EXPECT_CALL(*this, destroyed).Times(1); }
};

TEST(TheSlotsOfAModule, AreInTheOrderOfTheContract) {
    Recording<RecordingModule> module;
    EXPECT_CALL(Const(module), priority).WillOnce(Return(-7));
    EXPECT_EQ(slotCall<int()>(module, 2)(), -7);

    const auto cameras = std::make_shared<Recording<RecordingManager>>();
    EXPECT_CALL(module, getCameraManager).WillOnce(Return(cameras));
    EXPECT_EQ(slotCall<std::shared_ptr<CameraManager>()>(module, 3)(), cameras);

    const auto codecs = std::make_shared<CodecManager>();
    EXPECT_CALL(module, getCodecManager).WillOnce(Return(codecs));
    EXPECT_EQ(slotCall<std::shared_ptr<CodecManager>()>(module, 4)(), codecs);
}

class TheSlotsOfAManager : public testing::Test {
protected:
    template <typename Signature>
    SlotCall<Signature> slot(std::size_t number) {
        return slotCall<Signature>(static_cast<CameraManager&>(manager), number);
    }

    const std::string id = "/some/camera";
    Recording<RecordingManager> manager;
};

TEST_F(TheSlotsOfAManager, BeginWithTheList) {
    EXPECT_CALL(manager, init).WillOnce(Return(true));
    EXPECT_TRUE(slot<bool()>(2)());

    EXPECT_CALL(manager, getNumberOfCameras).WillOnce(Return(12));
    EXPECT_EQ(slot<int()>(3)(), 12);

    CameraInfo info;
    EXPECT_CALL(manager, getCameraInfo(5, Ref(info))).WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(unsigned int, CameraInfo&)>(4)(5, info)));
}

TEST_F(TheSlotsOfAManager, GoOnWithTheQueriesByIdentifier) {
    std::vector<CameraCapability> capabilities;
    EXPECT_CALL(manager, queryCapabilities(Ref(id), Ref(capabilities))).WillOnce(Return(true));
    EXPECT_TRUE(
        (slot<bool(const std::string&, std::vector<CameraCapability>&)>(5)(id, capabilities)));

    const auto camera = std::make_shared<Recording<RecordingCamera>>();
    EXPECT_CALL(manager, openCamera(Ref(id))).WillOnce(Return(camera));
    EXPECT_EQ((slot<std::shared_ptr<Camera>(const std::string&)>(6)(id)), camera);

    const std::vector<PixelFormatDescription> formats = {{PixelFormat::YUYV, 0}};
    EXPECT_CALL(manager, getSupportedFormats(Ref(id))).WillOnce(Return(formats));
    EXPECT_EQ((slot<std::vector<PixelFormatDescription>(const std::string&)>(7)(id)), formats);

    CameraCapabilityRanges ranges;
    EXPECT_CALL(manager, queryCapabilityRanges(Ref(id), PixelFormat::Raw, Ref(ranges)))
        .WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(const std::string&, PixelFormat, CameraCapabilityRanges&)>(8)(
        id, PixelFormat::Raw, ranges)));
}

TEST_F(TheSlotsOfAManager, EndWithTheClosestCapabilityAndTheListener) {
    const CameraCapabilityEx desired;
    CameraCapabilityEx result;
    EXPECT_CALL(manager, findClosestCapability(Ref(id), PixelFormat::MJPG, Ref(desired),
                                               Ref(result), CameraCapabilityPriority::FpsHeight))
        .WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(const std::string&, PixelFormat, const CameraCapabilityEx&,
                           CameraCapabilityEx&, CameraCapabilityPriority)>(9)(
        id, PixelFormat::MJPG, desired, result, CameraCapabilityPriority::FpsHeight)));

    Recording<RecordingManagerListener> listener;
    slot<void(CameraManagerListener*)>(10)(&listener);
    EXPECT_EQ(manager.listener(), &listener);
}

class TheSlotsOfACamera : public testing::Test {
protected:
    template <typename Signature>
    SlotCall<Signature> slot(std::size_t number) {
        return slotCall<Signature>(static_cast<Camera&>(camera), number);
    }

    Recording<RecordingCamera> camera;
};

TEST_F(TheSlotsOfACamera, BeginWithTheRecordAndTheCapture) {
    CameraInfo info;
    EXPECT_CALL(camera, getInfo(Ref(info))).WillOnce(Return(true));
    EXPECT_TRUE(slot<bool(CameraInfo&)>(2)(info));

    const std::vector<PixelFormat> formats = {PixelFormat::NV12};
    EXPECT_CALL(camera, getSupportedPixelFormats).WillOnce(Return(formats));
    EXPECT_EQ(slot<std::vector<PixelFormat>()>(3)(), formats);

    const CameraCapability plain{640, 480, 30};
    EXPECT_CALL(camera,
                startCapture(Matcher<const CameraCapability&>(Ref(plain)), PixelFormat::YUYV))
        .WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(const CameraCapability&, PixelFormat)>(4)(plain, PixelFormat::YUYV)));

    EXPECT_CALL(camera, stopCapture).WillOnce(Return(true));
    EXPECT_TRUE(slot<bool()>(5)());

    EXPECT_CALL(Const(camera), captureStarted).WillOnce(Return(true));
    EXPECT_TRUE(slot<bool()>(6)());
}

TEST_F(TheSlotsOfACamera, GoOnWithTheControlsAndTheListener) {
    const auto control = static_cast<CameraParameter>(77);
    EXPECT_CALL(camera, getParameterRange(control)).WillOnce(Return("1..5"));
    EXPECT_EQ(slot<std::string(CameraParameter)>(7)(control), "1..5");

    EXPECT_CALL(camera, getParameter(control)).WillOnce(Return("3"));
    EXPECT_EQ(slot<std::string(CameraParameter)>(8)(control), "3");

    const std::string value = "4";
    EXPECT_CALL(camera, setParameter(control, Ref(value))).WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(CameraParameter, const std::string&)>(9)(control, value)));

    Recording<RecordingListener> listener;
    slot<void(CameraListener*)>(10)(&listener);
    EXPECT_EQ(camera.listener(), &listener);
}

TEST_F(TheSlotsOfACamera, GoOnWithTheFormats) {
    const PixelFormatDescription description{PixelFormat::YUYV, 0};
    const std::vector<PixelFormatDescription> formats = {description};
    EXPECT_CALL(camera, getSupportedFormats).WillOnce(Return(formats));
    EXPECT_EQ(slot<std::vector<PixelFormatDescription>()>(11)(), formats);

    EXPECT_CALL(camera, isFormatSupported(Matcher<const PixelFormatDescription&>(Ref(description))))
        .WillOnce(Return(true));
    EXPECT_TRUE(slot<bool(const PixelFormatDescription&)>(12)(description));

    EXPECT_CALL(camera, isFormatSupported(Matcher<PixelFormat>(PixelFormat::H264)))
        .WillOnce(Return(true));
    EXPECT_TRUE(slot<bool(PixelFormat)>(13)(PixelFormat::H264));
}

TEST_F(TheSlotsOfACamera, EndWithTheCapabilities) {
    CameraCapabilityRanges ranges;
    EXPECT_CALL(camera, queryCapabilityRanges(PixelFormat::Raw, Ref(ranges)))
        .WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(PixelFormat, CameraCapabilityRanges&)>(14)(PixelFormat::Raw, ranges)));

    const CameraCapabilityEx desired(640, 480, {30, 1});
    CameraCapabilityEx result;
    EXPECT_CALL(camera, findClosestCapability(PixelFormat::MJPG, Ref(desired), Ref(result),
                                              CameraCapabilityPriority::SizeHeight))
        .WillOnce(Return(true));
    EXPECT_TRUE((slot<bool(PixelFormat, const CameraCapabilityEx&, CameraCapabilityEx&,
                           CameraCapabilityPriority)>(15)(PixelFormat::MJPG, desired, result,
                                                          CameraCapabilityPriority::SizeHeight)));

    EXPECT_CALL(camera,
                startCapture(Matcher<const CameraCapabilityEx&>(Ref(desired)), PixelFormat::YUYV))
        .WillOnce(Return(true));
    EXPECT_TRUE(
        (slot<bool(const CameraCapabilityEx&, PixelFormat)>(16)(desired, PixelFormat::YUYV)));

    std::vector<CameraCapability> capabilities;
    EXPECT_CALL(camera, queryCapabilities(Ref(capabilities))).WillOnce(Return(true));
    EXPECT_TRUE(slot<bool(std::vector<CameraCapability>&)>(17)(capabilities));
}

TEST(TheSlotsOfAGraphicBuffer, AreInTheOrderOfTheContract) {
    Recording<RecordingBuffer> buffer;
    const auto planar = std::make_shared<YCbCrFrame>();
    EXPECT_CALL(buffer, mapYCbCr).WillOnce(Return(planar));
    EXPECT_EQ(slotCall<std::shared_ptr<YCbCrFrame>()>(buffer, 2)(), planar);

    const auto secret = std::make_shared<int>(1);
    EXPECT_CALL(buffer, map).WillOnce(Return(secret));
    EXPECT_EQ(slotCall<std::shared_ptr<void>()>(buffer, 3)(), secret);

    const auto raw = std::make_shared<Frame>();
    EXPECT_CALL(buffer, mapFrame).WillOnce(Return(raw));
    EXPECT_EQ(slotCall<std::shared_ptr<Frame>()>(buffer, 4)(), raw);

    EXPECT_CALL(Const(buffer), rotation).WillOnce(Return(270));
    EXPECT_EQ(slotCall<int()>(buffer, 5)(), 270);
}

TEST(TheSlotsOfAManagerListener, AreInTheOrderOfTheContract) {
    Recording<RecordingManagerListener> listener;
    const CameraInfo info;
    EXPECT_CALL(listener, cameraAdded(Ref(info)));
    slotCall<void(const CameraInfo&)>(listener, 2)(info);

    const std::string id = "/some/camera";
    EXPECT_CALL(listener, cameraRemoved(Ref(id)));
    slotCall<void(const std::string&)>(listener, 3)(id);
}

TEST(TheSlotsOfACameraListener, AreInTheOrderOfTheContract) {
    Recording<RecordingListener> listener;
    const std::shared_ptr<GraphicBuffer> buffer = std::make_shared<Recording<RecordingBuffer>>();
    EXPECT_CALL(listener, onCameraFrame(buffer));
    slotCall<void(std::shared_ptr<GraphicBuffer>)>(listener, 2)(buffer);

    const std::string message = "timeout";
    EXPECT_CALL(listener, onCameraError(Ref(message)));
    slotCall<void(const std::string&)>(listener, 3)(message);
}

}  // namespace
}  // namespace Nerio::Lumiq
