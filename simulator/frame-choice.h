// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which of the frames that a camera offers it takes when it is asked for something else: arithmetic
// over a description, without state, on any thread.

#ifndef LUMIQ_SIMULATOR_FRAME_CHOICE_H
#define LUMIQ_SIMULATOR_FRAME_CHOICE_H

#include <cstddef>
#include <cstdint>

#include "camera-description.h"

namespace Simulator {

/// What a stream consists of.
struct FrameChoice {
    std::size_t format = 0;  ///< index in the description
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Interval interval;
};

/// What the camera starts with: its first format, that one's first size, that one's first interval.
FrameChoice defaultChoice(const CameraDescription& camera);

/// The nearest to a wish, as UVC cameras do it: an unknown code gives the first format; of discrete
/// sizes the one that overlaps best, of a range the nearest step; the interval is that of the size
/// where it begins.
FrameChoice chooseFrame(const CameraDescription& camera, std::uint32_t code, std::uint32_t width,
                        std::uint32_t height);

/// The interval of the choice that is nearest to the wish.
Interval chooseInterval(const CameraDescription& camera, const FrameChoice& choice, Interval wish);

const Format* findFormat(const CameraDescription& camera, std::uint32_t code);

/// The intervals of one size; null when the format does not have that size.
const Intervals* findIntervals(const Format& format, std::uint32_t width, std::uint32_t height);

bool isCompressed(std::uint32_t code);
std::uint32_t bytesPerLine(std::uint32_t code, std::uint32_t width);
/// The bytes a buffer of that format needs.
std::uint32_t imageBytes(std::uint32_t code, std::uint32_t width, std::uint32_t height);

/// The forms in which the control block keeps a choice.
std::uint64_t packFormat(const FrameChoice& choice);
std::uint64_t packInterval(Interval interval);
FrameChoice unpack(std::uint64_t format, std::uint64_t interval);

}  // namespace Simulator

#endif
