// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// V4L2 in short, for the tests of the simulated camera: a file handle with its mapped buffers.
// Functions hand back the errno of the call, 0 for success. On the test's thread.

#ifndef LUMIQ_TESTS_SIMULATOR_CAMERA_HANDLE_H
#define LUMIQ_TESTS_SIMULATOR_CAMERA_HANDLE_H

#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "simulated-device.h"

namespace SimulatorTest {

/// A description with one size of one format at 100 frames per second, and more members as wanted.
inline std::string describedAs(const std::string& format, const std::string& size,
                               const std::string& more = "") {
    return R"({"name": "Test camera", "formats": [{"fourcc": ")" + format + R"(", "sizes": [")" +
           size + R"("], "intervals": ["1/100", "1/50"]}])" + (more.empty() ? "" : ", ") + more +
           "}";
}

inline Simulator::SimulatedDevice makeDevice(const std::string& json) {
    return Simulator::SimulatedDevice(Simulator::parseDescription(json));
}

class CameraHandle {
public:
    explicit CameraHandle(const Simulator::SimulatedDevice& device) : m_descriptor(device.open()) {}
    explicit CameraHandle(int descriptor) : m_descriptor(descriptor) {}
    CameraHandle(CameraHandle&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)),
          m_mapped(std::exchange(other.m_mapped, {})) {}
    CameraHandle& operator=(CameraHandle&&) = delete;
    ~CameraHandle() {
        unmap();
        close();
    }

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    void close() {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

    template <typename Argument>
    int call(unsigned long request, Argument& argument) const {
        return ioctl(m_descriptor, request, &argument) == 0 ? 0 : errno;
    }

    int setFormat(const char (&code)[5], std::uint32_t width, std::uint32_t height) {
        m_format = {};
        m_format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        m_format.fmt.pix.pixelformat = Simulator::fourcc(code);
        m_format.fmt.pix.width = width;
        m_format.fmt.pix.height = height;
        return call(VIDIOC_S_FMT, m_format);
    }
    /// What the last setFormat() answered.
    [[nodiscard]] const v4l2_pix_format& format() const { return m_format.fmt.pix; }

    int requestBuffers(std::uint32_t count) {
        v4l2_requestbuffers request{};
        request.count = count;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        const int error = call(VIDIOC_REQBUFS, request);
        m_granted = request.count;
        return error;
    }
    [[nodiscard]] std::uint32_t granted() const { return m_granted; }

    static v4l2_buffer buffer(std::uint32_t index = 0) {
        v4l2_buffer buffer{};
        buffer.index = index;
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        return buffer;
    }
    [[nodiscard]] int query(v4l2_buffer& asked) const { return call(VIDIOC_QUERYBUF, asked); }
    [[nodiscard]] int queue(std::uint32_t index) const {
        v4l2_buffer queued = buffer(index);
        return call(VIDIOC_QBUF, queued);
    }
    int dequeue() {
        m_last = buffer();
        return call(VIDIOC_DQBUF, m_last);
    }
    /// What the last dequeue() answered.
    [[nodiscard]] const v4l2_buffer& last() const { return m_last; }

    int map(std::uint32_t index) {
        v4l2_buffer asked = buffer(index);
        if (const int error = query(asked)) {
            return error;
        }
        void* const address = mmap(nullptr, asked.length, PROT_READ, MAP_SHARED, m_descriptor,
                                   static_cast<off_t>(asked.m.offset));
        if (address == MAP_FAILED) {
            return errno;
        }
        m_mapped.push_back({static_cast<const std::uint8_t*>(address), asked.length});
        return 0;
    }
    void unmap() {
        for (const auto& [address, length] : std::exchange(m_mapped, {})) {
            munmap(const_cast<std::uint8_t*>(address), length);
        }
    }
    [[nodiscard]] const std::uint8_t* data(std::uint32_t index) const {
        return m_mapped.at(index).first;
    }

    [[nodiscard]] int stream(bool on) const {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        return call(on ? VIDIOC_STREAMON : VIDIOC_STREAMOFF, type);
    }

    /// Buffers mapped and queued, stream on.
    int start(std::uint32_t count = 4) {
        int error = requestBuffers(count);
        for (std::uint32_t i = 0; error == 0 && i < m_granted; ++i) {
            error = map(i);
            error = error == 0 ? queue(i) : error;
        }
        return error == 0 ? stream(true) : error;
    }

    /// The bits of poll; waits long enough for anything that is to come.
    [[nodiscard]] short poll(short events = POLLIN, int milliseconds = 20000) const {
        pollfd polled = {m_descriptor, events, 0};
        return ::poll(&polled, 1, milliseconds) < 0 ? static_cast<short>(-1) : polled.revents;
    }

    /// Waits for a frame and takes it; the errno of the dequeue.
    int next() {
        static_cast<void>(poll());
        return dequeue();
    }
    /// The same, and gives the buffer back.
    int take() {
        const int error = next();
        return error == 0 ? queue(m_last.index) : error;
    }

private:
    int m_descriptor;
    v4l2_format m_format{};
    std::uint32_t m_granted = 0;
    v4l2_buffer m_last{};
    std::vector<std::pair<const std::uint8_t*, std::size_t>> m_mapped;
};

}  // namespace SimulatorTest

#endif
