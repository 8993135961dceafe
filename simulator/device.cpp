// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A simulated camera's handles, and the way of a request to its answer. Called on the host's
// threads.

#include "device.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "raw-calls.h"
#include "request-names.h"

namespace Simulator {
namespace {

template <typename Argument>
Argument& as(void* argument) {
    return *static_cast<Argument*>(argument);
}

}  // namespace

std::shared_ptr<Device> Device::attach(int descriptor) {
    // An open file description of its own, so that looking never keeps a handle alive.
    OwnedDescriptor file(reopen(descriptor, O_RDWR));
    struct stat status {};
    if (file.get() < 0 || rawStat(file.get(), &status) != 0) {
        return nullptr;
    }
    OwnedMapping mapping(file.get(), 0, ControlBlock::arenaOffset);
    if (mapping.address() == nullptr) {
        return nullptr;
    }
    const auto* const control = reinterpret_cast<const ControlBlock*>(mapping.address());
    if (control->magic.load(std::memory_order_acquire) != ControlBlock::magicNumber ||
        control->jsonBytes > ControlBlock::maxJsonBytes) {
        return nullptr;
    }
    const std::string_view json(
        reinterpret_cast<const char*>(mapping.address() + ControlBlock::jsonOffset),
        control->jsonBytes);
    try {
        CameraDescription description = parseDescription(json);
        return std::make_shared<Device>(std::move(file), std::move(mapping), std::move(description),
                                        status);
    } catch (const DescriptionError&) {
        return nullptr;
    }
}

Device::Device(OwnedDescriptor file, OwnedMapping mapping, CameraDescription description,
               const struct stat& status)
    : m_file(std::make_shared<const OwnedDescriptor>(std::move(file))),
      m_mapping(std::move(mapping)),
      m_control(*reinterpret_cast<ControlBlock*>(m_mapping.address())),
      m_description(std::move(description)),
      m_device(status.st_dev),
      m_inode(status.st_ino),
      m_stream(m_file, m_control, m_description.picture) {}

void Device::noteHandle(std::uint64_t handle) {
    const std::lock_guard lock(m_mutex);
    m_priorities.try_emplace(handle, V4L2_PRIORITY_DEFAULT);
}

std::size_t Device::reap() {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_priorities, [this](const auto& known) {
        if (handleAlive(m_file->get(), known.first)) {
            return false;
        }
        if (owns(known.first)) {
            std::uint32_t none = 0;
            m_stream.off();
            m_stream.requestBuffers(none, 0);
            dismiss(known.first);
        }
        return true;
    });
    return m_priorities.size();
}

std::size_t Device::handles() {
    const std::lock_guard lock(m_mutex);
    return m_priorities.size();
}

FrameChoice Device::current() const {
    return unpack(m_control.format.load(), m_control.interval.load());
}

int Device::acquire(std::uint64_t handle) {
    std::uint64_t owner = m_control.owner.load();
    if (owner == handle) {
        return 0;
    }
    if (owner != 0 && handleAlive(m_file->get(), owner)) {
        return EBUSY;
    }
    if (!m_control.owner.compare_exchange_strong(owner, handle)) {
        return EBUSY;
    }
    // What an owner that is gone left behind in this process goes too.
    std::uint32_t none = 0;
    m_stream.off();
    m_stream.requestBuffers(none, 0);
    return 0;
}

int Device::claim(std::uint64_t handle) {
    const int error = checkPriority(handle);
    return error == 0 ? acquire(handle) : error;
}

bool Device::owns(std::uint64_t handle) const {
    return m_control.owner.load() == handle;
}

bool Device::ownedByOther(std::uint64_t handle) const {
    const std::uint64_t owner = m_control.owner.load();
    return owner != 0 && owner != handle && handleAlive(m_file->get(), owner);
}

void Device::dismiss(std::uint64_t handle) {
    m_control.owner.compare_exchange_strong(handle, 0);
}

std::uint32_t Device::highestPriority() const {
    std::uint32_t highest = V4L2_PRIORITY_UNSET;
    for (const auto& [handle, priority] : m_priorities) {
        highest = std::max(highest, priority);
    }
    return highest;
}

int Device::checkPriority(std::uint64_t handle) const {
    return m_priorities.at(handle) < highestPriority() ? EBUSY : 0;
}

int Device::request(std::uint64_t handle, int descriptor, std::uint32_t request, void* argument) {
    noteHandle(handle);
    if (gone()) {
        return ENODEV;
    }
    const StruckFaults struck = countEvent(m_control, request);
    if (const StruckFault* const fault = struck.find(FaultKind::CallErrno)) {
        return static_cast<int>(fault->fault.value);
    }
    if (!isRequest(request)) {
        return ENOTTY;
    }
    if (argument == nullptr) {
        return EFAULT;
    }
    if (request == VIDIOC_DQBUF) {
        // Without the lock: this one waits.
        const int error = dequeue(handle, descriptor, as<v4l2_buffer>(argument));
        const StruckFault* const fault = struck.find(FaultKind::DequeueIndex);
        if (error == 0 && fault != nullptr) {
            as<v4l2_buffer>(argument).index = fault->fault.value;
        }
        return error;
    }
    const std::lock_guard lock(m_mutex);
    m_struck = struck;
    return dispatch(handle, request, argument);
}

int Device::dispatch(std::uint64_t handle, std::uint32_t request, void* argument) {
    switch (request) {
        case VIDIOC_QUERYCAP:
            return queryCapabilities(as<v4l2_capability>(argument));
        case VIDIOC_ENUM_FMT:
            return enumerateFormats(as<v4l2_fmtdesc>(argument));
        case VIDIOC_ENUM_FRAMESIZES:
            return enumerateSizes(as<v4l2_frmsizeenum>(argument));
        case VIDIOC_ENUM_FRAMEINTERVALS:
            return enumerateIntervals(as<v4l2_frmivalenum>(argument));
        case VIDIOC_G_FMT:
            return getFormat(as<v4l2_format>(argument));
        case VIDIOC_TRY_FMT:
            return tryFormat(as<v4l2_format>(argument));
        case VIDIOC_S_FMT:
            return setFormat(handle, as<v4l2_format>(argument));
        case VIDIOC_G_PARM:
            return getParameters(as<v4l2_streamparm>(argument));
        case VIDIOC_S_PARM:
            return setParameters(handle, as<v4l2_streamparm>(argument));
        case VIDIOC_ENUMINPUT:
            return enumerateInputs(as<v4l2_input>(argument));
        case VIDIOC_G_INPUT:
            as<int>(argument) = 0;
            return 0;
        case VIDIOC_S_INPUT:
            return setInput(handle, as<int>(argument));
        case VIDIOC_G_PRIORITY:
            as<std::uint32_t>(argument) = highestPriority();
            return 0;
        case VIDIOC_S_PRIORITY:
            return setPriority(handle, as<std::uint32_t>(argument));
        default:
            return dispatchQueue(handle, request, argument);
    }
}

int Device::setPriority(std::uint64_t handle, std::uint32_t priority) {
    if (const int error = checkPriority(handle)) {
        return error;
    }
    if (priority < V4L2_PRIORITY_BACKGROUND || priority > V4L2_PRIORITY_RECORD) {
        return EINVAL;
    }
    m_priorities[handle] = priority;
    return 0;
}

}  // namespace Simulator
