// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How a camera gets its device and keeps it, and what is left when device or service fail.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <map>
#include <thread>

#include "camera-fixture.h"
#include "listed-entries.h"

namespace {

using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormat;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using TestSupport::CameraFixture;
using TestSupport::IsPoint;
using TestSupport::IsRate;
using TestSupport::ScriptedService;
using TestSupport::waitUntil;

constexpr const char* webcam = R"({"name": "Webcam", "formats": [
    {"fourcc": "MJPG", "sizes": ["640x480", "1280x720"]},
    {"fourcc": "YUYV", "sizes": ["640x480", "320x240"]}]})";

constexpr CameraCapabilityEx wish{1280, 720, {30, 1}};
constexpr auto sizeWidth = CameraCapabilityPriority::SizeWidth;

/// The descriptors of this process, with the files they are open on.
std::map<int, std::string> descriptors() {
    std::map<int, std::string> found;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        found[std::stoi(each.path().filename())] = std::filesystem::read_symlink(each, gone);
    }
    return found;
}

/// Those that are open on a file of this name.
std::vector<int> descriptorsOf(const std::string& file) {
    std::vector<int> found;
    for (const auto& [descriptor, name] : descriptors()) {
        if (name == file) {
            found.push_back(descriptor);
        }
    }
    return found;
}

/// How many there are, without those of simulated cameras: of these the simulator keeps one for
/// itself, and what the back end holds is told by the camera's open handles.
std::size_t openDescriptors() {
    const auto all = descriptors();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const auto& each) {
        return each.second.rfind("/memfd:lumiq-camera", 0) != 0;
    }));
}

/// How many of a camera's four questions get an answer. Listing formats counts when it has MJPG.
int answeredBy(Camera& camera) {
    int answered = camera.isFormatSupported(PixelFormat::MJPG) ? 1 : 0;
    std::vector<CameraCapability> capabilities;
    answered += camera.queryCapabilities(capabilities) && capabilities.size() == 2 ? 1 : 0;
    CameraCapabilityRanges ranges;
    answered += camera.queryCapabilityRanges(PixelFormat::YCbCrFlexible, ranges) &&
                        ranges.maxWidth == 1280 && ranges.minWidth == 640
                    ? 1
                    : 0;
    CameraCapabilityEx closest;
    answered += camera.findClosestCapability(PixelFormat::Encoded, wish, closest, sizeWidth) &&
                        closest.width == 1280
                    ? 1
                    : 0;
    return answered;
}

class ADevice : public CameraFixture {
protected:
    /// The camera's descriptor of its device, as seen at its next request.
    static int descriptorOf(Camera& camera) {
        std::vector<CameraCapability> capabilities;
        Simulator::startTrace();
        (void)camera.queryCapabilities(capabilities);
        for (const Simulator::TracedCall& call : Simulator::stopTrace()) {
            if (call.name == "VIDIOC_ENUM_FRAMESIZES") {
                return call.descriptor;
            }
        }
        return -1;
    }
};

TEST_F(ADevice, IsOpenedByTheFirstQuestionAndServesAllThatFollow) {
    const auto camera = plugAndOpen(webcam);
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 0);
    EXPECT_EQ(device().openHandles(), 0U);
    EXPECT_EQ(answeredBy(*camera), 4);
    const int descriptor = descriptorOf(*camera);
    EXPECT_EQ(answeredBy(*camera), 4);
    EXPECT_EQ(descriptorOf(*camera), descriptor);
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1);
    EXPECT_EQ(device().openHandles(), 1U);
}

TEST_F(ADevice, IsNeverAskedWhatItIsCapableOf) {
    const auto camera = plugAndOpen(webcam);
    Simulator::startTrace();
    EXPECT_EQ(answeredBy(*camera), 4);
    for (const std::string& request : TestSupport::requestsOf(Simulator::stopTrace())) {
        EXPECT_THAT(request, StartsWith("VIDIOC_ENUM_"));
    }
}

// The service sends a file that is no camera and would stay open in children.
TEST_F(ADevice, IsTheCamerasOwnDescriptorClosedOnExecAndTheOnlyOneOnceTheReplyIsGone) {
    TestSupport::ServiceObject plain;
    plain.open = [] { return ::memfd_create("plain", 0); };
    service->add(path(onlyCamera), plain);
    connect();
    auto camera = manager.openCamera(path(onlyCamera));
    EXPECT_EQ(answeredBy(*camera), 0);
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1);
    ASSERT_TRUE(waitUntil([] { return descriptorsOf("/memfd:plain (deleted)").size() == 1; }));
    EXPECT_EQ(::fcntl(descriptorsOf("/memfd:plain (deleted)").front(), F_GETFD), FD_CLOEXEC);
    camera.reset();
    EXPECT_THAT(descriptorsOf("/memfd:plain (deleted)"), IsEmpty());
}

TEST_F(ADevice, IsClosedWithItsCamera) {
    auto camera = plugAndOpen(webcam);
    ASSERT_EQ(answeredBy(*camera), 4);
    camera.reset();
    EXPECT_TRUE(closesEverything());
}

TEST_F(ADevice, LeavesNoDescriptorBehindHoweverOftenItIsOpened) {
    plug(onlyCamera, webcam);
    connect();
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        const auto camera = manager.openCamera(path(onlyCamera));
        EXPECT_EQ(answeredBy(*camera), 4);
        std::vector<CameraCapability> capabilities;
        EXPECT_TRUE(manager.queryCapabilities(path(onlyCamera), capabilities));
        EXPECT_THAT(manager.getSupportedFormats(path(onlyCamera)), SizeIs(7));
    }
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 60);
    EXPECT_TRUE(closesEverything());
    EXPECT_TRUE(waitUntil([&] { return openDescriptors() <= before; }));
}

TEST_F(ADevice, LeavesNothingBehindWhenTheServiceRefusesIt) {
    TestSupport::ServiceObject refusing;
    refusing.open = []() -> int { throw std::runtime_error("not today"); };
    service->add(path(onlyCamera), refusing);
    connect();
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(answeredBy(*manager.openCamera(path(onlyCamera))), 0);
    }
    EXPECT_TRUE(waitUntil([&] { return openDescriptors() <= before; }));
}

class ADeviceWhoseEveryRequestFails : public CameraFixture,
                                      public ::testing::WithParamInterface<const char*> {};

TEST_P(ADeviceWhoseEveryRequestFails, AnswersNothingAndLeavesNothingBehind) {
    plug(onlyCamera, webcam);
    connect();
    for (const std::string call :
         {"VIDIOC_ENUM_FMT", "VIDIOC_ENUM_FRAMESIZES", "VIDIOC_ENUM_FRAMEINTERVALS"}) {
        device().setFault(R"({"call": ")" + call + R"(", "errno": ")" + GetParam() +
                          R"(", "count": "always"})");
    }
    const std::size_t before = openDescriptors();
    {
        const auto camera = manager.openCamera(path(onlyCamera));
        EXPECT_EQ(answeredBy(*camera), 0);
        CameraCapabilityRanges ranges;
        EXPECT_FALSE(camera->queryCapabilityRanges(PixelFormat::MJPG, ranges));
        for (const auto priority : {sizeWidth, CameraCapabilityPriority::FpsHeight}) {
            CameraCapabilityEx closest{1, 2, {3, 4}};
            EXPECT_FALSE(camera->findClosestCapability(PixelFormat::MJPG, wish, closest, priority));
            EXPECT_THAT(closest, IsPoint(1, 2, 3, 4));
        }
        EXPECT_FALSE(camera->startCapture(wish, PixelFormat::MJPG));
    }
    EXPECT_TRUE(closesEverything());
    EXPECT_TRUE(waitUntil([&] { return openDescriptors() <= before; }));
}

INSTANTIATE_TEST_SUITE_P(With, ADeviceWhoseEveryRequestFails,
                         ::testing::Values("EINVAL", "ENODEV", "EIO", "EBUSY", "ENOTTY", "EPERM",
                                           "EAGAIN", "EBADF", "ENOMEM"),
                         [](const auto& each) { return std::string(each.param); });

TEST_F(ADevice, ThatIsUnpluggedAnswersNothingAnyMore) {
    auto camera = plugAndOpen(webcam);
    ASSERT_EQ(answeredBy(*camera), 4);
    device().unplug();
    EXPECT_EQ(answeredBy(*camera), 0);
    EXPECT_EQ(service->openCalls(path(onlyCamera)), 1);
    camera.reset();
    EXPECT_TRUE(closesEverything());
}

TEST_F(ADevice, ThatIsUnpluggedBeforeItIsOpenedIsRefusedByTheService) {
    const auto camera = plugAndOpen(webcam);
    device().unplug();
    EXPECT_THAT(camera->getSupportedFormats(), IsEmpty());
    EXPECT_THAT(
        log.messages(),
        ElementsAre(StartsWith("openDevice: Can't open a camera: io.nerio.Test.Refused / ")));
}

TEST_F(ADevice, ThatIsGoneFromTheServiceCannotBeOpened) {
    const auto camera = plugAndOpen(webcam);
    pull();
    EXPECT_EQ(answeredBy(*camera), 0);
    EXPECT_THAT(log.messages(), Each(StartsWith("openDevice: Can't open a camera: ")));
    EXPECT_THAT(log.messages(), SizeIs(4));
}

TEST_F(ADevice, ThatCannotBeOpenedLeavesWhatItWasToFillInAlone) {
    const auto camera = plugAndOpen(webcam);
    pull();
    std::vector<CameraCapability> capabilities{{1, 2, 3}};
    EXPECT_FALSE(camera->queryCapabilities(capabilities));
    EXPECT_THAT(capabilities, ElementsAre(TestSupport::IsCapability(1, 2, 3)));
    for (const PixelFormat format :
         {PixelFormat::MJPG, PixelFormat::YUV420Planar, PixelFormat::Raw, PixelFormat::Encoded}) {
        CameraCapabilityRanges ranges;
        ranges.minWidth = 77;
        ranges.maxFps = {7, 2};
        EXPECT_FALSE(camera->queryCapabilityRanges(format, ranges));
        EXPECT_THAT(ranges, TestSupport::AreSizes(77, 0, 0, 0, 0, 0));
        EXPECT_THAT(ranges.maxFps, IsRate(7, 2));
        for (const auto priority :
             {sizeWidth, CameraCapabilityPriority::SizeHeight, CameraCapabilityPriority::FpsWidth,
              CameraCapabilityPriority::FpsHeight}) {
            CameraCapabilityEx closest{1, 2, {3, 4}};
            EXPECT_FALSE(camera->findClosestCapability(format, wish, closest, priority));
            EXPECT_THAT(closest, IsPoint(1, 2, 3, 4));
        }
    }
}

// The capture thread is woken through it.
TEST_F(ADevice, HasACameraWhoseEventDescriptorNeverBlocksAndStaysOutOfChildren) {
    plug(onlyCamera, webcam);
    connect();
    const std::vector<int> before = descriptorsOf("anon_inode:[eventfd]");
    const auto camera = manager.openCamera(path(onlyCamera));
    std::vector<int> added = descriptorsOf("anon_inode:[eventfd]");
    std::erase_if(added, [&](int each) {
        return std::find(before.begin(), before.end(), each) != before.end();
    });
    ASSERT_THAT(added, SizeIs(1));
    EXPECT_NE(::fcntl(added.front(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(::fcntl(added.front(), F_GETFD), FD_CLOEXEC);
}

TEST_F(ADevice, CannotBeOpenedWhileTheServiceIsAwayAndCanOnceItIsBack) {
    const auto camera = plugAndOpen(webcam);
    service.reset();
    EXPECT_EQ(answeredBy(*camera), 0);
    EXPECT_THAT(log.messages(),
                Each(StartsWith("openDevice: Can't open a camera: org.freedesktop.DBus.Error.")));
    EXPECT_THAT(log.messages(), SizeIs(4));
    service = std::make_unique<ScriptedService>();
    plug(onlyCamera, webcam);
    EXPECT_EQ(answeredBy(*camera), 4);
}

TEST_F(ADevice, GoesOnServingACameraThatOpenedItBeforeServiceAndBusWent) {
    const auto camera = plugAndOpen(webcam);
    ASSERT_EQ(answeredBy(*camera), 4);
    service.reset();
    EXPECT_EQ(answeredBy(*camera), 4);
    processBus.bus().stop();
    EXPECT_EQ(answeredBy(*camera), 4);
}

TEST_F(ADevice, CannotBeOpenedWithoutTheBus) {
    const auto camera = plugAndOpen(webcam);
    service.reset();
    processBus.bus().stop();
    ASSERT_TRUE(log.waitForPrefix("runEventLoop: "));
    log.clear();
    EXPECT_EQ(answeredBy(*camera), 0);
    EXPECT_THAT(log.messages(), Each(StartsWith("openDevice: Can't open a camera: ")));
    EXPECT_THAT(log.messages(), SizeIs(4));
}

constexpr int threadCount = 4;
constexpr int rounds = 15;

/// Runs the work on several threads and returns what each call gave, added up.
int sumOverThreads(const std::function<int()>& work) {
    std::atomic<int> sum{0};
    std::vector<std::thread> threads;
    for (int each = 0; each < threadCount; ++each) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                sum += work();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return sum;
}

TEST_F(ADevice, AnswersSeveralThreadsThatShareACamera) {
    const auto camera = plugAndOpen(webcam);
    EXPECT_EQ(sumOverThreads([&] { return answeredBy(*camera); }), threadCount * rounds * 4);
    EXPECT_TRUE(waitUntil([&] { return device().openHandles() == 1; }));
}

TEST_F(ADevice, AnswersSeveralThreadsThatShareTheManager) {
    plug(onlyCamera, webcam);
    connect();
    const std::string id = path(onlyCamera);
    EXPECT_EQ(
        sumOverThreads([&] {
            std::vector<CameraCapability> capabilities;
            CameraCapabilityRanges ranges;
            CameraCapabilityEx closest;
            return (manager.queryCapabilities(id, capabilities) ? 1 : 0) +
                   (manager.queryCapabilityRanges(id, PixelFormat::Raw, ranges) ? 1 : 0) +
                   (manager.findClosestCapability(id, PixelFormat::Raw, wish, closest, sizeWidth)
                        ? 1
                        : 0) +
                   (manager.getSupportedFormats(id).size() == 7 ? 1 : 0);
        }),
        threadCount * rounds * 4);
    EXPECT_EQ(service->openCalls(id), threadCount * rounds * 4);
    EXPECT_TRUE(closesEverything());
}

TEST_F(ADevice, MayBeUnpluggedWhileItAnswersSeveralThreads) {
    auto camera = plugAndOpen(webcam);
    std::atomic<bool> answering{false};
    std::thread cable([&] {
        EXPECT_TRUE(waitUntil([&] { return answering.load(); }));
        pull();
    });
    (void)sumOverThreads([&] {
        const int answered = answeredBy(*camera);
        answering = true;
        return answered;
    });
    cable.join();
    EXPECT_EQ(answeredBy(*camera), 0);
    camera.reset();
    EXPECT_TRUE(closesEverything());
}

}  // namespace
