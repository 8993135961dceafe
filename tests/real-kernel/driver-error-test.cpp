// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What goes wrong inside a driver, ordered from the virtual video driver's error controls and from
// the USB camera.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "desk.h"
#include "kernel-answers.h"
#include "kernel-trace.h"
#include "wait-until.h"

namespace {

using namespace RealKernel;
using Nerio::Lumiq::Camera;
using Nerio::Lumiq::PixelFormat;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ADriver : public AtTheDesk {
protected:
    const VividCamera camera{1};
    Film film;
    Film seen;
    std::shared_ptr<Camera> opened = open(camera);

    void SetUp() override {
        ASSERT_NE(opened, nullptr);
        film.keepPictures();
        opened->setListener(&film);
        ASSERT_TRUE(opened->startCapture(kVga, PixelFormat::YUYV));
        ASSERT_TRUE(film.waitForFrames(3));
    }
    ~ADriver() override {
        if (opened) {
            opened->stopCapture();
            opened->setListener(nullptr);
        }
    }
};

// The flagged frame is handed on like any other: no picture is missing between its neighbours.
TEST_F(ADriver, CanFlagAFrameAsDamagedAndTheHostGetsItAndTheNextOnes) {
    ASSERT_TRUE(opened->stopCapture());
    setControls(camera.node(), "osd_text_mode=2,horizontal_movement=1");
    seen.keepPictures();
    opened->setListener(&seen);
    const KernelTrace trace;
    ASSERT_TRUE(opened->startCapture(kVga, PixelFormat::YUYV));
    for (std::size_t flagged = 1; flagged <= 3; ++flagged) {
        setControls(camera.node(), "inject_v4l2_buf_flag_error=1");
        EXPECT_TRUE(TestSupport::waitUntil([&] { return trace.flaggedFrames() == flagged; }));
    }
    EXPECT_TRUE(seen.waitForFrames(seen.frameCount() + 5));
    EXPECT_TRUE(opened->stopCapture());
    EXPECT_THAT(seen.errors(), IsEmpty());
    EXPECT_EQ(seen.pictures().size(), trace.frames());
    setControls(camera.node(), "osd_text_mode=0,horizontal_movement=3");
}

TEST_F(ADriver, CanBreakItsQueueAndTheNextStartWorks) {
    setControls(camera.node(), "inject_fatal_streaming_error=1");
    ASSERT_TRUE(film.waitForErrors(1));
    // POLLERR alone.
    EXPECT_THAT(film.errors(), ElementsAre("error revents: 8"));
    EXPECT_TRUE(opened->captureStarted()) << "until the host stops it";
    EXPECT_TRUE(opened->stopCapture());
    opened->setListener(nullptr);
    streams(camera);
}

TEST_F(ADriver, CanSayThatItsDeviceIsGoneAndComeBack) {
    setControls(camera.node(), "disconnect=1");
    ASSERT_TRUE(film.waitForErrors(1));
    EXPECT_THAT(film.errors(), ElementsAre(::testing::StartsWith("error revents: ")));
    EXPECT_TRUE(opened->stopCapture());
    opened->setListener(nullptr);
    // The driver's device comes back once nobody has it open.
    opened.reset();
    streams(camera);
    opened = open(camera);
}

// Each control makes the next request of its kind fail, once. Once the driver has granted buffers,
// it refuses another format to whoever keeps its device open; a fresh one is served.
TEST_F(ADriver, CanRefuseARequestOfAStartAndServesTheNextCamera) {
    for (const char* const control : {"inject_vidioc_reqbufs_error", "inject_vidioc_qbuf_error",
                                      "inject_vidioc_streamon_error"}) {
        EXPECT_TRUE(opened->stopCapture());
        setControls(camera.node(), std::string(control) + "=1");
        EXPECT_FALSE(opened->startCapture(kVga, PixelFormat::YUYV)) << control;
        EXPECT_FALSE(opened->captureStarted()) << control;
        opened->setListener(nullptr);
        opened.reset();
        opened = open(camera);
        opened->setListener(&film);
        ASSERT_TRUE(opened->startCapture(kVga, PixelFormat::YUYV)) << control;
        EXPECT_TRUE(film.waitForFrames(film.frameCount() + 3)) << control;
    }
    EXPECT_THAT(film.errors(), IsEmpty());
}

// What the kernel's driver does with frames that it knows to be damaged: on older kernels it drops
// them, unless it is told otherwise.
bool driverDropsDamagedFrames() {
    std::ifstream parameter("/sys/module/uvcvideo/parameters/nodrop");
    int keeps = 0;
    return parameter >> keeps && keeps == 0;
}

enum class Fate {
    Lost,     ///< Nothing comes of the frame.
    Flagged,  ///< The driver knows that it is damaged.
    Unknown,  ///< Nobody knows before it is looked at.
};

struct BadFrames {
    const char* fault;
    const char* name;
    PixelFormat format;
    Fate fate;
};

class AUsbCamera : public AtTheDesk, public ::testing::WithParamInterface<BadFrames> {
protected:
    static constexpr std::size_t faults = 3;
    UsbCamera& camera = usbCamera();
    const Look look{barCycle(camera.kind()), GetParam().format == PixelFormat::MJPG};
    Film film;
    std::size_t before = 0;  ///< Frames that had come when the faults were ordered.

    // Long enough to have the last pictures after the last of the faults, which strike every other
    // frame.
    void filmFaults() {
        const auto opened = open(camera);
        ASSERT_NE(opened, nullptr);
        film.keepPictures();
        opened->setListener(&film);
        ASSERT_TRUE(opened->startCapture(kVga, GetParam().format));
        ASSERT_TRUE(film.waitForFrames(2));
        camera.tell(std::string(R"(fault {"frame": ")") + GetParam().fault +
                    R"(", "every": 2, "count": )" + std::to_string(faults) + "}");
        before = film.frameCount();
        EXPECT_TRUE(film.waitForFrames(before + 2 * faults + 8));
        EXPECT_TRUE(opened->stopCapture());
        opened->setListener(nullptr);
        EXPECT_THAT(film.errors(), IsEmpty());
    }

    std::size_t damagedPictures() const {
        return static_cast<std::size_t>(std::ranges::count_if(
            film.pictures(),
            [this](const Picture& picture) { return !picture.flaw(look).empty(); }));
    }

    // Frames of which no picture came. Two neighbours may have come the wrong way round, and a
    // damaged one need not tell its number.
    std::size_t missingPictures() const {
        std::set<std::uint32_t> numbers;
        for (const Picture& picture : film.pictures()) {
            if (const auto number = picture.number()) {
                numbers.insert(*number);
            }
        }
        const std::size_t sent = *numbers.rbegin() - *numbers.begin() + std::size_t{1};
        return sent - std::min(sent, film.pictures().size());
    }
};

// What happens to some frames in the middle of a stream costs those frames, no more.
TEST_P(AUsbCamera, CanSendBadFramesWhichCostThoseFramesAlone) {
    ASSERT_NO_FATAL_FAILURE(filmFaults());
    const auto& pictures = film.pictures();
    ASSERT_GE(pictures.size(), before + 2 * faults + 8);
    ASSERT_EQ(complaintAbout({pictures.begin(), pictures.begin() + 2}, look), "") << "before";
    ASSERT_EQ(complaintAbout({pictures.end() - 5, pictures.end()}, look), "") << "afterwards";
    const Fate fate = GetParam().fate;
    if (fate == Fate::Lost || (fate == Fate::Flagged && driverDropsDamagedFrames())) {
        EXPECT_EQ(damagedPictures(), 0U);
        EXPECT_GE(missingPictures(), faults);
    } else {
        EXPECT_GE(damagedPictures(), 1U);
        EXPECT_LE(damagedPictures(), faults);
        // A busy machine may lose a frame altogether.
        EXPECT_GE(damagedPictures() + missingPictures(), faults);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , AUsbCamera,
    ::testing::Values(BadFrames{"lost", "LostRaw", PixelFormat::YUYV, Fate::Lost},
                      BadFrames{"lost", "LostJpeg", PixelFormat::MJPG, Fate::Lost},
                      BadFrames{"error", "ErrorRaw", PixelFormat::YUYV, Fate::Flagged},
                      BadFrames{"error", "ErrorJpeg", PixelFormat::MJPG, Fate::Flagged},
                      BadFrames{"short", "ShortRaw", PixelFormat::YUYV, Fate::Flagged},
                      BadFrames{"short", "ShortJpeg", PixelFormat::MJPG, Fate::Unknown},
                      BadFrames{"truncated", "TruncatedRaw", PixelFormat::YUYV, Fate::Flagged},
                      BadFrames{"truncated", "TruncatedJpeg", PixelFormat::MJPG, Fate::Unknown},
                      BadFrames{"garbled", "GarbledRaw", PixelFormat::YUYV, Fate::Unknown},
                      BadFrames{"garbled", "GarbledJpeg", PixelFormat::MJPG, Fate::Unknown}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(AtTheDesk, AUsbCameraMayRefuseAStartAndServesTheNextOne) {
    const UsbCamera& camera = usbCamera();
    auto opened = open(camera);
    ASSERT_NE(opened, nullptr);
    camera.tell("refuse commit 1");
    EXPECT_FALSE(opened->startCapture(kVga, PixelFormat::YUYV));
    EXPECT_FALSE(opened->captureStarted());
    opened.reset();
    streams(camera);
}

}  // namespace
