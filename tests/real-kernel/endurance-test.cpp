// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Real cameras used often, beside each other, and while the device-access service comes and goes.

#include <filesystem>

#include "desk.h"
#include "kernel-answers.h"
#include "wait-until.h"

namespace {

using namespace RealKernel;
using Nerio::Lumiq::PixelFormat;

std::size_t entriesIn(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                  std::filesystem::directory_iterator{}));
}

struct Worker {
    FindCamera find;
    int starts;
};

class AWorkingDay : public AtTheDesk, public ::testing::WithParamInterface<Worker> {
protected:
    RealCamera& camera = GetParam().find();
};

TEST_P(AWorkingDay, HasManyStartsAndStopsAndNothingIsLeftOfThem) {
    const auto opened = open(camera);
    ASSERT_NE(opened, nullptr);
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    for (int round = 0; round < GetParam().starts; ++round) {
        Film film;
        opened->setListener(&film);
        ASSERT_TRUE(opened->startCapture({160, 120, {60, 1}}, PixelFormat::YUYV)) << round;
        ASSERT_TRUE(film.waitForFrames(1)) << round;
        ASSERT_TRUE(opened->stopCapture()) << round;
        opened->setListener(nullptr);
        ASSERT_TRUE(film.errors().empty()) << round << ": " << film.errors().front();
        if (round == 0) {
            descriptors = entriesIn("/proc/self/fd");
            threads = entriesIn("/proc/self/task");
        }
    }
    EXPECT_EQ(entriesIn("/proc/self/fd"), descriptors);
    EXPECT_TRUE(TestSupport::waitUntil([&] { return entriesIn("/proc/self/task") == threads; }));
}

TEST_P(AWorkingDay, GoesOnWhileTheServiceIsKilledAndStartedAgain) {
    const auto opened = open(camera);
    ASSERT_NE(opened, nullptr);
    Film film;
    opened->setListener(&film);
    ASSERT_TRUE(opened->startCapture(kVga, PixelFormat::YUYV));
    ASSERT_TRUE(film.waitForFrames(3));
    desk.killService();
    EXPECT_TRUE(film.waitForFrames(film.frameCount() + 10)) << "without a service";
    desk.startService();
    EXPECT_TRUE(film.waitForFrames(film.frameCount() + 10)) << "with the new one";
    EXPECT_TRUE(opened->stopCapture());
    opened->setListener(nullptr);
    EXPECT_TRUE(film.errors().empty()) << film.errors().front();
    streams(camera);
}

INSTANTIATE_TEST_SUITE_P(Vivid, AWorkingDay, ::testing::Values(Worker{vividWebcam, 200}));
INSTANTIATE_TEST_SUITE_P(Usb, AWorkingDay, ::testing::Values(Worker{isochronousCamera, 200}));

class TwoCameras : public AtTheDesk {
protected:
    Film left;
    Film right;

    // Until both have delivered 30 frames; the faster one may not starve the other.
    void streamTogether(const RealCamera& leftCamera, const RealCamera& rightCamera) {
        const auto first = open(leftCamera);
        const auto second = open(rightCamera);
        ASSERT_TRUE(first && second);
        left.keepPictures();
        right.keepPictures();
        first->setListener(&left);
        second->setListener(&right);
        ASSERT_TRUE(first->startCapture(kVga, PixelFormat::YUYV));
        ASSERT_TRUE(second->startCapture(kVga, PixelFormat::YUYV));
        ASSERT_TRUE(left.waitForFrames(1) && right.waitForFrames(1));
        const std::size_t leftBefore = left.frameCount();
        const std::size_t rightBefore = right.frameCount();
        EXPECT_TRUE(left.waitForFrames(leftBefore + 30));
        EXPECT_TRUE(right.waitForFrames(rightBefore + 30));
        EXPECT_LE(left.frameCount() - leftBefore, 4 * (right.frameCount() - rightBefore));
        EXPECT_LE(right.frameCount() - rightBefore, 4 * (left.frameCount() - leftBefore));
        EXPECT_TRUE(first->stopCapture());
        EXPECT_TRUE(second->stopCapture());
        first->setListener(nullptr);
        second->setListener(nullptr);
        EXPECT_TRUE(left.errors().empty());
        EXPECT_TRUE(right.errors().empty());
    }
};

// The bars of one move to the left, those of the other to the right, four columns a frame.
TEST_F(TwoCameras, OfTheVirtualDriverStreamAtOnceAndEachGetsItsOwnPictures) {
    const VividCamera first(0);
    const VividCamera second(1);
    setControls(first.node(), "osd_text_mode=2,horizontal_movement=1");
    setControls(second.node(), "osd_text_mode=2,horizontal_movement=5");
    streamTogether(first, second);
    for (std::size_t i = 1; i < left.pictures().size(); ++i) {
        const std::size_t moved = movedLeft(left.pictures()[i - 1], left.pictures()[i]);
        EXPECT_TRUE(moved >= 4 && moved <= 40) << moved << " at " << i;
    }
    for (std::size_t i = 1; i < right.pictures().size(); ++i) {
        const std::size_t moved = movedLeft(right.pictures()[i], right.pictures()[i - 1]);
        EXPECT_TRUE(moved >= 4 && moved <= 40) << moved << " at " << i;
    }
    setControls(first.node(), "osd_text_mode=0,horizontal_movement=3");
    setControls(second.node(), "osd_text_mode=0,horizontal_movement=3");
}

TEST_F(TwoCameras, OnUsbStreamAtOnceAndEachGetsItsOwnPictures) {
    const UsbCamera& first = usbCamera(UsbKind::Isochronous);
    const UsbCamera second(UsbKind::Bulk);
    ASSERT_NE(first.id(), second.id());
    streamTogether(first, second);
    EXPECT_EQ(complaintAbout(left.pictures(), Look{barCycle(UsbKind::Isochronous)}), "");
    EXPECT_EQ(complaintAbout(right.pictures(), Look{barCycle(UsbKind::Bulk)}), "");
}

}  // namespace
