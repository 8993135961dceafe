// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The states of a stream's buffers. Called by the stream with its lock held.

#include "buffer-queue.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Simulator {

void BufferQueue::add(std::shared_ptr<BufferMemory> memory, std::uint32_t length) {
    Buffer buffer;
    if (!m_buffers.empty()) {
        const Buffer& last = m_buffers.back();
        buffer.offset = last.offset + static_cast<std::uint32_t>(last.memory->bytes());
    }
    buffer.memory = std::move(memory);
    buffer.length = length;
    m_buffers.push_back(std::move(buffer));
}

void BufferQueue::clear() {
    m_queued.clear();
    m_done.clear();
    m_buffers.clear();
}

int BufferQueue::query(v4l2_buffer& buffer) const {
    if (buffer.index >= m_buffers.size()) {
        return EINVAL;
    }
    describe(buffer.index, buffer);
    return 0;
}

int BufferQueue::queue(v4l2_buffer& buffer) {
    if (buffer.index >= m_buffers.size() || buffer.memory != V4L2_MEMORY_MMAP) {
        return EINVAL;
    }
    if ((buffer.flags & V4L2_BUF_FLAG_REQUEST_FD) != 0) {
        return EBADR;
    }
    Buffer& queued = m_buffers[buffer.index];
    if (queued.state != State::Host) {
        return EINVAL;
    }
    queued.state = State::Queued;
    queued.frame = {};
    m_queued.push(buffer.index);
    describe(buffer.index, buffer);
    return 0;
}

void BufferQueue::dequeue(v4l2_buffer& buffer) {
    const std::uint32_t index = m_done.pop();
    describe(index, buffer);
    buffer.flags &= ~std::uint32_t{V4L2_BUF_FLAG_DONE};
    m_buffers[index].state = State::Host;
}

std::optional<std::uint32_t> BufferQueue::beginFilling() {
    if (m_queued.empty()) {
        return std::nullopt;
    }
    const std::uint32_t index = m_queued.pop();
    m_buffers[index].state = State::Filling;
    return index;
}

void BufferQueue::finishFilling(std::uint32_t index, const FilledFrame& frame) {
    m_buffers[index].state = State::Done;
    m_buffers[index].frame = frame;
    m_done.push(index);
}

void BufferQueue::cancel() {
    m_queued.clear();
    m_done.clear();
    for (Buffer& buffer : m_buffers) {
        buffer.state = State::Host;
    }
}

std::shared_ptr<BufferMemory> BufferQueue::memory(std::uint32_t index) const {
    return m_buffers.at(index).memory;
}

std::uint32_t BufferQueue::length(std::uint32_t index) const {
    return m_buffers.at(index).length;
}

std::shared_ptr<BufferMemory> BufferQueue::memoryAt(std::uint64_t offset) const {
    const auto found = std::find_if(m_buffers.begin(), m_buffers.end(),
                                    [offset](const Buffer& b) { return b.offset == offset; });
    return found == m_buffers.end() ? nullptr : found->memory;
}

void BufferQueue::describe(std::uint32_t index, v4l2_buffer& buffer) const {
    const Buffer& known = m_buffers[index];
    const std::uint32_t type = buffer.type;
    buffer = {};
    buffer.index = index;
    buffer.type = type;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.field = V4L2_FIELD_NONE;
    buffer.length = known.length;
    buffer.m.offset = known.offset;
    buffer.bytesused = known.frame.bytesUsed;
    buffer.sequence = known.frame.sequence;
    buffer.timestamp.tv_sec = static_cast<time_t>(known.frame.microseconds / 1000000);
    buffer.timestamp.tv_usec = static_cast<suseconds_t>(known.frame.microseconds % 1000000);
    buffer.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC | V4L2_BUF_FLAG_TSTAMP_SRC_SOE;
    if (known.memory->mappings.load() > 0) {
        buffer.flags |= V4L2_BUF_FLAG_MAPPED;
    }
    if (known.state == State::Queued || known.state == State::Filling) {
        buffer.flags |= V4L2_BUF_FLAG_QUEUED;
    }
    // Once dequeued, a buffer has forgotten that its frame was damaged.
    if (known.state == State::Done) {
        buffer.flags |= V4L2_BUF_FLAG_DONE | (known.frame.error ? V4L2_BUF_FLAG_ERROR : 0);
    }
}

}  // namespace Simulator
