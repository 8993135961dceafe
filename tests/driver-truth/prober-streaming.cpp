// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Buffers, streams and frames.

#include <poll.h>
#include <sys/mman.h>

#include <cerrno>
#include <stdexcept>

#include "frame-number.h"
#include "prober.h"
#include "words.h"

namespace DriverTruth {
namespace {

constexpr int generousMilliseconds = 20000;

/// The words after a buffer's index: a type and a memory, both of which have a usual value.
void readKind(std::istringstream& rest, std::uint32_t& type, std::uint32_t& memory) {
    std::string typeName = "capture", memoryName = "mmap";
    rest >> typeName;
    rest >> memoryName;
    type = bufferType(typeName.empty() ? "capture" : typeName);
    memory = memoryType(memoryName.empty() ? "mmap" : memoryName);
}

v4l2_buffer readBuffer(std::istringstream& rest, bool withIndex) {
    v4l2_buffer buffer{};
    if (withIndex) {
        rest >> buffer.index;
    }
    readKind(rest, buffer.type, buffer.memory);
    return buffer;
}

}  // namespace

std::string Prober::requestBuffers(Arguments& rest) {
    v4l2_requestbuffers answer{};
    const Handle& camera = handle(rest);
    rest >> answer.count;
    readKind(rest, answer.type, answer.memory);
    const std::string result = outcome(request(camera, VIDIOC_REQBUFS, &answer));
    return result != "ok" ? result : result + " count=" + std::to_string(answer.count);
}

/// What the queue can do; gives up all buffers.
std::string Prober::bufferCapabilities(Arguments& rest) {
    v4l2_requestbuffers answer{};
    answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    answer.memory = V4L2_MEMORY_MMAP;
    const std::string result = outcome(request(handle(rest), VIDIOC_REQBUFS, &answer));
    return result != "ok" ? result : result + " " + hexadecimal(answer.capabilities);
}

std::string Prober::createBuffers(Arguments& rest) {
    v4l2_create_buffers answer{};
    const Handle& camera = handle(rest);
    std::uint32_t image = 0;
    rest >> answer.count >> image;
    answer.memory = V4L2_MEMORY_MMAP;
    answer.format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    answer.format.fmt.pix = camera.format;
    answer.format.fmt.pix.sizeimage = image;
    const std::string result = outcome(request(camera, VIDIOC_CREATE_BUFS, &answer));
    return result != "ok" ? result
                          : result + " count=" + std::to_string(answer.count) +
                                " first=" + std::to_string(answer.index);
}

std::string Prober::queryBuffer(Arguments& rest) {
    const Handle& camera = handle(rest);
    v4l2_buffer buffer = readBuffer(rest, true);
    const std::string result = outcome(request(camera, VIDIOC_QUERYBUF, &buffer));
    return result != "ok" ? result
                          : result + " length=" + std::to_string(buffer.length) +
                                " used=" + std::to_string(buffer.bytesused) +
                                " flags=" + bufferFlags(buffer.flags);
}

std::string Prober::queueBuffer(Arguments& rest) {
    const Handle& camera = handle(rest);
    v4l2_buffer buffer = readBuffer(rest, true);
    const std::string result = outcome(request(camera, VIDIOC_QBUF, &buffer));
    return result != "ok" ? result : result + " flags=" + bufferFlags(buffer.flags);
}

std::string Prober::dequeueBuffer(Arguments& rest) {
    Handle& camera = handle(rest);
    v4l2_buffer buffer = readBuffer(rest, false);
    return dequeue(camera, buffer);
}

std::string Prober::dequeue(Handle& camera, v4l2_buffer& buffer) {
    const std::string result = outcome(request(camera, VIDIOC_DQBUF, &buffer));
    if (result != "ok") {
        return result;
    }
    const bool fits = buffer.bytesused <= buffer.length;
    return result + " index=" + std::to_string(buffer.index) +
           " flags=" + bufferFlags(buffer.flags) + " field=" + std::to_string(buffer.field) +
           " sequence=" + std::to_string(buffer.sequence) + pictureNumber(camera, buffer) +
           (fits ? "" : " too long");
}

/// The number in the picture, or how long the picture is where it has none.
std::string Prober::pictureNumber(const Handle& camera, const v4l2_buffer& buffer) {
    const v4l2_pix_format& pixels = camera.format;
    const auto mapped = camera.mapped.find(buffer.index);
    std::optional<std::uint32_t> number;
    if (mapped != camera.mapped.end() && buffer.bytesused == pixels.sizeimage &&
        pixels.pixelformat == V4L2_PIX_FMT_YUYV) {
        number = Simulator::readFrameNumber(mapped->second.address, pixels.bytesperline,
                                            pixels.width, pixels.height, 2);
    }
    return number ? " picture=" + std::to_string(*number)
                  : " used=" + std::to_string(buffer.bytesused);
}

/// "mmap a 0 [BYTES [OFFSET]]": of a buffer by its index, or anything else.
std::string Prober::map(Arguments& rest) {
    Handle& camera = handle(rest);
    v4l2_buffer buffer{};
    rest >> buffer.index;
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    request(camera, VIDIOC_QUERYBUF, &buffer);
    std::size_t bytes = buffer.length;
    long offset = buffer.m.offset;
    rest >> bytes >> offset;
    if (bytes == 0) {
        bytes = buffer.length != 0 ? buffer.length : 4096;
    }
    void* const address =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, camera.descriptor, offset);
    if (address == MAP_FAILED) {
        return errnoName(errno);
    }
    camera.mapped[buffer.index] = {static_cast<std::uint8_t*>(address), bytes};
    return "ok";
}

std::string Prober::unmap(Arguments& rest) {
    Handle& camera = handle(rest);
    std::uint32_t index = 0;
    rest >> index;
    const Mapping mapping = camera.mapped.at(index);
    camera.mapped.erase(index);
    return outcome(munmap(mapping.address, mapping.bytes));
}

/// Reads a mapped buffer, which is allowed whatever became of the camera.
std::string Prober::look(Arguments& rest) {
    const Handle& camera = handle(rest);
    std::uint32_t index = 0;
    rest >> index;
    const Mapping& mapping = camera.mapped.at(index);
    unsigned sum = 0;
    for (std::size_t i = 0; i < mapping.bytes; i += 64) {
        sum += mapping.address[i];
    }
    return sum > 0 ? "ok" : "ok nothing but zeros";
}

std::string Prober::stream(Arguments& rest) {
    const Handle& camera = handle(rest);
    std::string way, type = "capture";
    rest >> way;
    rest >> type;
    int value = static_cast<int>(bufferType(type.empty() ? "capture" : type));
    return outcome(request(camera, way == "on" ? VIDIOC_STREAMON : VIDIOC_STREAMOFF, &value));
}

/// "poll a IN+PRI [MILLISECONDS]"
std::string Prober::poll(Arguments& rest) {
    const Handle& camera = handle(rest);
    std::string bits;
    int milliseconds = generousMilliseconds;
    rest >> bits;
    int given = 0;
    if (rest >> given) {
        milliseconds = given;
    }
    pollfd polled{camera.descriptor, pollBits(bits), 0};
    const int result = ::poll(&polled, 1, milliseconds);
    if (result < 0) {
        return errnoName(errno);
    }
    return result == 0 ? "nothing" : pollBits(polled.revents);
}

bool Prober::frameComes(const Handle& camera, short& bits) {
    pollfd polled{camera.descriptor, POLLIN, 0};
    const int result = ::poll(&polled, 1, generousMilliseconds);
    bits = polled.revents;
    return result == 1 && (bits & POLLIN) != 0;
}

/// "give a 0 1 2": queues these buffers; the first call that fails.
std::string Prober::give(Arguments& rest) {
    const Handle& camera = handle(rest);
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    std::string result = "ok";
    while (result == "ok" && rest >> buffer.index) {
        result = outcome(request(camera, VIDIOC_QBUF, &buffer));
    }
    return result;
}

/// "take a N": takes so many frames and keeps their buffers; the first call that fails. For
/// drivers whose frames have no numbers to compare.
std::string Prober::take(Arguments& rest) {
    Handle& camera = handle(rest);
    unsigned count = 0;
    rest >> count;
    for (unsigned i = 0; i < count; ++i) {
        short bits = 0;
        if (!frameComes(camera, bits)) {
            return "poll " + pollBits(bits);
        }
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        const std::string answer = dequeue(camera, buffer);
        if (!answer.starts_with("ok")) {
            return answer;
        }
    }
    return "ok";
}

/// "after a N": takes the next frame, which comes late enough to be numbered N or more; how often
/// frames come decides by how much.
std::string Prober::after(Arguments& rest) {
    Handle& camera = handle(rest);
    std::uint32_t least = 0;
    rest >> least;
    short bits = 0;
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    const std::string answer = frameComes(camera, bits) ? dequeue(camera, buffer) : pollBits(bits);
    if (!answer.starts_with("ok") || buffer.sequence < least) {
        return answer;
    }
    const bool same =
        pictureNumber(camera, buffer) == " picture=" + std::to_string(buffer.sequence);
    return same ? "ok numbered as its picture" : answer;
}

/// "frames a N": takes and gives back so many frames; what they have in common, or the first call
/// that fails.
std::string Prober::frames(Arguments& rest) {
    Handle& camera = handle(rest);
    unsigned count = 0;
    rest >> count;
    std::string list;
    for (unsigned i = 0; i < count; ++i) {
        short bits = 0;
        if (!frameComes(camera, bits)) {
            return "poll " + pollBits(bits) + " after" + list;
        }
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        const std::string answer = dequeue(camera, buffer);
        if (!answer.starts_with("ok")) {
            return answer + " after" + list;
        }
        list += " " + std::to_string(buffer.sequence) +
                ((buffer.flags & V4L2_BUF_FLAG_ERROR) != 0 ? "!" : ":") +
                pictureNumber(camera, buffer).substr(1);
        if (request(camera, VIDIOC_QBUF, &buffer) != 0) {
            return "qbuf " + errnoName(errno) + " after" + list;
        }
    }
    return "ok" + list;
}

}  // namespace DriverTruth
