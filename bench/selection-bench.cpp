// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How the search for the closest operating point grows with the number of sizes that a camera
// lists.

#include <benchmark/benchmark.h>

#include "bench-camera.h"

namespace {

using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::PixelFormat;

std::string manySizes(std::int64_t count) {
    std::string sizes;
    for (std::int64_t i = 0; i < count; ++i) {
        sizes += (i == 0 ? "\"" : ",\"") + std::to_string(160 + 2 * (i % 100)) + "x" +
                 std::to_string(120 + 2 * (i / 100)) + "\"";
    }
    return R"({"name": "Sizes", "intervals": ["1/30"], "formats": [
        {"fourcc": "YUYV", "sizes": [)" +
           sizes + "]}]}";
}

void findClosestCapability(benchmark::State& state, CameraCapabilityPriority priority) {
    Bench::BenchCamera bench(manySizes(state.range(0)));
    const CameraCapabilityEx wish{256, 192, {30, 1}};
    for (auto _ : state) {
        CameraCapabilityEx found;
        if (!bench.camera().findClosestCapability(PixelFormat::YUYV, wish, found, priority)) {
            state.SkipWithError("nothing found");
        }
        benchmark::DoNotOptimize(found);
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK_CAPTURE(findClosestCapability, SizeWidth, CameraCapabilityPriority::SizeWidth)
    ->RangeMultiplier(10)
    ->Range(10, 10000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(findClosestCapability, FpsWidth, CameraCapabilityPriority::FpsWidth)
    ->RangeMultiplier(10)
    ->Range(10, 10000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
