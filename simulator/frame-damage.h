// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What faults do to the bytes of a painted frame, alike for every kind of camera made here. No
// state, on the thread that makes the frames.

#ifndef LUMIQ_SIMULATOR_FRAME_DAMAGE_H
#define LUMIQ_SIMULATOR_FRAME_DAMAGE_H

#include <cstddef>
#include <cstdint>

#include "control-block.h"

namespace Simulator {

/// What is left of a frame.
struct DamagedFrame {
    std::size_t bytes = 0;
    bool flagged = false;  ///< its receiver is told that it is damaged
};

/// Changes a painted frame as the faults demand.
DamagedFrame damageFrame(std::uint8_t* data, std::size_t bytes, std::uint32_t number,
                         const StruckFaults& struck);

}  // namespace Simulator

#endif
