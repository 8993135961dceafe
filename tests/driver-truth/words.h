// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// V4L2's numbers in words that can be compared.

#ifndef LUMIQ_TESTS_DRIVER_TRUTH_WORDS_H
#define LUMIQ_TESTS_DRIVER_TRUTH_WORDS_H

#include <linux/videodev2.h>

#include <cstdint>
#include <string>

namespace DriverTruth {

/// "ok", or the name of the errno.
std::string outcome(int result);
std::string errnoName(int number);

std::string codeName(std::uint32_t fourcc);
std::uint32_t codeOf(const std::string& name);
std::string hexadecimal(std::uint32_t number);
std::string fraction(const v4l2_fract& fraction);

std::string pollBits(short bits);
short pollBits(const std::string& names);
std::string bufferFlags(std::uint32_t flags);

/// A type of buffers by its name: capture, output, overlay, multiplanar, meta, or a number.
std::uint32_t bufferType(const std::string& name);
/// mmap, userptr, dmabuf, or a number.
std::uint32_t memoryType(const std::string& name);
/// A request by its name, or its number.
unsigned long requestNumber(const std::string& name);

}  // namespace DriverTruth

#endif
