// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Frames of a capture, kept as pictures, and what can be read from them. The capture thread adds
// frames, the test's thread looks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lumiq/pixel-format.h"
#include "recording-listeners.h"

namespace RealKernel {

struct Colour {
    int y = 0, cb = 0, cr = 0;
};

/// How a USB camera's bars look in a picture.
struct Look {
    std::uint32_t cycle = 16;  ///< Frames until they are back where they were.
    bool jpeg = false;         ///< With the full range of values, as in a JPEG.
};

/// A 4:2:0 picture.
struct Picture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint8_t> y, cb, cr;

    Colour at(std::size_t column, std::size_t row) const;

    /// The first column of the white one of the virtual driver's eight bars, which move round;
    /// nothing when there are no such bars.
    std::optional<std::size_t> firstBar() const;
    /// The colour in the middle of a bar, counted from the white one.
    Colour bar(std::size_t index) const;
    /// The number that a USB camera wrote into it; nothing when there is none that holds.
    std::optional<std::uint32_t> number() const;
    /// What is wrong with a USB camera's picture: its number, or a bar that is not where and what
    /// the camera painted for that number, as far as the lower edge. Empty when nothing is.
    std::string flaw(const Look& look) const;
};

/// How many columns the virtual driver's bars moved to the left between two pictures.
std::size_t movedLeft(const Picture& from, const Picture& to);

/// Empty when each of a USB camera's pictures is without a flaw, comes once and in its turn, and no
/// more than every other one was lost on the way; else what is wrong.
std::string complaintAbout(const std::vector<Picture>& pictures, const Look& look);
/// The same for encoded frames, of whose inside nothing is known.
std::string complaintAbout(const std::vector<std::vector<std::uint8_t>>& frames);

class Film : public TestSupport::RecordingCameraListener {
public:
    /// Keeps every frame from now on. Before the capture starts.
    void keepPictures();
    /// Keeps the bytes of every frame, which are encoded in this format; one of another leaves
    /// none. Before the capture starts.
    void keepBytes(Nerio::Lumiq::PixelFormat format);

    /// After the capture has stopped.
    const std::vector<Picture>& pictures() const { return m_pictures; }
    const std::vector<std::vector<std::uint8_t>>& bytes() const { return m_bytes; }

private:
    std::vector<Picture> m_pictures;
    std::vector<std::vector<std::uint8_t>> m_bytes;
};

}  // namespace RealKernel
