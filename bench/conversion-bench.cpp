// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// mapYCbCr() beside the same conversion by a direct libyuv call into a warm buffer, on the same
// frames. Runs on the capture thread, where hosts convert.

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "bench-camera.h"

namespace {

using Nerio::Lumiq::Frame;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::PixelFormat;

// A direct conversion into memory that is there already.
class Direct {
public:
    Direct(int width, int height)
        : m_width(width),
          m_height(height),
          m_pixels(static_cast<std::size_t>(width * height * 3 / 2)) {}

    // Writes to the destination.
    void warm() { std::fill(m_pixels.begin(), m_pixels.end(), std::uint8_t{16}); }

    std::size_t size() const { return m_pixels.size(); }

    void convert(const Frame& frame) {
        std::uint8_t* y = m_pixels.data();
        std::uint8_t* cb = y + m_width * m_height;
        std::uint8_t* cr = cb + m_width * m_height / 4;
        const auto& plane = frame.planes[0];
        const int half = m_width / 2;
        if (frame.format == PixelFormat::YUYV) {
            libyuv::YUY2ToI420(plane.data, plane.stride, y, m_width, cb, half, cr, half, m_width,
                               m_height);
        } else if (frame.format == PixelFormat::UYVY) {
            libyuv::UYVYToI420(plane.data, plane.stride, y, m_width, cb, half, cr, half, m_width,
                               m_height);
        } else {
            libyuv::MJPGToI420(frame.encoded.data, frame.encoded.size, y, m_width, cb, half, cr,
                               half, m_width, m_height, m_width, m_height);
        }
        benchmark::DoNotOptimize(y);
    }

private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_pixels;
};

// Times both on every frame, in turns which goes first, on a source that both find in the cache.
class TimingListener : public Nerio::Lumiq::CameraListener {
public:
    TimingListener(int width, int height) : m_direct(width, height) {}

    void onCameraFrame(std::shared_ptr<GraphicBuffer> buffer) override {
        const std::shared_ptr<Frame> frame = buffer->mapFrame();
        m_direct.convert(*frame);
        const bool oursFirst = m_turn++ % 2 == 0;
        std::int64_t ours = oursFirst ? timeOurs(*buffer) : 0;
        const std::int64_t direct = timeDirect(*frame);
        if (!oursFirst) {
            ours = timeOurs(*buffer);
        }
        const std::lock_guard lock(m_mutex);
        m_ours.push_back(ours);
        m_directs.push_back(direct);
        m_changed.notify_all();
    }

    void onCameraError(const std::string& /*message*/) override {}

    // Waits for one more frame; the time that mapYCbCr() took of it, in nanoseconds.
    std::int64_t next(std::size_t frame) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_ours.size() > frame; });
        return m_ours[frame];
    }

    // Over the medians, which a preempted frame does not move.
    double ratio() {
        const std::lock_guard lock(m_mutex);
        return median(m_ours) / median(m_directs);
    }
    double directMedian() {
        const std::lock_guard lock(m_mutex);
        return median(m_directs);
    }

private:
    static double median(std::vector<std::int64_t> values) {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return static_cast<double>(*middle);
    }

    std::int64_t timeDirect(const Frame& frame) {
        m_direct.warm();
        const std::int64_t before = Bench::threadTime();
        m_direct.convert(frame);
        return Bench::threadTime() - before;
    }

    std::int64_t timeOurs(GraphicBuffer& buffer) {
        // The allocator hands the same memory out again.
        void* memory = std::malloc(m_direct.size());
        std::memset(memory, 16, m_direct.size());
        benchmark::DoNotOptimize(memory);
        std::free(memory);
        const std::int64_t before = Bench::threadTime();
        const auto image = buffer.mapYCbCr();
        const std::int64_t time = Bench::threadTime() - before;
        benchmark::DoNotOptimize(image.get());
        return time;
    }

    Direct m_direct;
    unsigned m_turn = 0;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::int64_t> m_ours;
    std::vector<std::int64_t> m_directs;
};

void mapYCbCr(benchmark::State& state, const char* fourcc) {
    const auto width = static_cast<std::uint32_t>(state.range(0));
    const auto height = static_cast<std::uint32_t>(state.range(1));
    Bench::BenchCamera bench(
        Bench::description(fourcc, static_cast<int>(width), static_cast<int>(height), "1/100"));
    TimingListener listener(static_cast<int>(width), static_cast<int>(height));
    bench.camera().setListener(&listener);
    const auto format =
        static_cast<PixelFormat>(fourcc[0] | fourcc[1] << 8 | fourcc[2] << 16 | fourcc[3] << 24);
    if (!bench.camera().startCapture({width, height, {100, 1}}, format)) {
        state.SkipWithError("the capture does not start");
        return;
    }
    std::size_t frame = 0;
    for (auto _ : state) {
        state.SetIterationTime(static_cast<double>(listener.next(frame++)) * 1e-9);
    }
    bench.camera().stopCapture();
    state.counters["direct_us"] = listener.directMedian() * 1e-3;
    state.counters["ratio"] = listener.ratio();
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({640, 480})
        ->Args({1280, 720})
        ->Args({1920, 1080})
        ->UseManualTime()
        ->Iterations(200);
    bench->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(mapYCbCr, YUYV, "YUYV")->Apply(sizes);
BENCHMARK_CAPTURE(mapYCbCr, UYVY, "UYVY")->Apply(sizes);
BENCHMARK_CAPTURE(mapYCbCr, MJPG, "MJPG")->Apply(sizes);

}  // namespace
