// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a camera does when the process runs out of descriptors or threads, or holds one of them up
// at the wrong moment, and what it takes of memory for each frame.

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <functional>
#include <future>
#include <utility>

#include "allocation-count.h"
#include "capture-fixture.h"
#include "owned.h"

namespace {

// How many more threads the process may have.
constexpr int plenty = 1 << 20;
std::atomic<int> threadsLeft{plenty};

// Whether the process has descriptors left for this thread. Those of the bus library and of the
// checkers are spared: without them they break the connection, or take every object for a broken
// one.
thread_local bool descriptorsLeft = true;

// Runs once, before this thread duplicates a descriptor.
thread_local std::function<void()> beforeDuplicate;

}  // namespace

// These stand in libc's place for the whole process, the library included.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    return threadsLeft.fetch_sub(1) <= 0 ? EAGAIN : create(thread, attributes, start, argument);
}

extern "C" [[gnu::visibility("default")]] int eventfd(unsigned count, int flags) {
    using Create = int (*)(unsigned, int);
    static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "eventfd"));
    if (!descriptorsLeft) {
        errno = EMFILE;
        return -1;
    }
    return create(count, flags);
}

extern "C" [[gnu::visibility("default")]] int fcntl(int fd, int command, ...) {
    using Control = int (*)(int, int, void*);
    static const auto control = reinterpret_cast<Control>(::dlsym(RTLD_NEXT, "fcntl"));
    if (command == F_DUPFD_CLOEXEC && !descriptorsLeft) {
        errno = EMFILE;
        return -1;
    }
    if (command == F_DUPFD_CLOEXEC && beforeDuplicate) {
        std::exchange(beforeDuplicate, nullptr)();
    }
    std::va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return control(fd, command, argument);
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
using TestSupport::HostThread;
using TestSupport::RecordingCameraListener;
using TestSupport::vga;

constexpr const char* yuyvCamera = R"({"name": "Scarce", "intervals": ["1/100"], "formats": [
    {"fourcc": "YUYV", "sizes": ["640x480"]}]})";

class AProcessThatRunsOut : public CaptureFixture {};

TEST_F(AProcessThatRunsOut, OfDescriptorsGetsACameraWithoutAWakeUpThatStillEnumeratesAndStops) {
    plug(onlyCamera, yuyvCamera);
    connect();
    descriptorsLeft = false;
    const auto camera = manager.openCamera(path(onlyCamera));
    descriptorsLeft = true;
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

// Where the bus library itself runs out of descriptors while it reads a reply, it breaks the
// connection; here the library's own duplicate is what fails.
TEST_F(AProcessThatRunsOut, OfDescriptorsFailsToOpenADeviceWithAReason) {
    plug(onlyCamera, yuyvCamera);
    connect();
    descriptorsLeft = false;
    EXPECT_THAT(manager.getSupportedFormats(path(onlyCamera)), IsEmpty());
    descriptorsLeft = true;
    EXPECT_THAT(log.messages(),
                Contains("openDevice: Can't open a camera: dup: Too many open files"));
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

class AThreadThatIsHeldUp : public CaptureFixture {};

// What carries a descriptor to the host may hold it until it carries the next one.
TEST_F(AThreadThatIsHeldUp, WhileItOpensItsDeviceDoesNotStartWithAnOlderOneThanOthersHaveUsed) {
    const auto device =
        std::make_shared<Simulator::SimulatedDevice>(Simulator::parseDescription(yuyvCamera));
    TestSupport::ServiceObject object;
    object.open = [device, carried = std::make_shared<Simulator::OwnedDescriptor>()] {
        *carried = {};
        const int descriptor = device->open();
        *carried = Simulator::OwnedDescriptor(::dup(descriptor));
        return descriptor;
    };
    service->add(path(onlyCamera), object);
    connect();
    const auto camera = manager.openCamera(path(onlyCamera));
    std::promise<void> isHeld;
    std::promise<void> release;
    HostThread slow([&] {
        beforeDuplicate = [&] {
            isHeld.set_value();
            release.get_future().wait();
        };
        EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    });
    isHeld.get_future().wait();
    EXPECT_TRUE(camera->startCapture(vga, PixelFormat::YUYV));
    EXPECT_TRUE(camera->stopCapture());
    release.set_value();
    slow.join();
    EXPECT_TRUE(camera->captureStarted()) << log.text();
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 3);
    EXPECT_TRUE(camera->stopCapture());
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
