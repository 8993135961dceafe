// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Where captured frames go, as --output and --as say it. Pure functions; main thread.
#pragma once

#include <cstdint>
#include <string>

#include "text-values.h"

namespace LumiqCam {

enum class Container { None, Png, Jpeg, Y4m, Bytes };

struct OutputTarget {
    Container container = Container::None;
    std::string path;           // With the pattern, if there is one; "-" is standard output.
    bool filePerFrame = false;  // The path holds a number pattern.
    bool standardOutput = false;

    // A still picture without a pattern: one frame is all that fits.
    bool holdsOneFrame() const {
        return !filePerFrame && (container == Container::Png || container == Container::Jpeg);
    }
    // The path of the file for the frame with this number, counted from 1.
    std::string pathFor(std::uint64_t number) const;
};

// An empty output is none.  overrules the ending of the name; empty leaves it. Throws Failure
// (usage) on a malformed pattern and an unknown kind.
OutputTarget parseOutput(const std::string& output, const std::string& as);

// The format to ask the camera for when the user names none: what the ending of the name stands
// for, else Preferred.
PixelFormat defaultFormatFor(const OutputTarget& target);

}  // namespace LumiqCam
