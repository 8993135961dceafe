// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The stream of one simulated camera in this process: its buffers, and the driver thread that fills
// them at the negotiated pace. The requests come from the host's threads.
//
// Lock: m_mutex, for everything but what is constant after construction. It is held neither while
// a frame is painted nor while anyone waits.

#ifndef LUMIQ_SIMULATOR_STREAM_H
#define LUMIQ_SIMULATOR_STREAM_H

#include <linux/videodev2.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "buffer-queue.h"
#include "control-block.h"
#include "frame-painter.h"
#include "owned.h"

namespace Simulator {

/// What a stream is made of, settled at stream-on.
struct StreamFormat {
    std::uint32_t fourcc = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Interval interval;
};

/// Requests return an errno, 0 for success.
class Stream {
public:
    Stream(std::shared_ptr<const OwnedDescriptor> file, ControlBlock& control, Picture picture);
    /// Ends the driver thread. Not on that thread.
    ~Stream();

    /// Makes `count` buffers in place of all there were; fewer when memory runs short. `count` gets
    /// the number made.
    int requestBuffers(std::uint32_t& count, std::uint32_t bytes);
    /// Adds buffers to those there are; `index` gets the first one's.
    int createBuffers(std::uint32_t& count, std::uint32_t bytes, std::uint32_t& index);
    int query(v4l2_buffer& buffer);
    int queue(v4l2_buffer& buffer);
    int dequeue(v4l2_buffer& buffer, bool wait);
    int on(const StreamFormat& format);
    void off();

    [[nodiscard]] bool streaming();
    [[nodiscard]] bool allocated();
    /// The buffer to map; null when the offset is no buffer's.
    std::shared_ptr<BufferMemory> memoryAt(std::uint64_t offset);

    /// The bits of poll for someone who asks for `wanted`, without waiting.
    short pollEvents(short wanted);
    /// A descriptor that is readable whenever pollEvents() has something to say to someone who
    /// waits for frames, or, with `frames` false, to someone who waits for events only. Starts the
    /// driver thread, which notices an unplug from outside.
    int readyDescriptor(bool frames);

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;
    struct Stall {
        StruckFault fault;
        std::optional<Clock::time_point> until;
    };

    /// An eventfd that is readable while something holds; -1 until it is first asked for.
    struct Readiness {
        OwnedDescriptor descriptor;
        bool shown = false;
        void show(bool ready);
    };

    std::uint32_t allocate(std::uint32_t count, std::uint32_t bytes);
    void cancel(Lock& lock);
    int showWhenReady(Readiness& readiness);
    void showReadiness();
    void startThread();

    void run();
    [[nodiscard]] std::optional<Clock::time_point> work(Lock& lock);
    void noticeUnplug();
    [[nodiscard]] Clock::time_point dueTime() const;
    void frameDue(Lock& lock);
    bool stalls();
    void produce(Lock& lock);
    void fill(Lock& lock, std::uint32_t index);
    [[nodiscard]] bool misses(std::size_t bytes, std::size_t wholeBytes) const;
    [[nodiscard]] bool gone() const {
        return m_control.unplugged.load(std::memory_order_acquire) != 0;
    }

    const std::shared_ptr<const OwnedDescriptor> m_file;
    ControlBlock& m_control;
    const Picture m_picture;

    std::mutex m_mutex;
    BufferQueue m_queue;
    bool m_streaming = false;
    bool m_broken = false;
    bool m_dequeueing = false;  ///< someone waits in dequeue()

    /// No buffer was queued since they were made or the last stream ended: to poll that is an
    /// error.
    bool m_untouched = true;

    Readiness m_frames;  ///< behind readyDescriptor(true)
    Readiness m_events;  ///< behind readyDescriptor(false)
    Readiness m_takes;   ///< that dequeue() need not wait

    // While streaming
    std::unique_ptr<FramePainter> m_painter;
    StreamFormat m_format;
    Clock::time_point m_begin;
    std::uint64_t m_interval = 0;  ///< intervals since m_begin at which the next frame is due
    std::uint32_t m_sequence = 0;
    StruckFaults m_struck;
    std::optional<Stall> m_stall;
    bool m_filling = false;
    std::condition_variable m_filled;

    bool m_quit = false;
    std::thread m_thread;
};

}  // namespace Simulator

#endif
