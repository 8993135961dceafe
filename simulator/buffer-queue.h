// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The states of a stream's buffers: with the host, queued, being filled, done. Used by the stream
// with its lock held.

#ifndef LUMIQ_SIMULATOR_BUFFER_QUEUE_H
#define LUMIQ_SIMULATOR_BUFFER_QUEUE_H

#include <linux/videodev2.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "buffer-memory.h"

namespace Simulator {

/// A frame as its buffer reports it.
struct FilledFrame {
    std::uint32_t bytesUsed = 0;
    std::uint32_t sequence = 0;
    std::uint64_t microseconds = 0;  ///< of the monotonic clock
    bool error = false;
};

/// Buffer indexes in the order they came. Takes no memory: frames pass through here.
class IndexQueue {
public:
    [[nodiscard]] bool empty() const { return m_size == 0; }
    void clear() { m_size = 0; }
    void push(std::uint32_t index) { m_indexes[(m_first + m_size++) % m_indexes.size()] = index; }
    std::uint32_t pop() {
        const std::uint32_t index = m_indexes[m_first];
        m_first = (m_first + 1) % m_indexes.size();
        --m_size;
        return index;
    }

private:
    std::array<std::uint32_t, VIDEO_MAX_FRAME> m_indexes{};
    std::size_t m_first = 0;
    std::size_t m_size = 0;
};

/// The rules for QUERYBUF, QBUF and DQBUF. Functions that answer a request return an errno, 0 for
/// success.
class BufferQueue {
public:
    [[nodiscard]] std::uint32_t size() const {
        return static_cast<std::uint32_t>(m_buffers.size());
    }
    void add(std::shared_ptr<BufferMemory> memory, std::uint32_t length);
    /// Lets every buffer go; mappings of the host keep their pages.
    void clear();

    int query(v4l2_buffer& buffer) const;
    int queue(v4l2_buffer& buffer);
    /// Takes the oldest done buffer; there must be one.
    void dequeue(v4l2_buffer& buffer);
    [[nodiscard]] bool anyDone() const { return !m_done.empty(); }
    [[nodiscard]] bool anyQueued() const { return !m_queued.empty(); }

    /// Takes the oldest queued buffer to be filled; nothing when none is queued.
    std::optional<std::uint32_t> beginFilling();
    void finishFilling(std::uint32_t index, const FilledFrame& frame);
    /// Gives every buffer back to the host.
    void cancel();

    /// The memory of a buffer.
    [[nodiscard]] std::shared_ptr<BufferMemory> memory(std::uint32_t index) const;
    [[nodiscard]] std::uint32_t length(std::uint32_t index) const;
    /// The buffer whose mapping offset this is.
    [[nodiscard]] std::shared_ptr<BufferMemory> memoryAt(std::uint64_t offset) const;

private:
    enum class State { Host, Queued, Filling, Done };
    struct Buffer {
        std::shared_ptr<BufferMemory> memory;
        std::uint32_t length = 0;
        std::uint32_t offset = 0;  ///< what the host maps it by
        State state = State::Host;
        FilledFrame frame;
    };
    void describe(std::uint32_t index, v4l2_buffer& buffer) const;

    std::vector<Buffer> m_buffers;
    IndexQueue m_queued;
    IndexQueue m_done;
};

}  // namespace Simulator

#endif
