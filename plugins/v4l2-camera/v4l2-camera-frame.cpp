// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The views of a dequeued buffer. Called by hosts through the GraphicBuffer interface.

#include "v4l2-camera-frame.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame-conversion.h"
#include "lumiq/internal/log.h"

namespace Nerio::Lumiq {

V4L2CameraFrame::V4L2CameraFrame(std::shared_ptr<V4L2Camera> camera, SharedBuffer buffer,
                                 const StreamFormat& stream, unsigned long time)
    : m_camera(std::move(camera)), m_buffer(std::move(buffer)) {
    timestamp = static_cast<std::int64_t>(time);
    describeFrame(*this, stream, *m_buffer);
}

V4L2CameraYCbCrFrame::V4L2CameraYCbCrFrame(std::shared_ptr<V4L2Camera> camera,
                                           const StreamFormat& stream, unsigned long time)
    : m_camera(std::move(camera)) {
    width = stream.width;
    height = stream.height;
    timestamp = static_cast<std::int64_t>(time);
}

void V4L2CameraYCbCrFrame::allocate(std::size_t size) {
    m_pixels.reset(static_cast<std::uint8_t*>(std::malloc(size)));
    m_size = m_pixels ? size : 0;
    y = m_pixels.get();
}

void V4L2CameraYCbCrFrame::initPlanar() {
    const std::size_t luma = std::size_t{width} * height;
    const std::size_t crOffset = luma + luma / 4;
    // Converters round odd sizes up: their last chroma row then ends beyond luma * 3 / 2.
    const std::size_t chromaRows = (height + 1U) / 2U;
    const std::size_t lastRow = chromaRows == 0 ? 0 : (chromaRows - 1) * (width / 2U);
    const std::size_t end = crOffset + lastRow + (width + 1U) / 2U;
    allocate(std::max(end, luma * 3 / 2));
    if (y == nullptr) {
        return;
    }
    cb = y + luma;
    cr = y + crOffset;
    yStride = width;
    cStride = width / 2;
    chromaStep = 1;
}

void V4L2CameraYCbCrFrame::initSemiPlanar() {
    const std::size_t luma = std::size_t{width} * height;
    const std::size_t chromaRows = (height + 1U) / 2U;
    allocate(std::max(luma + chromaRows * ((width + std::size_t{1}) / 2 * 2), luma * 3 / 2));
    if (y == nullptr) {
        return;
    }
    cb = y + luma;
    cr = cb + 1;
    yStride = width;
    cStride = width;
    chromaStep = 2;
}

void V4L2CameraYCbCrFrame::blacken() {
    const std::size_t luma = std::size_t{width} * height;
    std::memset(m_pixels.get(), 0, luma);
    std::memset(m_pixels.get() + luma, 128, m_size - luma);
}

V4L2CameraGraphicBuffer::V4L2CameraGraphicBuffer(std::shared_ptr<V4L2Camera> camera,
                                                 SharedBuffer buffer, const StreamFormat& stream,
                                                 unsigned long time)
    : m_camera(std::move(camera)), m_buffer(std::move(buffer)), m_stream(stream) {
    width = stream.width;
    height = stream.height;
    timestamp = static_cast<std::int64_t>(time);
}

std::shared_ptr<Frame> V4L2CameraGraphicBuffer::mapFrame() {
    if (!m_frame) {
        m_frame = std::make_shared<V4L2CameraFrame>(m_camera, m_buffer, m_stream,
                                                    static_cast<unsigned long>(timestamp));
    }
    return m_frame;
}

std::shared_ptr<YCbCrFrame> V4L2CameraGraphicBuffer::mapYCbCr() {
    if (m_ycbcr) {
        return m_ycbcr;
    }
    const std::shared_ptr<Frame> frame = mapFrame();
    if (!frame) {
        return {};
    }
    const Conversion* conversion = conversionFrom(frame->format);
    if (conversion == nullptr) {
        LUMIQ_LOG(Debug) << toString(frame->format) << " can't be converted to YCbCrFrame";
        return {};
    }
    if (conversion->needed(*frame) > m_buffer->length()) {
        LUMIQ_LOG(Debug) << "A buffer of " << m_buffer->length() << " bytes is too short for "
                         << width << "x" << height << " " << toString(frame->format);
        return {};
    }
    if (conversion->function != nullptr) {
        LUMIQ_LOG(Debug) << "Converting with libyuv::" << conversion->function;
    }
    auto record = std::make_shared<V4L2CameraYCbCrFrame>(m_camera, m_stream,
                                                         static_cast<unsigned long>(timestamp));
    if (!conversion->run(*frame, *record)) {
        LUMIQ_LOG(Debug) << "No memory to convert " << width << "x" << height << " pixels";
        return {};
    }
    m_ycbcr = std::move(record);
    return m_ycbcr;
}

}  // namespace Nerio::Lumiq
