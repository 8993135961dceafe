// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Runs the benchmarks as a host runs the library: with the log on syslog, where debug lines are
// dropped.

#include <benchmark/benchmark.h>

#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    // As a device runs the library: on syslog, where debug lines are dropped.
    ::unsetenv("LUMIQ_DEBUG");
    ::unsetenv("LUMIQ_NO_SYSLOG");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
