// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A host in a process of its own: captures from the descriptor it inherits until that fails, and
// says on standard output what it saw. Run by the test of cameras shared between processes.

#include <cstdio>
#include <cstdlib>

#include "camera-handle.h"
#include "frame-number.h"

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "capture-until-gone DESCRIPTOR\n");
        return 2;
    }
    SimulatorTest::CameraHandle camera(std::atoi(arguments[1]));
    const int started = camera.start();
    std::printf("start %d\n", started);
    std::fflush(stdout);
    while (started == 0) {
        const short events = camera.poll(POLLIN, -1);
        const int error = camera.dequeue();
        if (error != 0) {
            std::printf("end %d %d\n", events, error);
            return 0;
        }
        const auto& frame = camera.last();
        const auto number = Simulator::readFrameNumber(camera.data(frame.index), 256, 128, 32, 2);
        std::printf("frame %u %d\n", frame.sequence, number ? static_cast<int>(*number) : -1);
        std::fflush(stdout);
        static_cast<void>(camera.queue(frame.index));
    }
    return 0;
}
