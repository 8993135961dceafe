// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Every operation of every interface stands in the slot that the contract gives it: called by
// number, that operation runs, no other, with the arguments and the result in place. One thread.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "call-log.h"
#include "recording-codecs.h"
#include "recording-implementations.h"
#include "slot-call.h"

namespace Nerio::Lumiq {
namespace {

// A destructor takes two slots; objects that only the first one ends need memory of their own.
template <typename T>
class TheFirstTwoSlots : public testing::Test {
protected:
    CallLog log;
    alignas(T) std::byte memory[sizeof(T)];
};

using Interfaces = testing::Types<RecordingModule, RecordingManager, RecordingCamera,
                                  RecordingBuffer, RecordingManagerListener, RecordingListener,
                                  RecordingCodecManager, RecordingEncoder, RecordingDecoder>;
TYPED_TEST_SUITE(TheFirstTwoSlots, Interfaces);

TYPED_TEST(TheFirstTwoSlots, AreTheDestructor) {
    auto* const inPlace = ::new (static_cast<void*>(this->memory)) TypeParam(this->log);
    slotCall<void()>(*inPlace, destroySlot)();
    EXPECT_TRUE(this->log.isJust("destroyed"));

    auto* const onTheHeap = new TypeParam(this->log);
    slotCall<void()>(*onTheHeap, destroyAndFreeSlot)();
    EXPECT_TRUE(this->log.isJust("destroyed"));
}

class TheSlots : public testing::Test {
protected:
    // Whatever the objects that a test gets and returns have to say.
    CallLog others;
    CallLog log;
};

class TheSlotsOfAModule : public TheSlots {};

TEST_F(TheSlotsOfAModule, AreInTheOrderOfTheContract) {
    RecordingModule module(log);
    EXPECT_EQ(slotCall<int()>(module, 2)(), -7);
    EXPECT_TRUE(log.isJust("priority"));

    module.cameras = std::make_shared<RecordingManager>(others);
    EXPECT_EQ(slotCall<std::shared_ptr<CameraManager>()>(module, 3)(), module.cameras);
    EXPECT_TRUE(log.isJust("getCameraManager"));

    module.codecs = std::make_shared<RecordingCodecManager>(others);
    EXPECT_EQ(slotCall<std::shared_ptr<CodecManager>()>(module, 4)(), module.codecs);
    EXPECT_TRUE(log.isJust("getCodecManager"));
}

class TheSlotsOfAManager : public TheSlots {
protected:
    template <typename Signature>
    SlotCall<Signature> slot(std::size_t number) {
        return slotCall<Signature>(static_cast<CameraManager&>(manager), number);
    }

    const std::string id = "/some/camera";
    RecordingManager manager{log};
};

TEST_F(TheSlotsOfAManager, BeginWithTheList) {
    EXPECT_TRUE(slot<bool()>(2)());
    EXPECT_TRUE(log.isJust("init"));

    EXPECT_EQ(slot<int()>(3)(), 12);
    EXPECT_TRUE(log.isJust("getNumberOfCameras"));

    CameraInfo info;
    EXPECT_TRUE((slot<bool(unsigned int, CameraInfo&)>(4)(5, info)));
    EXPECT_TRUE(log.isJust("getCameraInfo", 5, &info));
}

TEST_F(TheSlotsOfAManager, GoOnWithTheQueriesByIdentifier) {
    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(
        (slot<bool(const std::string&, std::vector<CameraCapability>&)>(5)(id, capabilities)));
    EXPECT_TRUE(log.isJust("queryCapabilities", &id, &capabilities));

    manager.camera = std::make_shared<RecordingCamera>(others);
    EXPECT_EQ((slot<std::shared_ptr<Camera>(const std::string&)>(6)(id)), manager.camera);
    EXPECT_TRUE(log.isJust("openCamera", &id));

    manager.formats = {{PixelFormat::YUYV, 0}};
    EXPECT_EQ((slot<std::vector<PixelFormatDescription>(const std::string&)>(7)(id)),
              manager.formats);
    EXPECT_TRUE(log.isJust("getSupportedFormats", &id));

    CameraCapabilityRanges ranges;
    EXPECT_TRUE((slot<bool(const std::string&, PixelFormat, CameraCapabilityRanges&)>(8)(
        id, PixelFormat::Raw, ranges)));
    EXPECT_TRUE(log.isJust("queryCapabilityRanges", &id, PixelFormat::Raw, &ranges));
}

TEST_F(TheSlotsOfAManager, EndWithTheClosestCapabilityAndTheListener) {
    const CameraCapabilityEx desired;
    CameraCapabilityEx result;
    EXPECT_TRUE((slot<bool(const std::string&, PixelFormat, const CameraCapabilityEx&,
                           CameraCapabilityEx&, CameraCapabilityPriority)>(9)(
        id, PixelFormat::MJPG, desired, result, CameraCapabilityPriority::FpsHeight)));
    EXPECT_TRUE(log.isJust("findClosestCapability", &id, PixelFormat::MJPG, &desired, &result,
                           CameraCapabilityPriority::FpsHeight));

    RecordingManagerListener listener(others);
    slot<void(CameraManagerListener*)>(10)(&listener);
    EXPECT_EQ(manager.listener(), &listener);
}

class TheSlotsOfACamera : public TheSlots {
protected:
    template <typename Signature>
    SlotCall<Signature> slot(std::size_t number) {
        return slotCall<Signature>(static_cast<Camera&>(camera), number);
    }

    RecordingCamera camera{log};
};

TEST_F(TheSlotsOfACamera, BeginWithTheRecordAndTheCapture) {
    CameraInfo info;
    EXPECT_TRUE(slot<bool(CameraInfo&)>(2)(info));
    EXPECT_TRUE(log.isJust("getInfo", &info));

    const std::vector<PixelFormat> formats = {PixelFormat::NV12};
    EXPECT_EQ(slot<std::vector<PixelFormat>()>(3)(), formats);
    EXPECT_TRUE(log.isJust("getSupportedPixelFormats"));

    const CameraCapability plain{640, 480, 30};
    EXPECT_TRUE((slot<bool(const CameraCapability&, PixelFormat)>(4)(plain, PixelFormat::YUYV)));
    EXPECT_TRUE(log.isJust("startCapture", &plain, PixelFormat::YUYV));

    EXPECT_TRUE(slot<bool()>(5)());
    EXPECT_TRUE(log.isJust("stopCapture"));

    EXPECT_TRUE(slot<bool()>(6)());
    EXPECT_TRUE(log.isJust("captureStarted"));
}

TEST_F(TheSlotsOfACamera, GoOnWithTheControlsAndTheListener) {
    const auto control = static_cast<CameraParameter>(77);
    EXPECT_EQ(slot<std::string(CameraParameter)>(7)(control), "1..5");
    EXPECT_TRUE(log.isJust("getParameterRange", control));

    EXPECT_EQ(slot<std::string(CameraParameter)>(8)(control), "3");
    EXPECT_TRUE(log.isJust("getParameter", control));

    const std::string value = "4";
    EXPECT_TRUE((slot<bool(CameraParameter, const std::string&)>(9)(control, value)));
    EXPECT_TRUE(log.isJust("setParameter", control, &value));

    RecordingListener listener(others);
    slot<void(CameraListener*)>(10)(&listener);
    EXPECT_EQ(camera.listener(), &listener);
}

TEST_F(TheSlotsOfACamera, GoOnWithTheFormats) {
    const PixelFormatDescription description{PixelFormat::YUYV, 0};
    camera.formats = {description};
    EXPECT_EQ(slot<std::vector<PixelFormatDescription>()>(11)(), camera.formats);
    EXPECT_TRUE(log.isJust("getSupportedFormats"));

    EXPECT_TRUE(slot<bool(const PixelFormatDescription&)>(12)(description));
    EXPECT_TRUE(log.isJust("isFormatSupported", &description));

    EXPECT_TRUE(slot<bool(PixelFormat)>(13)(PixelFormat::H264));
    EXPECT_TRUE(log.isJust("isFormatSupported", PixelFormat::H264));
}

TEST_F(TheSlotsOfACamera, EndWithTheCapabilities) {
    CameraCapabilityRanges ranges;
    EXPECT_TRUE((slot<bool(PixelFormat, CameraCapabilityRanges&)>(14)(PixelFormat::Raw, ranges)));
    EXPECT_TRUE(log.isJust("queryCapabilityRanges", PixelFormat::Raw, &ranges));

    const CameraCapabilityEx desired(640, 480, {30, 1});
    CameraCapabilityEx result;
    EXPECT_TRUE((slot<bool(PixelFormat, const CameraCapabilityEx&, CameraCapabilityEx&,
                           CameraCapabilityPriority)>(15)(PixelFormat::MJPG, desired, result,
                                                          CameraCapabilityPriority::SizeHeight)));
    EXPECT_TRUE(log.isJust("findClosestCapability", PixelFormat::MJPG, &desired, &result,
                           CameraCapabilityPriority::SizeHeight));

    EXPECT_TRUE(
        (slot<bool(const CameraCapabilityEx&, PixelFormat)>(16)(desired, PixelFormat::YUYV)));
    EXPECT_TRUE(log.isJust("startCapture, extended", &desired, PixelFormat::YUYV));

    std::vector<CameraCapability> capabilities;
    EXPECT_TRUE(slot<bool(std::vector<CameraCapability>&)>(17)(capabilities));
    EXPECT_TRUE(log.isJust("queryCapabilities", &capabilities));
}

class TheSlotsOfAGraphicBuffer : public TheSlots {};

TEST_F(TheSlotsOfAGraphicBuffer, AreInTheOrderOfTheContract) {
    RecordingBuffer buffer(log);
    buffer.planar = std::make_shared<YCbCrFrame>();
    EXPECT_EQ(slotCall<std::shared_ptr<YCbCrFrame>()>(buffer, 2)(), buffer.planar);
    EXPECT_TRUE(log.isJust("mapYCbCr"));

    buffer.secret = std::make_shared<int>(1);
    EXPECT_EQ(slotCall<std::shared_ptr<void>()>(buffer, 3)(), buffer.secret);
    EXPECT_TRUE(log.isJust("map"));

    buffer.raw = std::make_shared<Frame>();
    EXPECT_EQ(slotCall<std::shared_ptr<Frame>()>(buffer, 4)(), buffer.raw);
    EXPECT_TRUE(log.isJust("mapFrame"));

    EXPECT_EQ(slotCall<int()>(buffer, 5)(), 270);
    EXPECT_TRUE(log.isJust("rotation"));
}

class TheSlotsOfAManagerListener : public TheSlots {};

TEST_F(TheSlotsOfAManagerListener, AreInTheOrderOfTheContract) {
    RecordingManagerListener listener(log);
    const CameraInfo info;
    slotCall<void(const CameraInfo&)>(listener, 2)(info);
    EXPECT_TRUE(log.isJust("cameraAdded", &info));

    const std::string id = "/some/camera";
    slotCall<void(const std::string&)>(listener, 3)(id);
    EXPECT_TRUE(log.isJust("cameraRemoved", &id));
}

class TheSlotsOfACameraListener : public TheSlots {};

TEST_F(TheSlotsOfACameraListener, AreInTheOrderOfTheContract) {
    RecordingListener listener(log);
    const std::shared_ptr<GraphicBuffer> buffer = std::make_shared<RecordingBuffer>(others);
    slotCall<void(std::shared_ptr<GraphicBuffer>)>(listener, 2)(buffer);
    EXPECT_TRUE(log.isJust("onCameraFrame", buffer.get()));

    const std::string message = "timeout";
    slotCall<void(const std::string&)>(listener, 3)(message);
    EXPECT_TRUE(log.isJust("onCameraError", &message));
}

}  // namespace
}  // namespace Nerio::Lumiq
