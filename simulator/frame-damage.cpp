// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Damaged frames. Called on the thread that makes the frames.

#include "frame-damage.h"

#include <algorithm>
#include <cstring>

namespace Simulator {
namespace {

/// What a garbled frame keeps, so that it still looks like a frame.
constexpr std::size_t keptStart = 1024;
constexpr std::size_t keptEnd = 2;

void garble(std::uint8_t* data, std::size_t bytes, std::uint32_t seed) {
    std::uint32_t noise = seed * 2654435761U + 1;
    for (std::size_t i = std::min(keptStart, bytes / 2); i + keptEnd < bytes; ++i) {
        noise ^= noise << 13;
        noise ^= noise >> 17;
        noise ^= noise << 5;
        data[i] = static_cast<std::uint8_t>(noise);
    }
}

}  // namespace

DamagedFrame damageFrame(std::uint8_t* data, std::size_t bytes, std::uint32_t number,
                         const StruckFaults& struck) {
    if (struck.find(FaultKind::GarbleFrame) != nullptr) {
        garble(data, bytes, number);
    }
    DamagedFrame frame{bytes, struck.find(FaultKind::ErrorFrame) != nullptr};
    const bool truncated = struck.find(FaultKind::TruncateFrame) != nullptr;
    if (frame.flagged || truncated || struck.find(FaultKind::ShortFrame) != nullptr ||
        struck.find(FaultKind::UnflaggedFrame) != nullptr) {
        // What is cut off is gone, not left over from a frame before.
        std::memset(data + bytes / 2, 0, bytes - bytes / 2);
        frame.bytes /= 2;
    }
    const bool jpeg = frame.bytes > 4 && data[0] == 0xff && data[1] == 0xd8;
    if (truncated && jpeg) {
        data[frame.bytes - 2] = 0xff;
        data[frame.bytes - 1] = 0xd9;
    }
    return frame;
}

}  // namespace Simulator
