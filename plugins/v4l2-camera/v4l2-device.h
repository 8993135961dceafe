// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Typed questions to an opened V4L2 capture device. Used by V4L2Camera on host threads, on
// the bus thread when the camera goes away, and for the running stream on the capture thread; it
// keeps no state but the descriptor.

#ifndef LUMIQ_V4L2_DEVICE_H
#define LUMIQ_V4L2_DEVICE_H

#include <linux/videodev2.h>

#include <cstdint>
#include <iterator>
#include <shared_mutex>
#include <span>
#include <utility>

#include "unique-fd.h"

namespace Nerio::Lumiq {

/// An opened device. Every question goes to the driver anew. Questions may be put on several
/// threads, and the device may be closed meanwhile.
class V4L2Device {
public:
    explicit V4L2Device(UniqueFd fd) noexcept : m_fd(std::move(fd)) {}

    /// For poll and mmap, by whoever keeps the device from being closed.
    [[nodiscard]] int fd() const noexcept { return m_fd.get(); }

    /// ioctl(2), repeated while a signal interrupts it. Returns 0 or the errno; ENODEV once the
    /// device is closed.
    [[nodiscard]] int request(unsigned long code, void* argument) const;

    /// False once the device is closed: what was listed since may not be all.
    [[nodiscard]] bool isOpen() const;

    /// Waits for the requests that other threads have under way, and closes the descriptor: the
    /// driver lets go of the stream then, which the next start relies on.
    void close();

    /// What the driver lists under rising indices until it says no: for (const auto& each : ...).
    template <typename Entry, unsigned long Code>
    class Enumeration;
    using Formats = Enumeration<v4l2_fmtdesc, VIDIOC_ENUM_FMT>;
    using FrameSizes = Enumeration<v4l2_frmsizeenum, VIDIOC_ENUM_FRAMESIZES>;
    using FrameIntervals = Enumeration<v4l2_frmivalenum, VIDIOC_ENUM_FRAMEINTERVALS>;

    [[nodiscard]] Formats formats() const;
    [[nodiscard]] FrameSizes frameSizes(std::uint32_t fourcc) const;
    /// `width` and `height` in pixels.
    [[nodiscard]] FrameIntervals frameIntervals(std::uint32_t fourcc, std::uint32_t width,
                                                std::uint32_t height) const;

    /// The candidate that comes first in its row among the codes that the driver lists; 0 when it
    /// lists none of them.
    [[nodiscard]] std::uint32_t bestListed(std::span<const std::uint32_t> candidates) const;

private:
    mutable std::shared_mutex m_mutex;  ///< Shared by requests, exclusive for closing.
    UniqueFd m_fd;
};

/// A single pass over one enumeration; the driver is asked as the loop advances.
template <typename Entry, unsigned long Code>
class V4L2Device::Enumeration {
public:
    class Iterator {
    public:
        explicit Iterator(Enumeration& owner) : m_owner(owner) { ask(); }
        const Entry& operator*() const { return m_owner.m_entry; }
        Iterator& operator++() {
            ++m_index;
            ask();
            return *this;
        }
        bool operator==(std::default_sentinel_t /*end*/) const { return m_atEnd; }

    private:
        void ask() {
            m_owner.m_entry = m_owner.m_question;
            m_owner.m_entry.index = m_index;
            m_atEnd = m_owner.m_device.request(Code, &m_owner.m_entry) != 0;
        }

        Enumeration& m_owner;
        std::uint32_t m_index = 0;
        bool m_atEnd = false;
    };

    Enumeration(const V4L2Device& device, const Entry& question)
        : m_device(device), m_question(question), m_entry(question) {}

    Iterator begin() { return Iterator(*this); }
    std::default_sentinel_t end() const { return {}; }

private:
    const V4L2Device& m_device;
    Entry m_question;
    Entry m_entry;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_V4L2_DEVICE_H
