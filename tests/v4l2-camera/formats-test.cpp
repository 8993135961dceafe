// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which formats a camera offers to hosts, and which of its own it takes for a question in one of
// them.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "camera-fixture.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::PixelFormatDescription;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::CameraFixture;
using TestSupport::requestsOf;

// Each format has one size, with a width of its own: by it a test sees which format was taken.
constexpr std::array<const char*, 9> codes{"YU12", "NV12", "YUYV", "UYVY", "MJPG",
                                           "JPEG", "H264", "VP80", "GREY"};

std::string offering(std::initializer_list<const char*> listed) {
    std::string formats;
    for (const std::string code : listed) {
        const auto place = std::find(codes.begin(), codes.end(), code) - codes.begin() + 1;
        formats += (formats.empty() ? "" : ", ") + std::string(R"({"fourcc": ")") + code +
                   R"(", "sizes": [")" + std::to_string(place * 100) + R"(x64"]})";
    }
    return R"({"name": "Formats", "formats": [)" + formats + "]}";
}

std::string codeTakenFor(Camera& camera, PixelFormat format) {
    CameraCapabilityRanges ranges;
    return camera.queryCapabilityRanges(format, ranges) ? codes.at(ranges.minWidth / 100 - 1)
                                                        : "none";
}

std::vector<std::string> namesOf(const std::vector<PixelFormatDescription>& formats) {
    std::vector<std::string> names;
    for (const PixelFormatDescription& each : formats) {
        const std::string how = each.flags == 0   ? ""
                                : each.flags == 2 ? " converted"
                                                  : " with flags " + std::to_string(each.flags);
        names.push_back(toString(each.format) + how);
    }
    return names;
}

class ACamerasFormats : public CameraFixture {
protected:
    std::vector<std::string> formatsOf(std::initializer_list<const char*> listed) {
        return namesOf(plugAndOpen(offering(listed))->getSupportedFormats());
    }

    void fail(const std::string& call, const std::string& error, const std::string& more) {
        device().setFault(R"({"call": ")" + call + R"(", "errno": ")" + error + "\"" + more + "}");
    }

    std::vector<std::string> requestsFor(Camera& camera, PixelFormat format) {
        Simulator::startTrace();
        (void)codeTakenFor(camera, format);
        return requestsOf(Simulator::stopTrace());
    }
};

TEST_F(ACamerasFormats, OfAYuyvCameraIncludePlanarImagesByConversion) {
    EXPECT_THAT(formatsOf({"YUYV"}), ElementsAre("YUV420Planar converted", "YCbCrFlexible", "Raw",
                                                 "Encoded", "Preferred", "YUYV"));
}

TEST_F(ACamerasFormats, AreInAscendingOrderOfTheirNumbers) {
    EXPECT_THAT(formatsOf({"YUYV", "MJPG"}),
                ElementsAre("YUV420Planar converted", "YCbCrFlexible", "Raw", "Encoded",
                            "Preferred", "MJPG", "YUYV"));
}

TEST_F(ACamerasFormats, IncludePlanarImagesDirectlyWhereTheCameraHasThem) {
    EXPECT_THAT(formatsOf({"YUYV", "YU12"}), ElementsAre("YUV420Planar", "YCbCrFlexible", "Raw",
                                                         "Encoded", "Preferred", "YUYV"));
}

TEST_F(ACamerasFormats, OfASemiPlanarCameraAreFlexibleToo) {
    EXPECT_THAT(formatsOf({"NV12"}),
                ElementsAre("YUV420SemiPlanar", "YCbCrFlexible", "Raw", "Encoded", "Preferred"));
}

TEST_F(ACamerasFormats, OfAnH264CameraHaveNothingToMap) {
    EXPECT_THAT(formatsOf({"H264"}), ElementsAre("Raw", "Encoded", "Preferred", "H264"));
}

TEST_F(ACamerasFormats, LeaveOutWhatHostsDoNotKnow) {
    EXPECT_THAT(formatsOf({"JPEG", "VP80", "GREY"}), ElementsAre("Raw", "Encoded", "Preferred"));
}

TEST_F(ACamerasFormats, OfACameraWithEverythingAreTheseTen) {
    EXPECT_THAT(formatsOf({"VP80", "H264", "JPEG", "MJPG", "UYVY", "YUYV", "NV12", "YU12", "GREY"}),
                ElementsAre("YUV420Planar", "YUV420SemiPlanar", "YCbCrFlexible", "Raw", "Encoded",
                            "Preferred", "H264", "MJPG", "YUYV", "UYVY"));
}

TEST_F(ACamerasFormats, AreLoggedAsTheCameraListsThemAndThenAsHostsGetThem) {
    const auto camera = plugAndOpen(offering({"YUYV", "JPEG", "MJPG"}));
    log.clear();
    (void)camera->getSupportedFormats();
    EXPECT_THAT(
        log.messages(),
        ElementsAre("getSupportedFormats: Directly supported format: YUYV",
                    "getSupportedFormats: Directly supported format: JPEG",
                    "getSupportedFormats: Directly supported format: MJPG",
                    "checkFormatsConverting: Format supported with converting: YUV420Planar",
                    "checkFormatsConverting: Format supported directly: Raw",
                    "checkFormatsConverting: Format supported directly: Encoded",
                    "checkFormatsConverting: Format supported directly: Preferred",
                    "checkFormatsConverting: Format supported directly: MJPG",
                    "checkFormatsConverting: Format supported directly: YUYV"));
}

TEST_F(ACamerasFormats, AreAskedForOneByOneAndNothingElse) {
    const auto camera = plugAndOpen(offering({"YUYV", "MJPG"}));
    Simulator::startTrace();
    (void)camera->getSupportedFormats();
    EXPECT_THAT(requestsOf(Simulator::stopTrace()),
                ElementsAre("VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT"));
}

TEST_F(ACamerasFormats, AreAskedForAnewEachTime) {
    const auto camera = plugAndOpen(offering({"YUYV", "MJPG"}));
    (void)camera->getSupportedFormats();
    fail("VIDIOC_ENUM_FMT", "EINVAL", R"(, "first": 2)");
    EXPECT_THAT(namesOf(camera->getSupportedFormats()), Not(Contains("MJPG")));
    EXPECT_THAT(namesOf(camera->getSupportedFormats()), Contains("MJPG"));
}

TEST_F(ACamerasFormats, AreCompleteAlsoWhenSignalsInterrupt) {
    const auto camera = plugAndOpen(offering({"YUYV", "MJPG"}));
    fail("VIDIOC_ENUM_FMT", "EINTR", R"(, "first": 2, "count": 3)");
    EXPECT_THAT(namesOf(camera->getSupportedFormats()), AllOf(Contains("MJPG"), Contains("YUYV")));
}

TEST_F(ACamerasFormats, AsABareListHaveTheSameOrder) {
    const auto camera = plugAndOpen(offering({"YUYV", "MJPG"}));
    EXPECT_THAT(camera->getSupportedPixelFormats(),
                ElementsAre(PixelFormat::YUV420Planar, PixelFormat::YCbCrFlexible, PixelFormat::Raw,
                            PixelFormat::Encoded, PixelFormat::Preferred, PixelFormat::MJPG,
                            PixelFormat::YUYV));
}

TEST_F(ACamerasFormats, AreFoundWithTheirFlagsOrWithoutLookingAtThem) {
    const auto camera = plugAndOpen(offering({"YUYV"}));
    EXPECT_TRUE(camera->isFormatSupported(PixelFormat::YUV420Planar));
    EXPECT_TRUE(camera->isFormatSupported({PixelFormat::YUV420Planar, 2}));
    EXPECT_FALSE(camera->isFormatSupported({PixelFormat::YUV420Planar, 0}));
    EXPECT_FALSE(camera->isFormatSupported({PixelFormat::YUV420Planar, 2 + (1ULL << 32)}));
    EXPECT_TRUE(camera->isFormatSupported({PixelFormat::YUYV, 0}));
    EXPECT_FALSE(camera->isFormatSupported({PixelFormat::YUYV, 1ULL << 63}));
    EXPECT_FALSE(camera->isFormatSupported(PixelFormat::MJPG));
    EXPECT_FALSE(camera->isFormatSupported(PixelFormat::Invalid));
    EXPECT_FALSE(camera->isFormatSupported(PixelFormat::Mappable));
}

TEST_F(ACamerasFormats, OfAnIdAreThoseOfItsCamera) {
    const auto camera = plugAndOpen(offering({"YUYV", "MJPG"}));
    EXPECT_EQ(namesOf(manager.getSupportedFormats(path(onlyCamera))),
              namesOf(camera->getSupportedFormats()));
}

TEST_F(ACamerasFormats, ServePlanarAndFlexibleQuestionsInThisOrder) {
    for (const PixelFormat format : {PixelFormat::YUV420Planar, PixelFormat::YCbCrFlexible}) {
        const std::string leaf = toString(format);
        const auto taken = [&](std::initializer_list<const char*> listed, const char* suffix) {
            return codeTakenFor(*plugAndOpen(offering(listed), leaf + suffix), format);
        };
        EXPECT_EQ(taken({"UYVY", "YUYV", "MJPG", "NV12", "YU12"}, "1"), "YU12");
        EXPECT_EQ(taken({"UYVY", "YUYV", "MJPG", "NV12"}, "2"), "MJPG");
        EXPECT_EQ(taken({"UYVY", "YUYV", "NV12"}, "3"), "YUYV");
        EXPECT_EQ(taken({"NV12", "H264", "UYVY"}, "4"), "UYVY");
        EXPECT_EQ(taken({"NV12", "H264", "JPEG", "VP80"}, "5"), "none");
    }
}

TEST_F(ACamerasFormats, ServeSemiPlanarQuestionsOnlyDirectly) {
    EXPECT_EQ(
        codeTakenFor(*plugAndOpen(offering({"YUYV", "NV12"}), "a"), PixelFormat::YUV420SemiPlanar),
        "NV12");
    EXPECT_EQ(codeTakenFor(*plugAndOpen(offering({"YUYV", "MJPG", "YU12"}), "b"),
                           PixelFormat::YUV420SemiPlanar),
              "none");
}

TEST_F(ACamerasFormats, ServeRawQuestionsInTheOrderOfPreferenceNotOfTheCamera) {
    const auto taken = [&](std::initializer_list<const char*> listed, const char* leaf) {
        return codeTakenFor(*plugAndOpen(offering(listed), leaf), PixelFormat::Raw);
    };
    EXPECT_EQ(taken({"UYVY", "NV12"}, "a"), "NV12");
    EXPECT_EQ(taken({"UYVY", "YUYV", "NV12", "YU12"}, "b"), "YU12");
    EXPECT_EQ(taken({"UYVY", "YUYV", "MJPG"}, "c"), "YUYV");
    EXPECT_EQ(taken({"GREY", "UYVY", "MJPG"}, "d"), "UYVY");
    EXPECT_EQ(taken({"MJPG", "H264", "GREY"}, "e"), "none");
}

TEST_F(ACamerasFormats, ServeEncodedAndPreferredQuestionsAlike) {
    for (const PixelFormat format : {PixelFormat::Encoded, PixelFormat::Preferred}) {
        const std::string leaf = toString(format);
        const auto taken = [&](std::initializer_list<const char*> listed, const char* suffix) {
            return codeTakenFor(*plugAndOpen(offering(listed), leaf + suffix), format);
        };
        EXPECT_EQ(taken({"JPEG", "MJPG", "VP80", "H264"}, "1"), "H264");
        EXPECT_EQ(taken({"JPEG", "MJPG", "VP80"}, "2"), "VP80");
        EXPECT_EQ(taken({"JPEG", "YUYV", "MJPG"}, "3"), "MJPG");
        EXPECT_EQ(taken({"YUYV", "JPEG"}, "4"), "JPEG");
        EXPECT_EQ(taken({"YUYV", "UYVY", "NV12", "YU12"}, "5"), "none");
    }
}

TEST_F(ACamerasFormats, ServeQuestionsInADevicesOwnCodeUnchanged) {
    const auto camera = plugAndOpen(offering({"YUYV", "JPEG", "GREY"}));
    for (const PixelFormat itself : {PixelFormat::YUYV, PixelFormat::JPEG}) {
        EXPECT_EQ(codeTakenFor(*camera, itself), toString(itself));
    }
    EXPECT_EQ(codeTakenFor(*camera, static_cast<PixelFormat>(0x59455247)), "GREY");
}

TEST_F(ACamerasFormats, AreNotLookedAtForACodeThatTheDeviceDoesNotOffer) {
    const auto camera = plugAndOpen(offering({"YUYV"}));
    (void)codeTakenFor(*camera, PixelFormat::YUYV);
    for (const PixelFormat format : {PixelFormat::H264, PixelFormat::YU12, PixelFormat::Mappable,
                                     PixelFormat::NotMappable, static_cast<PixelFormat>(3)}) {
        EXPECT_THAT(requestsFor(*camera, format), ElementsAre("VIDIOC_ENUM_FRAMESIZES"))
            << toString(format);
    }
}

TEST_F(ACamerasFormats, EndAQuestionInAFormatThatNoneOfThemServes) {
    const auto camera = plugAndOpen(offering({"H264"}));
    EXPECT_THAT(requestsFor(*camera, PixelFormat::Invalid),
                ElementsAre("VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT"));
    EXPECT_THAT(requestsFor(*camera, PixelFormat::Invalid), IsEmpty());
    EXPECT_THAT(requestsFor(*camera, PixelFormat::YUV420Planar), IsEmpty());
    EXPECT_THAT(requestsFor(*camera, PixelFormat::YUV420SemiPlanar), IsEmpty());
    EXPECT_THAT(requestsFor(*camera, PixelFormat::Raw),
                ElementsAre("VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FMT"));
}

TEST_F(ACamerasFormats, AreRememberedForQuestionsExceptRawAndEncodedOnes) {
    const auto camera = plugAndOpen(offering({"MJPG", "YUYV"}));
    const std::vector<std::string> sizeRequests{
        "VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMEINTERVALS", "VIDIOC_ENUM_FRAMEINTERVALS",
        "VIDIOC_ENUM_FRAMESIZES"};
    std::vector<std::string> withFormats(3, "VIDIOC_ENUM_FMT");
    withFormats.insert(withFormats.end(), sizeRequests.begin(), sizeRequests.end());

    EXPECT_EQ(requestsFor(*camera, PixelFormat::YUV420Planar), withFormats);
    EXPECT_EQ(requestsFor(*camera, PixelFormat::YUV420Planar), sizeRequests);
    EXPECT_EQ(requestsFor(*camera, PixelFormat::YUYV), sizeRequests);
    for (const PixelFormat format :
         {PixelFormat::Raw, PixelFormat::Encoded, PixelFormat::Preferred}) {
        EXPECT_EQ(requestsFor(*camera, format), withFormats);
        EXPECT_EQ(requestsFor(*camera, format), withFormats);
    }
}

TEST_F(ACamerasFormats, AreAskedForAgainAsLongAsThereWereNone) {
    const auto camera = plugAndOpen(offering({"YUYV"}));
    fail("VIDIOC_ENUM_FMT", "EBUSY", "");
    EXPECT_EQ(codeTakenFor(*camera, PixelFormat::YUV420Planar), "none");
    EXPECT_EQ(codeTakenFor(*camera, PixelFormat::YUV420Planar), "YUYV");
}

TEST_F(ACamerasFormats, ServeRawQuestionsFromTheCameraItselfNotFromMemory) {
    const auto camera = plugAndOpen(offering({"YUYV"}));
    ASSERT_EQ(codeTakenFor(*camera, PixelFormat::Raw), "YUYV");
    fail("VIDIOC_ENUM_FMT", "EBUSY", R"(, "count": "always")");
    EXPECT_EQ(codeTakenFor(*camera, PixelFormat::Raw), "none");
    EXPECT_EQ(codeTakenFor(*camera, PixelFormat::YUV420Planar), "YUYV");
}

TEST_F(ACamerasFormats, AreOnlyTheRequestsThatAlwaysStandWhenTheCameraListsNone) {
    plug(onlyCamera, offering({"YUYV"}));
    connect();
    for (const char* const error :
         {"EINVAL", "ENODEV", "EIO", "EBUSY", "ENOTTY", "EPERM", "EAGAIN"}) {
        const auto camera = manager.openCamera(path(onlyCamera));
        fail("VIDIOC_ENUM_FMT", error, R"(, "count": "always")");
        EXPECT_THAT(namesOf(camera->getSupportedFormats()),
                    ElementsAre("Raw", "Encoded", "Preferred"))
            << error;
        device().clearFaults();
    }
    EXPECT_THAT(log.messages(),
                Each(::testing::StartsWith("checkFormatsConverting: Format supported directly: ")));
}

}  // namespace
