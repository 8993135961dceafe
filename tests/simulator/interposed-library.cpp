// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A library as a plug-in is one: it knows nothing of the simulator and calls libc. Loaded by the
// trace's test.

#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

/// Takes a few frames, closes the descriptor, and returns how many frames there were.
extern "C" __attribute__((visibility("default"))) int captureSome(int descriptor, int wanted) {
    v4l2_requestbuffers request{};
    request.count = 1;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (ioctl(descriptor, VIDIOC_REQBUFS, &request) != 0 ||
        ioctl(descriptor, VIDIOC_QUERYBUF, &buffer) != 0) {
        return -1;
    }
    void* const mapped = mmap(nullptr, buffer.length, PROT_READ, MAP_SHARED, descriptor,
                              static_cast<off_t>(buffer.m.offset));
    ioctl(descriptor, VIDIOC_QBUF, &buffer);
    ioctl(descriptor, VIDIOC_STREAMON, &type);
    int frames = 0;
    pollfd polled = {descriptor, POLLIN, 0};
    while (frames < wanted && poll(&polled, 1, 20000) == 1 &&
           ioctl(descriptor, VIDIOC_DQBUF, &buffer) == 0) {
        ++frames;
        ioctl(descriptor, VIDIOC_QBUF, &buffer);
        sched_yield();
    }
    munmap(mapped, buffer.length);
    ioctl(descriptor, VIDIOC_STREAMOFF, &type);
    close(descriptor);
    return frames;
}
