// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The questions that go to a driver, which this program plays itself by standing in for ioctl(2).

#include "v4l2-device.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <type_traits>
#include <vector>

namespace {

/// Plays the driver: gets the descriptor, the request and its argument, returns 0 or an errno.
using Driver = std::function<int(int, unsigned long, void*)>;
Driver* theDriver = nullptr;

}  // namespace

// What the device calls in place of the C library's.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (theDriver == nullptr) {
        errno = ENOTTY;
        return -1;
    }
    errno = (*theDriver)(descriptor, request, argument);
    return errno == 0 ? 0 : -1;
}

namespace Nerio::Lumiq {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t YUYV = V4L2_PIX_FMT_YUYV;
constexpr std::uint32_t MJPG = V4L2_PIX_FMT_MJPEG;
constexpr std::uint32_t H264 = V4L2_PIX_FMT_H264;

class AV4L2Device : public ::testing::Test {
protected:
    AV4L2Device() { theDriver = &driver; }
    ~AV4L2Device() override { theDriver = nullptr; }

    /// A driver that lists these codes.
    void list(const std::vector<std::uint32_t>& codes) {
        driver = [this, codes](int, unsigned long request, void* argument) {
            ++calls;
            auto& entry = *static_cast<v4l2_fmtdesc*>(argument);
            if (request != VIDIOC_ENUM_FMT || entry.index >= codes.size()) {
                return EINVAL;
            }
            entry.pixelformat = codes[entry.index];
            return 0;
        };
    }

    /// A driver that answers `answers` times, scribbles over the whole answer, and remembers the
    /// questions.
    template <typename Entry>
    void scribble(std::vector<Entry>& questions, unsigned long expected, std::size_t answers) {
        driver = [&questions, expected, answers](int, unsigned long request, void* argument) {
            EXPECT_EQ(request, expected);
            Entry question{};
            std::memcpy(&question, argument, sizeof question);
            questions.push_back(question);
            std::memset(argument, 0x5A, sizeof question);
            return questions.size() <= answers ? 0 : EINVAL;
        };
    }

    /// Three questions, each nothing but `expected` and its index.
    template <typename Entry>
    static void expectQuestions(const std::vector<Entry>& questions, Entry expected) {
        ASSERT_EQ(questions.size(), 3U);
        for (expected.index = 0; expected.index < 3; ++expected.index) {
            EXPECT_EQ(std::memcmp(&questions[expected.index], &expected, sizeof expected), 0)
                << expected.index;
        }
    }

    int calls = 0;
    Driver driver;
    const V4L2Device device{UniqueFd(::eventfd(0, EFD_CLOEXEC))};
};

TEST_F(AV4L2Device, PassesDescriptorRequestAndArgumentOn) {
    v4l2_format format{};
    driver = [&](int descriptor, unsigned long request, void* argument) {
        EXPECT_EQ(descriptor, device.fd());
        EXPECT_EQ(request, VIDIOC_S_FMT);
        EXPECT_EQ(argument, &format);
        ++calls;
        return 0;
    };
    EXPECT_EQ(device.request(VIDIOC_S_FMT, &format), 0);
    EXPECT_EQ(calls, 1);
}

TEST_F(AV4L2Device, RepeatsARequestForAsLongAsSignalsInterruptIt) {
    driver = [this](int, unsigned long, void*) { return ++calls < 5 ? EINTR : 0; };
    EXPECT_EQ(device.request(VIDIOC_STREAMON, nullptr), 0);
    EXPECT_EQ(calls, 5);
}

TEST_F(AV4L2Device, HandsBackTheErrorBehindInterruptions) {
    driver = [this](int, unsigned long, void*) { return ++calls < 3 ? EINTR : ENODEV; };
    EXPECT_EQ(device.request(VIDIOC_STREAMON, nullptr), ENODEV);
    EXPECT_EQ(calls, 3);
}

TEST_F(AV4L2Device, HandsBackEveryOtherErrorAtOnce) {
    for (const int error : {EINVAL, EAGAIN, ENODEV, EIO, EBUSY, ENOTTY, EPERM, EBADF}) {
        calls = 0;
        driver = [this, error](int, unsigned long, void*) { return ++calls, error; };
        EXPECT_EQ(device.request(VIDIOC_DQBUF, nullptr), error);
        EXPECT_EQ(calls, 1) << std::strerror(error);
    }
}

TEST_F(AV4L2Device, ListsFormatsUntilTheDriverSaysNo) {
    list({YUYV, MJPG});
    std::vector<std::uint32_t> codes;
    for (const v4l2_fmtdesc& format : device.formats()) {
        codes.push_back(format.pixelformat);
    }
    EXPECT_THAT(codes, ElementsAre(YUYV, MJPG));
    EXPECT_EQ(calls, 3);
}

TEST_F(AV4L2Device, ListsNothingWhenTheDriverFails) {
    for (const int error : {EINVAL, ENODEV, EIO, EBUSY, ENOTTY, EPERM, EAGAIN}) {
        driver = [error](int, unsigned long, void*) { return error; };
        std::vector<std::uint32_t> codes;
        for (const v4l2_fmtdesc& format : device.formats()) {
            codes.push_back(format.pixelformat);
        }
        EXPECT_THAT(codes, IsEmpty());
    }
}

TEST_F(AV4L2Device, AsksForFormatsAfreshUnderEachIndex) {
    std::vector<v4l2_fmtdesc> questions;
    scribble(questions, VIDIOC_ENUM_FMT, 2);
    for ([[maybe_unused]] const v4l2_fmtdesc& format : device.formats()) {
    }
    v4l2_fmtdesc expected{};
    expected.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    expectQuestions(questions, expected);
}

TEST_F(AV4L2Device, AsksForFrameSizesAfreshUnderEachIndex) {
    std::vector<v4l2_frmsizeenum> questions;
    scribble(questions, VIDIOC_ENUM_FRAMESIZES, 2);
    for ([[maybe_unused]] const v4l2_frmsizeenum& size : device.frameSizes(MJPG)) {
    }
    v4l2_frmsizeenum expected{};
    expected.pixel_format = MJPG;
    expectQuestions(questions, expected);
}

TEST_F(AV4L2Device, AsksForFrameIntervalsAfreshUnderEachIndex) {
    std::vector<v4l2_frmivalenum> questions;
    scribble(questions, VIDIOC_ENUM_FRAMEINTERVALS, 2);
    for ([[maybe_unused]] const v4l2_frmivalenum& interval :
         device.frameIntervals(YUYV, 640, 480)) {
    }
    v4l2_frmivalenum expected{};
    expected.pixel_format = YUYV;
    expected.width = 640;
    expected.height = 480;
    expectQuestions(questions, expected);
}

TEST_F(AV4L2Device, PicksTheListedCodeThatComesFirstInTheRow) {
    constexpr std::array row{H264, MJPG, YUYV};
    list({YUYV, MJPG});
    EXPECT_EQ(device.bestListed(row), MJPG);
    EXPECT_EQ(calls, 3);
    list({MJPG, YUYV});
    EXPECT_EQ(device.bestListed(row), MJPG);
    list({YUYV, 0x12345678, H264, MJPG});
    EXPECT_EQ(device.bestListed(row), H264);
    list({YUYV});
    EXPECT_EQ(device.bestListed(row), YUYV);
}

TEST_F(AV4L2Device, PicksNothingFromARowThatIsNotListed) {
    list({YUYV});
    EXPECT_EQ(device.bestListed(std::array{H264, MJPG}), 0U);
    EXPECT_EQ(device.bestListed({}), 0U);
    list({});
    EXPECT_EQ(device.bestListed(std::array{H264, MJPG}), 0U);
}

bool isOpen(int descriptor) {
    return ::fcntl(descriptor, F_GETFD) != -1;
}

TEST(AnOwnedDescriptor, IsClosedWithItsOwner) {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    {
        const V4L2Device owner{UniqueFd(descriptor)};
        EXPECT_TRUE(isOpen(descriptor));
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(AnOwnedDescriptor, MovesFromOwnerToOwner) {
    static_assert(!std::is_copy_constructible_v<UniqueFd> && !std::is_copy_assignable_v<UniqueFd>);
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    const int replaced = ::eventfd(0, EFD_CLOEXEC);
    UniqueFd first(descriptor);
    UniqueFd second(std::move(first));
    EXPECT_FALSE(first.isValid());  // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(first.get(), -1);
    EXPECT_EQ(second.get(), descriptor);
    UniqueFd third(replaced);
    third = std::move(second);
    EXPECT_EQ(third.get(), descriptor);
    EXPECT_FALSE(isOpen(replaced));
    EXPECT_TRUE(isOpen(descriptor));
}

TEST(AnOwnedDescriptor, IsTheCallersAfterItsRelease) {
    int descriptor = -1;
    {
        UniqueFd owner(::eventfd(0, EFD_CLOEXEC));
        descriptor = owner.release();
        EXPECT_FALSE(owner.isValid());
    }
    EXPECT_TRUE(isOpen(descriptor));
    ::close(descriptor);
}

}  // namespace
}  // namespace Nerio::Lumiq
