// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the capture thread costs for each frame, beside a bare loop of poll, dequeue and requeue on
// the same simulated camera: processor time, calls and allocations.

#include <benchmark/benchmark.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "allocation-count.h"
#include "bench-camera.h"
#include "simulator-trace.h"

namespace {

constexpr std::uint32_t width = 640;
constexpr std::uint32_t height = 480;
constexpr int frames = 1000;
constexpr const char* interval = "1/500";

struct Cost {
    double nanoseconds = 0;  ///< Processor time a frame.
    double allocations = 0;  ///< A frame.
};

// Looks at its thread's clocks at the first and at the last frame.
class CostListener : public Nerio::Lumiq::CameraListener {
public:
    void onCameraFrame(std::shared_ptr<Nerio::Lumiq::GraphicBuffer> /*buffer*/) override {
        if (m_count == 0) {
            m_time = Bench::threadTime();
            m_allocations = TestSupport::threadAllocations();
        } else if (m_count == frames) {
            const std::lock_guard lock(m_mutex);
            m_cost.nanoseconds = static_cast<double>(Bench::threadTime() - m_time) / frames;
            m_cost.allocations =
                static_cast<double>(TestSupport::threadAllocations() - m_allocations) / frames;
            m_done = true;
            m_changed.notify_all();
        }
        ++m_count;
    }
    void onCameraError(const std::string& /*message*/) override {}

    Cost wait() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_done; });
        return m_cost;
    }

private:
    int m_count = 0;
    std::int64_t m_time = 0;
    std::size_t m_allocations = 0;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_done = false;
    Cost m_cost;
};

void check(bool ok, const char* what) {
    if (!ok) {
        throw std::runtime_error(what);
    }
}

enum class Calls { Least, Same };

class BareLoop {
public:
    BareLoop(const Simulator::SimulatedDevice& device, Calls calls)
        : m_fd(device.open()), m_eventFd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)), m_calls(calls) {
        v4l2_format format{};
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        format.fmt.pix.width = width;
        format.fmt.pix.height = height;
        format.fmt.pix.pixelformat = V4L2_PIX_FMT_YUYV;
        check(::ioctl(m_fd, VIDIOC_S_FMT, &format) == 0, "VIDIOC_S_FMT");
        v4l2_requestbuffers request{};
        request.count = 4;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        check(::ioctl(m_fd, VIDIOC_REQBUFS, &request) == 0, "VIDIOC_REQBUFS");
        for (std::uint32_t i = 0; i < request.count; ++i) {
            v4l2_buffer buffer = empty();
            buffer.index = i;
            check(::ioctl(m_fd, VIDIOC_QUERYBUF, &buffer) == 0, "VIDIOC_QUERYBUF");
            void* start =
                ::mmap(nullptr, buffer.length, PROT_READ, MAP_SHARED, m_fd, buffer.m.offset);
            check(start != MAP_FAILED, "mmap");
            m_mappings.emplace_back(start, buffer.length);
            check(::ioctl(m_fd, VIDIOC_QBUF, &buffer) == 0, "VIDIOC_QBUF");
        }
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        check(::ioctl(m_fd, VIDIOC_STREAMON, &type) == 0, "VIDIOC_STREAMON");
    }
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;
    ~BareLoop() {
        for (const auto& [start, length] : m_mappings) {
            ::munmap(start, length);
        }
        ::close(m_fd);
        ::close(m_eventFd);
    }

    Cost run() {
        cycle();
        const std::int64_t time = Bench::threadTime();
        const std::size_t allocations = TestSupport::threadAllocations();
        for (int i = 0; i < frames; ++i) {
            cycle();
        }
        return {static_cast<double>(Bench::threadTime() - time) / frames,
                static_cast<double>(TestSupport::threadAllocations() - allocations) / frames};
    }

private:
    static v4l2_buffer empty() {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        return buffer;
    }

    void cycle() {
        std::array<pollfd, 2> waits{{{m_fd, POLLIN, 0}, {m_eventFd, POLLIN, 0}}};
        check(::poll(waits.data(), m_calls == Calls::Same ? 2 : 1, 10000) == 1, "poll");
        v4l2_buffer buffer = empty();
        check(::ioctl(m_fd, VIDIOC_DQBUF, &buffer) == 0, "VIDIOC_DQBUF");
        check(::ioctl(m_fd, VIDIOC_QBUF, &buffer) == 0, "VIDIOC_QBUF");
        if (m_calls == Calls::Same) {
            ::sched_yield();
        }
    }

    int m_fd;
    int m_eventFd;
    Calls m_calls;
    std::vector<std::pair<void*, std::size_t>> m_mappings;
};

Cost runBare(const std::string& text, Calls calls) {
    const Simulator::SimulatedDevice device(Simulator::parseDescription(text));
    Cost cost;
    std::thread thread([&] { cost = BareLoop(device, calls).run(); });
    thread.join();
    return cost;
}

Cost runLibrary(Bench::BenchCamera& bench) {
    CostListener listener;
    bench.camera().setListener(&listener);
    check(bench.camera().startCapture({width, height, {500, 1}}, Nerio::Lumiq::PixelFormat::YUYV),
          "startCapture");
    const Cost cost = listener.wait();
    bench.camera().stopCapture();
    bench.camera().setListener(nullptr);
    return cost;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Both in turns, so that what else the machine does falls on both.
void captureThread(benchmark::State& state) {
    const std::string text = Bench::description("YUYV", width, height, interval);
    Bench::BenchCamera bench(text);
    std::vector<double> ours;
    std::vector<double> least;
    std::vector<double> same;
    double allocations = 0;
    for (auto _ : state) {
        const Cost bare = runBare(text, Calls::Least);
        const Cost library = runLibrary(bench);
        least.push_back(bare.nanoseconds);
        same.push_back(runBare(text, Calls::Same).nanoseconds);
        ours.push_back(library.nanoseconds);
        allocations = library.allocations - bare.allocations;
        state.SetIterationTime(library.nanoseconds * 1e-9);
    }
    state.counters["bare_us"] = median(least) * 1e-3;
    state.counters["ratio"] = median(ours) / median(least);
    state.counters["ratio_same_calls"] = median(ours) / median(same);
    state.counters["allocations"] = allocations;
}
BENCHMARK(captureThread)->UseManualTime()->Iterations(7)->Unit(benchmark::kMicrosecond);

// The calls of the capture thread for each buffer that it gives back, in whole cycles.
void countCalls(benchmark::State& state, Bench::BenchCamera& bench) {
    Simulator::startTrace();
    check(bench.camera().startCapture({width, height, {500, 1}}, Nerio::Lumiq::PixelFormat::YUYV),
          "startCapture");
    const std::uint64_t first = bench.device().framesMade();
    while (bench.device().framesMade() < first + 200) {
        std::this_thread::yield();
    }
    bench.camera().stopCapture();
    std::map<std::string, double> calls;
    double all = 0;
    for (const Simulator::TracedCall& call : Simulator::stopTrace()) {
        if (call.thread != std::this_thread::get_id()) {
            calls[call.name] += 1;
            all += 1;
        }
    }
    // The wait that the stop interrupts belongs to no frame.
    const double cycles = calls["VIDIOC_DQBUF"];
    state.counters["calls"] = (all - (calls["poll"] - cycles)) / cycles;
    state.counters["poll"] = calls["poll"] / cycles;
    state.counters["dequeue"] = calls["VIDIOC_DQBUF"] / cycles;
    state.counters["requeue"] = calls["VIDIOC_QBUF"] / cycles;
    state.counters["yield"] = calls["sched_yield"] / cycles;
}

void callsPerFrame(benchmark::State& state) {
    Bench::BenchCamera bench(Bench::description("YUYV", width, height, interval));
    for (auto _ : state) {
        countCalls(state, bench);
    }
}
BENCHMARK(callsPerFrame)->Iterations(1);

}  // namespace
