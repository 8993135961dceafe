// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The operations that the base classes have for back ends, called by number: a back end may be
// built against them long before the one that calls it. One thread.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>

#include "lumiq/internal/number-parameters.h"
#include "lumiq/internal/parameter-set.h"
#include "scripted-codecs.h"
#include "slot-call.h"

namespace Nerio::Lumiq::Internal {
namespace {

using testing::Ref;
using testing::Return;
using testing::StrictMock;

template <typename Base>
class Recorded : public Base {
public:
    using Base::Base;
    MOCK_METHOD(void, destroyed, ());
    ~Recorded() override { destroyed(); }
    MOCK_METHOD(std::string, range, (), (override));
    MOCK_METHOD(bool, set, (const std::string&), (override));
    MOCK_METHOD(void, assign, (const std::string&), (override));
    MOCK_METHOD(std::string, get, (), (override));
    MOCK_METHOD(bool, validate, (const std::string&), (override));
    MOCK_METHOD(std::string, adjust, (const std::string&), (override));
};

template <typename T>
class RecordedTyped : public Recorded<TypedParameter<T>> {
public:
    RecordedTyped() : Recorded<TypedParameter<T>>("", T()) {}
    MOCK_METHOD(T, value, (), (override));
    MOCK_METHOD(bool, convert, (const std::string&, T*), (override));
};

template <typename P>
void expectTheSlotsOfAParameter(P& parameter) {
    const std::string text = "text";
    auto& asOwner = static_cast<Parameter&>(parameter);
    EXPECT_CALL(parameter, range).WillOnce(Return("a-b"));
    EXPECT_EQ(slotCall<std::string()>(asOwner, 2)(), "a-b");
    EXPECT_CALL(parameter, set(Ref(text))).WillOnce(Return(true));
    EXPECT_TRUE(slotCall<bool(const std::string&)>(asOwner, 3)(text));
    EXPECT_CALL(parameter, assign(Ref(text)));
    slotCall<void(const std::string&)>(asOwner, 4)(text);
    EXPECT_CALL(parameter, get).WillOnce(Return("got"));
    EXPECT_EQ(slotCall<std::string()>(asOwner, 5)(), "got");
    EXPECT_CALL(parameter, validate(Ref(text))).WillOnce(Return(true));
    EXPECT_TRUE(slotCall<bool(const std::string&)>(asOwner, 6)(text));
    EXPECT_CALL(parameter, adjust(Ref(text))).WillOnce(Return("adjusted"));
    EXPECT_EQ(slotCall<std::string(const std::string&)>(asOwner, 7)(text), "adjusted");
}

template <typename T>
void expectTheSlotsOfATypedParameter() {
    StrictMock<RecordedTyped<T>> parameter;
    EXPECT_CALL(parameter, destroyed);
    expectTheSlotsOfAParameter(parameter);
    auto& asOwner = static_cast<TypedParameter<T>&>(parameter);
    EXPECT_CALL(parameter, value).WillOnce(Return(T(17)));
    EXPECT_EQ(slotCall<T()>(asOwner, 8)(), T(17));
    const std::string text = "17";
    T converted = 0;
    EXPECT_CALL(parameter, convert(Ref(text), &converted)).WillOnce(Return(true));
    EXPECT_TRUE((slotCall<bool(const std::string&, T*)>(asOwner, 9)(text, &converted)));
}

TEST(TheSlotsOfAParameter, AreTheDestructorAndThenTheOperationsInOrder) {
    StrictMock<Recorded<Parameter>> parameter;
    expectTheSlotsOfAParameter(parameter);
    EXPECT_CALL(parameter, destroyed);

    auto* const onTheHeap = new StrictMock<Recorded<Parameter>>;
    EXPECT_CALL(*onTheHeap, destroyed);
    slotCall<void()>(static_cast<Parameter&>(*onTheHeap), destroyAndFreeSlot)();
}

TEST(TheSlotsOfATypedParameter, GoOnWithValueAndConvert) {
    expectTheSlotsOfATypedParameter<int>();
    expectTheSlotsOfATypedParameter<float>();
}

TEST(TheSlotsOfAnIntParameter, HoldItsOwnOperationsAndThoseOfItsBases) {
    IntParameter parameter(0, 255, 7);
    auto& asOwner = static_cast<Parameter&>(parameter);
    EXPECT_EQ(slotCall<std::string()>(asOwner, 2)(), "0-255");
    EXPECT_TRUE(slotCall<bool(const std::string&)>(asOwner, 3)("0x10"));
    EXPECT_EQ(slotCall<std::string()>(asOwner, 5)(), "0x10");
    EXPECT_EQ(slotCall<int()>(asOwner, 8)(), 16);
    EXPECT_FALSE(slotCall<bool(const std::string&)>(asOwner, 6)("256"));
}

class RecordedSet : public ParameterSet {
public:
    MOCK_METHOD(void, destroyed, ());
    ~RecordedSet() override { destroyed(); }
    MOCK_METHOD(std::string, range, (unsigned int), (override));
};

TEST(TheSlotsOfAParameterSet, AreTheDestructorAndRange) {
    auto* const parameters = new StrictMock<RecordedSet>;
    auto& asOwner = static_cast<ParameterSet&>(*parameters);
    EXPECT_CALL(*parameters, range(7)).WillOnce(Return("a-b"));
    EXPECT_EQ(slotCall<std::string(unsigned int)>(asOwner, 2)(7), "a-b");
    EXPECT_CALL(*parameters, destroyed);
    slotCall<void()>(asOwner, destroyAndFreeSlot)();
}

class RecordedDesc : public VideoCodecDesc {
public:
    MOCK_METHOD(SizeRange, getSizeRange, (), (const, override));
    MOCK_METHOD(Size, getAlignment, (), (const, override));
    MOCK_METHOD(void, destroyed, ());
    ~RecordedDesc() override { destroyed(); }
};

TEST(TheSlotsOfADescription, EndWithTheDestructor) {
    auto* const desc = new StrictMock<RecordedDesc>;
    auto& asOwner = static_cast<VideoCodecDesc&>(*desc);
    EXPECT_CALL(*desc, getSizeRange).WillOnce(Return(SizeRange{{1, 2}, {3, 4}}));
    EXPECT_EQ(slotCall<SizeRange()>(asOwner, 0)().max.height, 4);
    EXPECT_CALL(*desc, getAlignment).WillOnce(Return(Size{5, 6}));
    EXPECT_EQ(slotCall<Size()>(asOwner, 1)().height, 6);
    EXPECT_CALL(*desc, destroyed);
    slotCall<void()>(asOwner, 3)();

    alignas(RecordedDesc) std::byte storage[sizeof(StrictMock<RecordedDesc>)];
    auto* const inPlace = ::new (static_cast<void*>(storage)) StrictMock<RecordedDesc>;
    EXPECT_CALL(*inPlace, destroyed);
    slotCall<void()>(static_cast<VideoCodecDesc&>(*inPlace), 2)();
}

TEST(TheSlotsOfACodecManager, EndWithTheFactories) {
    std::string made;
    ScriptedCodecManager manager([&](const std::string& call) { made += call + ";"; });
    auto& asHost = static_cast<CodecManager&>(manager);
    const VideoCodecDesc desc = encoder("a", CodecType::H264, 1);
    const auto asEncoder =
        slotCall<std::shared_ptr<VideoEncoder>(const VideoCodecDesc&)>(asHost, 14)(desc);
    const auto asDecoder =
        slotCall<std::shared_ptr<VideoDecoder>(const VideoCodecDesc&)>(asHost, 15)(desc);
    EXPECT_EQ(made, "encoder a;decoder a;");
    ASSERT_NE(asEncoder, nullptr);
    ASSERT_NE(asDecoder, nullptr);
    EXPECT_EQ(asEncoder->getInfo().id + asDecoder->getInfo().id, "aa");
}

TEST(TheSlotsOfABaseEncoder, AreThoseOfEveryEncoder) {
    ScriptedEncoder codec(nullptr, encoder("a", CodecType::H264, 1));
    auto& asHost = static_cast<VideoEncoder&>(codec);
    EXPECT_EQ(slotCall<VideoCodecInfo()>(asHost, 8)().id, "a");
    EXPECT_EQ(slotCall<std::shared_ptr<VideoCodecExtendedInfo>()>(asHost, 9)()->info.id, "a");
    const VideoEncoderMetadata metadata{CodecType::H264, 640, 480, 0};
    EXPECT_TRUE(slotCall<bool(const VideoEncoderMetadata&)>(asHost, 10)(metadata));
    slotCall<void()>(asHost, 12)();
}

TEST(TheSlotsOfABaseDecoder, AreThoseOfEveryDecoder) {
    ScriptedDecoder codec(nullptr, decoder("a", CodecType::H264, 1));
    auto& asHost = static_cast<VideoDecoder&>(codec);
    EXPECT_EQ(slotCall<VideoCodecInfo()>(asHost, 8)().id, "a");
    EXPECT_EQ(slotCall<std::shared_ptr<VideoCodecExtendedInfo>()>(asHost, 9)()->info.id, "a");
    const VideoDecoderMetadata metadata{CodecType::H264, 640, 480};
    EXPECT_TRUE(slotCall<bool(const VideoDecoderMetadata&)>(asHost, 10)(metadata));
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
