// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What a driver lists, made by hand, and matchers for what is chosen from it. For tests of the
// arithmetic that needs no device.

#ifndef LUMIQ_TEST_LISTED_ENTRIES_H
#define LUMIQ_TEST_LISTED_ENTRIES_H

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <cstdint>
#include <vector>

#include "lumiq/camera-capability.h"

namespace TestSupport {

/// A type that no driver has yet.
inline constexpr std::uint32_t unknownType = 4;

inline v4l2_frmsizeenum discreteSize(std::uint32_t width, std::uint32_t height) {
    v4l2_frmsizeenum entry{};
    entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    entry.discrete = {width, height};
    return entry;
}

/// Width: least, greatest, step; then the height.
inline v4l2_frmsizeenum sizeRange(std::uint32_t type, const v4l2_frmsize_stepwise& range) {
    v4l2_frmsizeenum entry{};
    entry.type = type;
    entry.stepwise = range;
    return entry;
}
inline v4l2_frmsizeenum stepwiseSizes(const v4l2_frmsize_stepwise& range) {
    return sizeRange(V4L2_FRMSIZE_TYPE_STEPWISE, range);
}
inline v4l2_frmsizeenum continuousSizes(const v4l2_frmsize_stepwise& range) {
    return sizeRange(V4L2_FRMSIZE_TYPE_CONTINUOUS, range);
}

inline v4l2_frmivalenum discreteInterval(std::uint32_t numerator, std::uint32_t denominator) {
    v4l2_frmivalenum entry{};
    entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    entry.discrete = {numerator, denominator};
    return entry;
}

/// Shortest, longest, step.
inline v4l2_frmivalenum intervalRange(std::uint32_t type, const v4l2_frmival_stepwise& range) {
    v4l2_frmivalenum entry{};
    entry.type = type;
    entry.stepwise = range;
    return entry;
}
inline v4l2_frmivalenum stepwiseIntervals(const v4l2_frmival_stepwise& range) {
    return intervalRange(V4L2_FRMIVAL_TYPE_STEPWISE, range);
}
inline v4l2_frmivalenum continuousIntervals(const v4l2_frmival_stepwise& range) {
    return intervalRange(V4L2_FRMIVAL_TYPE_CONTINUOUS, range);
}

/// The size alone, of anything that has one.
MATCHER_P2(IsSize, width, height, "") {
    *result_listener << arg.width << "x" << arg.height;
    return arg.width == static_cast<std::uint32_t>(width) &&
           arg.height == static_cast<std::uint32_t>(height);
}

/// Least, greatest and step of the widths of ranges, then of the heights.
MATCHER_P6(AreSizes, minWidth, maxWidth, widthStep, minHeight, maxHeight, heightStep, "") {
    *result_listener << arg.minWidth << ".." << arg.maxWidth << " by " << arg.widthStep << ", "
                     << arg.minHeight << ".." << arg.maxHeight << " by " << arg.heightStep;
    return std::vector<std::int64_t>{arg.minWidth,  arg.maxWidth,  arg.widthStep,
                                     arg.minHeight, arg.maxHeight, arg.heightStep} ==
           std::vector<std::int64_t>{minWidth,  maxWidth,  widthStep,
                                     minHeight, maxHeight, heightStep};
}

/// The very fraction, not only its value.
MATCHER_P2(IsRate, numerator, denominator, "") {
    *result_listener << arg.numerator << "/" << arg.denominator;
    return arg.numerator == static_cast<unsigned int>(numerator) &&
           arg.denominator == static_cast<unsigned int>(denominator);
}

/// A plain capability.
MATCHER_P3(IsCapability, width, height, fps, "") {
    *result_listener << arg.width << "x" << arg.height << " at " << arg.fps;
    return arg.width == static_cast<std::uint32_t>(width) &&
           arg.height == static_cast<std::uint32_t>(height) &&
           arg.fps == static_cast<std::uint32_t>(fps);
}

/// A capability with an exact rate.
MATCHER_P4(IsPoint, width, height, numerator, denominator, "") {
    *result_listener << arg.width << "x" << arg.height << " at " << arg.fps.numerator << "/"
                     << arg.fps.denominator;
    return arg.width == static_cast<std::uint32_t>(width) &&
           arg.height == static_cast<std::uint32_t>(height) &&
           arg.fps.numerator == static_cast<unsigned int>(numerator) &&
           arg.fps.denominator == static_cast<unsigned int>(denominator);
}

}  // namespace TestSupport

#endif  // LUMIQ_TEST_LISTED_ENTRIES_H
