// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What arrives from real cameras: the right pictures, all whole, in the order they were made.

#include <array>
#include <cstdlib>

#include "desk.h"
#include "kernel-answers.h"

namespace {

using namespace RealKernel;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::PixelFormat;

struct Way {
    const char* name;
    PixelFormat format;
    CameraCapabilityEx point = {640, 480, {20, 1}};
};

std::string nameOf(const ::testing::TestParamInfo<Way>& info) {
    return info.param.name;
}

constexpr std::size_t frames = 20;

class APicture : public AtTheDesk, public ::testing::WithParamInterface<Way> {
protected:
    Film film;

    /// Films so many frames; returns when the capture is over.
    void shoot(const RealCamera& camera) {
        const auto opened = open(camera);
        ASSERT_NE(opened, nullptr);
        opened->setListener(&film);
        ASSERT_TRUE(opened->startCapture(GetParam().point, GetParam().format));
        EXPECT_TRUE(film.waitForFrames(frames));
        EXPECT_TRUE(opened->stopCapture());
        opened->setListener(nullptr);
        EXPECT_TRUE(film.errors().empty()) << film.errors().front();
    }
};

// --- The virtual video driver: eight bars that move by four pixels from frame to frame.

// ITU-R BT.601 with limited range, three quarters of full saturation.
constexpr std::array<Colour, 8> bars{{{180, 128, 128},
                                      {162, 44, 142},
                                      {131, 156, 44},
                                      {112, 72, 58},
                                      {84, 184, 198},
                                      {65, 100, 212},
                                      {35, 212, 114},
                                      {16, 128, 128}}};
constexpr const char* barNames[] = {"white",   "yellow", "cyan", "green",
                                    "magenta", "red",    "blue", "black"};

class AVividPicture : public APicture {
protected:
    const VividCamera camera{0};

    AVividPicture() { setControls(camera.node(), "osd_text_mode=2,horizontal_movement=1"); }
    ~AVividPicture() override {
        setControls(camera.node(), "osd_text_mode=0,horizontal_movement=3");
    }
};

TEST_P(AVividPicture, HasTheBarsInTheirColoursAndMovesOnFromFrameToFrame) {
    film.keepPictures();
    shoot(camera);
    const auto& pictures = film.pictures();
    ASSERT_GE(pictures.size(), frames);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        ASSERT_EQ(pictures[i].width, 640U);
        ASSERT_EQ(pictures[i].height, 480U);
        ASSERT_TRUE(pictures[i].firstBar());
        for (std::size_t bar = 0; bar < bars.size(); ++bar) {
            const Colour seen = pictures[i].bar(bar);
            EXPECT_NEAR(seen.y, bars[bar].y, 3) << barNames[bar];
            EXPECT_NEAR(seen.cb, bars[bar].cb, 3) << barNames[bar];
            EXPECT_NEAR(seen.cr, bars[bar].cr, 3) << barNames[bar];
        }
        if (i > 0) {
            const std::size_t moved = movedLeft(pictures[i - 1], pictures[i]);
            EXPECT_EQ(moved % 4, 0U) << "frame " << i;
            // A frame may be lost on a busy machine; none may come twice or from the past.
            EXPECT_GE(moved, 4U) << "frame " << i;
            EXPECT_LE(moved, 40U) << "frame " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, AVividPicture,
                         ::testing::Values(Way{"YUYV", PixelFormat::YUYV},
                                           Way{"UYVY", PixelFormat::UYVY},
                                           Way{"NV12", PixelFormat::YUV420SemiPlanar},
                                           Way{"YU12", PixelFormat::YUV420Planar}),
                         nameOf);

// --- The USB cameras: each frame carries its number and shows the bars of that number.

constexpr CameraCapabilityEx hd{1280, 720, {20, 1}};

class AUsbPicture : public APicture {
protected:
    void expectTheBarsOfTheirNumbers(UsbKind kind) {
        film.keepPictures();
        shoot(usbCamera(kind));
        EXPECT_GE(film.pictures().size(), frames);
        for (const Picture& picture : film.pictures()) {
            ASSERT_EQ(picture.width, GetParam().point.width);
            ASSERT_EQ(picture.height, GetParam().point.height);
        }
        const Look look{barCycle(kind), GetParam().format == PixelFormat::MJPG};
        EXPECT_EQ(complaintAbout(film.pictures(), look), "");
    }

    void expectTheirBytesInOrder(UsbKind kind, PixelFormat encoding) {
        film.keepBytes(encoding);
        shoot(usbCamera(kind));
        EXPECT_GE(film.bytes().size(), frames);
        EXPECT_EQ(complaintAbout(film.bytes()), "");
    }
};

class AnIsochronousUsbPicture : public AUsbPicture {};

TEST_P(AnIsochronousUsbPicture, ShowsTheBarsOfItsNumber) {
    expectTheBarsOfTheirNumbers(UsbKind::Isochronous);
}

INSTANTIATE_TEST_SUITE_P(, AnIsochronousUsbPicture,
                         ::testing::Values(Way{"YUYV", PixelFormat::YUYV},
                                           Way{"UYVY", PixelFormat::UYVY},
                                           Way{"NV12", PixelFormat::YUV420SemiPlanar},
                                           Way{"MJPG", PixelFormat::MJPG},
                                           Way{"LargeMJPG", PixelFormat::MJPG, hd},
                                           Way{"Planar", PixelFormat::YUV420Planar}),
                         nameOf);

class AnIsochronousUsbStream : public AUsbPicture {};

TEST_P(AnIsochronousUsbStream, HasItsBytesInOrder) {
    expectTheirBytesInOrder(UsbKind::Isochronous, PixelFormat::H264);
}

INSTANTIATE_TEST_SUITE_P(, AnIsochronousUsbStream,
                         ::testing::Values(Way{"H264", PixelFormat::H264}), nameOf);

class ABulkUsbPicture : public AUsbPicture {};

TEST_P(ABulkUsbPicture, ShowsTheBarsOfItsNumber) {
    expectTheBarsOfTheirNumbers(UsbKind::Bulk);
}

INSTANTIATE_TEST_SUITE_P(, ABulkUsbPicture,
                         ::testing::Values(Way{"YUYV", PixelFormat::YUYV},
                                           Way{"YU12", PixelFormat::YUV420Planar},
                                           Way{"LargeMJPG", PixelFormat::MJPG, hd}),
                         nameOf);

class ABulkUsbStream : public AUsbPicture {};

TEST_P(ABulkUsbStream, HasItsBytesInOrder) {
    expectTheirBytesInOrder(UsbKind::Bulk, PixelFormat::H264);
}

// H264 is what comes when any encoding will do.
INSTANTIATE_TEST_SUITE_P(, ABulkUsbStream,
                         ::testing::Values(Way{"AnyEncoding", PixelFormat::Encoded}), nameOf);

}  // namespace
