// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A simulated camera in the process of a host: answers the requests of V4L2 as the kernel and its
// UVC driver do. Called on the host's threads.
//
// Who may set the format and stream is settled across processes, in the control block: the first
// handle that sets something owns the camera until it is closed or frees its buffers.

#ifndef LUMIQ_SIMULATOR_DEVICE_H
#define LUMIQ_SIMULATOR_DEVICE_H

#include <linux/videodev2.h>
#include <sys/stat.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "camera-description.h"
#include "control-block.h"
#include "frame-choice.h"
#include "owned.h"
#include "stream.h"

namespace Simulator {

/// Requests return an errno, 0 for success.
class Device {
public:
    /// Joins the camera behind a descriptor; null when there is none.
    static std::shared_ptr<Device> attach(int descriptor);

    [[nodiscard]] bool isBehind(const struct stat& status) const {
        return status.st_ino == m_inode && status.st_dev == m_device;
    }

    int request(std::uint64_t handle, int descriptor, std::uint32_t request, void* argument);
    /// Checks a mapping and names the memory it is to show.
    int map(std::uint64_t handle, std::size_t bytes, int protection, int flags,
            std::uint64_t offset, std::shared_ptr<BufferMemory>& memory);
    /// The bits of poll, without waiting. Counts no faults.
    short pollEvents(short wanted) { return m_stream.pollEvents(wanted); }
    int readyDescriptor(bool frames) { return m_stream.readyDescriptor(frames); }
    StruckFaults countPoll() { return countEvent(m_control, eventPoll); }

    /// Remembers a handle, so that its end is noticed.
    void noteHandle(std::uint64_t handle);
    /// Forgets handles that are closed, and what they owned. Returns how many are left.
    std::size_t reap();
    [[nodiscard]] std::size_t handles();

    Device(OwnedDescriptor file, OwnedMapping mapping, CameraDescription description,
           const struct stat& status);

private:
    [[nodiscard]] bool gone() const {
        return m_control.unplugged.load(std::memory_order_acquire) != 0;
    }
    [[nodiscard]] FrameChoice current() const;
    [[nodiscard]] std::uint32_t currentBytes() const;

    // Ownership and priority, with m_mutex held
    int claim(std::uint64_t handle);  ///< checks the priority and acquires
    int acquire(std::uint64_t handle);
    [[nodiscard]] bool owns(std::uint64_t handle) const;
    [[nodiscard]] bool ownedByOther(std::uint64_t handle) const;
    void dismiss(std::uint64_t handle);
    [[nodiscard]] std::uint32_t highestPriority() const;
    int checkPriority(std::uint64_t handle) const;

    int dispatch(std::uint64_t handle, std::uint32_t request, void* argument);
    int dispatchQueue(std::uint64_t handle, std::uint32_t request, void* argument);
    int dequeue(std::uint64_t handle, int descriptor, v4l2_buffer& buffer);

    int queryCapabilities(v4l2_capability& answer) const;
    int enumerateFormats(v4l2_fmtdesc& answer) const;
    int enumerateSizes(v4l2_frmsizeenum& answer) const;
    int enumerateIntervals(v4l2_frmivalenum& answer) const;
    int getFormat(v4l2_format& answer) const;
    int tryFormat(v4l2_format& answer) const;
    int setFormat(std::uint64_t handle, v4l2_format& answer);
    int getParameters(v4l2_streamparm& answer) const;
    int setParameters(std::uint64_t handle, v4l2_streamparm& answer);
    int enumerateInputs(v4l2_input& answer) const;
    int setInput(std::uint64_t handle, int input);
    int setPriority(std::uint64_t handle, std::uint32_t priority);

    int requestBuffers(std::uint64_t handle, v4l2_requestbuffers& answer);
    int createBuffers(std::uint64_t handle, v4l2_create_buffers& answer);
    int streamOn(std::uint64_t handle, int type);
    int streamOff(std::uint64_t handle, int type);

    const std::shared_ptr<const OwnedDescriptor> m_file;
    const OwnedMapping m_mapping;
    ControlBlock& m_control;
    const CameraDescription m_description;
    const dev_t m_device;
    const ino_t m_inode;

    std::mutex m_mutex;
    std::map<std::uint64_t, std::uint32_t> m_priorities;  ///< of every handle
    StruckFaults m_struck;                                ///< by the request at work
    Stream m_stream;
};

}  // namespace Simulator

#endif
