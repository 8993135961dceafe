// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Makes the memory file of a camera and works its control block. Called by the camera's owner, on
// any thread.

#include "simulated-device.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "control-block.h"
#include "frame-choice.h"
#include "owned.h"
#include "raw-calls.h"

namespace Simulator {
namespace {

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

OwnedDescriptor makeFile() {
    OwnedDescriptor file(memfd_create("lumiq-camera", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (file.get() < 0) {
        throwErrno("making the camera's file");
    }
    if (ftruncate(file.get(), static_cast<off_t>(ControlBlock::fileBytes)) != 0 ||
        fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        throwErrno("sizing the camera's file");
    }
    return file;
}

void writeText(int descriptor, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t now = pwrite(descriptor, text.data() + written, text.size() - written,
                                   static_cast<off_t>(ControlBlock::jsonOffset + written));
        if (now < 0) {
            throwErrno("writing the camera's description");
        }
        written += static_cast<std::size_t>(now);
    }
}

}  // namespace

struct SimulatedDevice::Shared {
    explicit Shared(CameraDescription described)
        : description(std::move(described)),
          file(makeFile()),
          mapping(file.get(), 0, sizeof(ControlBlock)) {
        if (mapping.address() == nullptr) {
            throwErrno("mapping the camera's control block");
        }
        writeText(file.get(), description.json);
    }
    [[nodiscard]] ControlBlock& control() const {
        return *reinterpret_cast<ControlBlock*>(mapping.address());
    }

    CameraDescription description;
    OwnedDescriptor file;
    OwnedMapping mapping;
};

SimulatedDevice::SimulatedDevice(const CameraDescription& description)
    : m_shared(std::make_unique<Shared>(parseDescription(description.json))) {
    ControlBlock& control = m_shared->control();
    control.jsonBytes = static_cast<std::uint32_t>(description.json.size());
    const FrameChoice choice = defaultChoice(m_shared->description);
    control.format.store(packFormat(choice));
    control.interval.store(packInterval(choice.interval));
    for (const Fault& fault : m_shared->description.faults) {
        addFault(control, fault);
    }
    control.magic.store(ControlBlock::magicNumber, std::memory_order_release);
}

SimulatedDevice::~SimulatedDevice() = default;
SimulatedDevice::SimulatedDevice(SimulatedDevice&& other) noexcept = default;
SimulatedDevice& SimulatedDevice::operator=(SimulatedDevice&& other) noexcept = default;

int SimulatedDevice::open() const {
    if (unplugged()) {
        throw std::system_error(ENODEV, std::generic_category(), "opening the camera");
    }
    OwnedDescriptor opened(reopen(m_shared->file.get(), O_RDWR | O_NONBLOCK));
    if (opened.get() < 0) {
        throwErrno("opening the camera");
    }
    // The handle's number is the position in the file: it belongs to the open file description, so
    // duplicates have it too, wherever they are.
    const std::uint64_t handle = m_shared->control().lastHandle.fetch_add(1) + 1;
    if (rawSeek(opened.get(), static_cast<off_t>(handle), SEEK_SET) < 0 ||
        !takeHandleLock(opened.get(), handle)) {
        throwErrno("numbering the camera's handle");
    }
    return opened.release();
}

void SimulatedDevice::unplug() {
    unplugDevice(m_shared->control());
}

bool SimulatedDevice::unplugged() const {
    return m_shared->control().unplugged.load(std::memory_order_acquire) != 0;
}

bool SimulatedDevice::waitUntilUnplugged(std::chrono::milliseconds limit) const {
    const auto until = std::chrono::steady_clock::now() + limit;
    const ControlBlock& control = m_shared->control();
    while (!unplugged() && std::chrono::steady_clock::now() < until) {
        const std::uint32_t seen = control.wake.load(std::memory_order_acquire);
        if (!unplugged()) {
            waitForRing(control, seen, until);
        }
    }
    return unplugged();
}

void SimulatedDevice::setFault(std::string_view faultJson) {
    if (!addFault(m_shared->control(), parseFault(faultJson))) {
        throw DescriptionError("all " + std::to_string(ControlBlock::faultSlots) +
                               " places for faults are taken; clear the faults first");
    }
}

void SimulatedDevice::clearFaults() {
    removeFaults(m_shared->control());
}

std::uint32_t SimulatedDevice::capabilities() const {
    return m_shared->description.capabilities;
}
std::uint32_t SimulatedDevice::deviceCaps() const {
    return m_shared->description.deviceCaps;
}
const std::string& SimulatedDevice::name() const {
    return m_shared->description.name;
}

bool SimulatedDevice::isHandle(int descriptor) const {
    // System calls of their own: a preloaded simulator stands in for the functions.
    struct stat ours {};
    struct stat theirs {};
    return rawStat(m_shared->file.get(), &ours) == 0 && rawStat(descriptor, &theirs) == 0 &&
           ours.st_ino == theirs.st_ino && ours.st_dev == theirs.st_dev &&
           rawSeek(descriptor, 0, SEEK_CUR) > 0;
}

unsigned SimulatedDevice::openHandles() const {
    unsigned handles = 0;
    for (std::uint64_t handle = nextLiveHandle(m_shared->file.get(), 1); handle != 0;
         handle = nextLiveHandle(m_shared->file.get(), handle + 1)) {
        ++handles;
    }
    return handles;
}

std::uint64_t SimulatedDevice::framesMade() const {
    return m_shared->control().framesMade.load(std::memory_order_relaxed);
}

}  // namespace Simulator
