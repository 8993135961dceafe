// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a camera does when the process runs out of descriptors or threads, and what it takes of
// memory for each frame.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "allocation-count.h"
#include "capture-fixture.h"

namespace {

// How many more threads the process may have.
constexpr int plenty = 1 << 20;
std::atomic<int> threadsLeft{plenty};

}  // namespace

// In libc's place for the whole process, the library included.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    return threadsLeft.fetch_sub(1) <= 0 ? EAGAIN : create(thread, attributes, start, argument);
}

namespace {

using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using TestSupport::CaptureFixture;
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

constexpr const char* yuyvCamera = R"({"name": "Scarce", "intervals": ["1/100"], "formats": [
    {"fourcc": "YUYV", "sizes": ["640x480"]}]})";

// Leaves this process only so many more descriptors, for as long as it lives.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t more) {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = 0;
        for (rlim_t left = more; left != 0 || isOpen(limit.rlim_cur); ++limit.rlim_cur) {
            left -= isOpen(limit.rlim_cur) ? 0 : 1;
        }
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    static bool isOpen(rlim_t fd) {
        return std::filesystem::exists(
            std::filesystem::symlink_status("/proc/self/fd/" + std::to_string(fd)));
    }

    rlimit m_before{};
};

class AProcessThatRunsOut : public CaptureFixture {};

// UndefinedBehaviorSanitizer opens a pipe to look at the objects whose members are called, and
// takes them for broken when it cannot.
#ifdef __SANITIZE_ADDRESS__
constexpr bool checkerNeedsDescriptors = true;
#else
constexpr bool checkerNeedsDescriptors = false;
#endif
constexpr const char* whySkipped = "the sanitizer of this build needs descriptors of its own";

TEST_F(AProcessThatRunsOut, OfDescriptorsGetsACameraWithoutAWakeUpThatStillEnumeratesAndStops) {
    if (checkerNeedsDescriptors) {
        GTEST_SKIP() << whySkipped;
    }
    plug(onlyCamera, yuyvCamera);
    connect();
    std::shared_ptr<Nerio::Lumiq::Camera> camera;
    {
        const FewDescriptors none(0);
        camera = manager.openCamera(path(onlyCamera));
    }
    EXPECT_THAT(log.messages(), ElementsAre("V4L2Camera: Can't create eventfd"));
    EXPECT_THAT(camera->getSupportedFormats(), Not(IsEmpty()));
    RecordingCameraListener listener;
    camera->setListener(&listener);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    ASSERT_TRUE(listener.waitForFrames(2));
    EXPECT_TRUE(camera->stopCapture()) << "with the next frame";
    EXPECT_FALSE(camera->captureStarted());
    camera->setListener(nullptr);
}

TEST_F(AProcessThatRunsOut, OfDescriptorsFailsToOpenADeviceWithAReason) {
    if (checkerNeedsDescriptors) {
        GTEST_SKIP() << whySkipped;
    }
    plug(onlyCamera, yuyvCamera);
    connect();
    // The service takes some of them too, so how many it takes to fail in the back end is found
    // out.
    std::size_t failures = 0;
    for (rlim_t more = 6; more > 1; --more) {
        log.clear();
        std::vector<Nerio::Lumiq::PixelFormatDescription> formats;
        {
            const FewDescriptors few(more);
            formats = manager.getSupportedFormats(path(onlyCamera));
        }
        if (formats.empty()) {
            EXPECT_THAT(log.messages(), Contains(StartsWith("openDevice: Can't open a camera: ")));
            ++failures;
        }
    }
    EXPECT_GT(failures, 0U);
    EXPECT_THAT(manager.getSupportedFormats(path(onlyCamera)), Not(IsEmpty()))
        << "once there are descriptors again";
}

TEST_F(AProcessThatRunsOut, OfThreadsFailsToStartACaptureWithAReason) {
    const auto camera = plugAndOpen(yuyvCamera);
    (void)camera->getSupportedFormats();
    // One for the camera itself: the simulated driver's.
    threadsLeft = 1;
    EXPECT_FALSE(camera->startCapture(vga, PixelFormat::YUYV));
    threadsLeft = plenty;
    EXPECT_TRUE(log.waitForPrefix("startCapture: Can't start the capture thread: "));
    EXPECT_FALSE(camera->captureStarted());
    EXPECT_EQ(Simulator::liveCount().mappings, 0U);
    EXPECT_TRUE(camera->stopCapture());
}

TEST_F(AProcessThatRunsOut, OfThreadsFailsToInitialiseAndDoesSoLater) {
    threadsLeft = 0;
    EXPECT_FALSE(manager.init());
    threadsLeft = plenty;
    EXPECT_THAT(log.messages(), ElementsAre(StartsWith("init: Can't init gatehold: ")));
    EXPECT_TRUE(manager.init());
}

// Counts what the capture thread allocates, from one frame to a later one.
std::size_t allocationsOver(std::size_t frames, Nerio::Lumiq::Camera& camera) {
    RecordingCameraListener listener;
    std::atomic<std::size_t> seen{0};
    std::atomic<std::size_t> first{0};
    std::atomic<std::size_t> last{0};
    struct Counting : Nerio::Lumiq::CameraListener {
        std::function<void()> hook;
        void onCameraFrame(std::shared_ptr<GraphicBuffer> /*buffer*/) override { hook(); }
        void onCameraError(const std::string& /*message*/) override {}
    } counting;
    counting.hook = [&] {
        if (seen == 0) {
            first = TestSupport::threadAllocations();
        }
        if (seen == frames) {
            last = TestSupport::threadAllocations();
        }
        ++seen;
    };
    camera.setListener(&counting);
    EXPECT_TRUE(camera.startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(TestSupport::waitUntil([&] { return seen > frames; }));
    camera.stopCapture();
    camera.setListener(nullptr);
    return last - first;
}

TEST_F(AProcessThatRunsOut, OfNothingPaysOneAllocationAFrame) {
    const auto camera = plugAndOpen(yuyvCamera);
    EXPECT_EQ(allocationsOver(20, *camera), 20U);
}

TEST_F(AProcessThatRunsOut, OfNothingPaysNoAllocationForFramesThatNobodyListensTo) {
    const auto camera = plugAndOpen(yuyvCamera);
    std::size_t first = 0;
    std::size_t second = 0;
    RecordingCameraListener before;
    RecordingCameraListener after;
    // The listener's own book-keeping comes behind its hook.
    before.onFrame = [&](const auto&) {
        camera->setListener(nullptr);
        first = TestSupport::threadAllocations();
    };
    after.onFrame = [&](const auto&) {
        if (after.frameCount() == 0) {
            second = TestSupport::threadAllocations();
        }
    };
    camera->setListener(&before);
    ASSERT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    ASSERT_TRUE(before.waitForFrames(1));
    const std::uint64_t made = device().framesMade();
    ASSERT_TRUE(TestSupport::waitUntil([&] { return device().framesMade() > made + 20; }));
    camera->setListener(&after);
    ASSERT_TRUE(after.waitForFrames(1));
    camera->stopCapture();
    camera->setListener(nullptr);
    // The frame that the second listener got, and the first one's note of its only frame.
    EXPECT_LE(second - first, 3U);
}

}  // namespace
