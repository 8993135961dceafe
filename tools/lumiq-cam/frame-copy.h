// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Takes what the output needs out of a frame while it may be read. Capture thread.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "captured-frame.h"
#include "lumiq/graphic-buffer.h"
#include "output-target.h"

namespace LumiqCam {

// What to make of each frame.
enum class Take {
    Nothing,      // Only look at it.
    AsDelivered,  // The bytes as the camera sent them.
    I420,         // 4:2:0, three planes.
    NV12,         // 4:2:0, two planes.
    Picture,      // For a picture or video file: I420, whatever the camera sent.
    JpegPicture,  // The camera's JPEG where it sends one, else as Picture.
};

// What a container needs when this format was asked for.
Take takeFor(Container container, PixelFormat asked);

class FrameCopier {
public:
    explicit FrameCopier(Take take) : m_take(take) {}

    // Nothing when the frame cannot be used that way; lastProblem() then says why.
    std::optional<CapturedFrame> copy(Nerio::Lumiq::GraphicBuffer& buffer);

    const std::string& lastProblem() const { return m_problem; }
    // True when no later frame of this capture can be used either.
    bool hopeless() const { return m_hopeless; }

private:
    std::optional<CapturedFrame> copyEncoded(const Nerio::Lumiq::Frame& frame);
    std::optional<CapturedFrame> copyPlanes(Nerio::Lumiq::GraphicBuffer& buffer,
                                            const Nerio::Lumiq::Frame& frame);
    std::optional<CapturedFrame> convert(Nerio::Lumiq::GraphicBuffer& buffer,
                                         PixelFormat delivered);

    Take m_take;
    std::set<const std::uint8_t*> m_longEnough;  // Driver buffers known to hold a whole frame.
    std::string m_problem;
    bool m_hopeless = false;
};

}  // namespace LumiqCam
