// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The scripted camera; see the header.
#include "fake-camera.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "fake-picture.h"

namespace FakePlugin {
namespace {

using Nerio::Lumiq::Frame;
using Nerio::Lumiq::GraphicBuffer;
using Nerio::Lumiq::YCbCrFrame;

// A frame as the contract describes it, over a driver buffer that is overwritten when the listener
// call is over, so that a host that reads later sees garbage.
class FakeBuffer final : public GraphicBuffer {
public:
    FakeBuffer(const CameraScript& script, PictureSize size, std::uint32_t number)
        : m_script(script),
          m_size(size),
          m_number(number),
          m_memory(driverBuffer(script.delivers, size, number, script.withoutHuffmanTables)) {
        width = size.width;
        height = size.height;
        timestamp = (std::int64_t{number} + 1) * 1000000 / script.fps;
    }

    std::shared_ptr<YCbCrFrame> mapYCbCr() override;
    std::shared_ptr<void> map() override { return {}; }
    std::shared_ptr<Frame> mapFrame() override;
    int rotation() const override { return 0; }

    void giveBack() { std::fill(m_memory.begin(), m_memory.end(), std::uint8_t{0xEE}); }

private:
    const CameraScript& m_script;
    PictureSize m_size;
    std::uint32_t m_number;
    std::vector<std::uint8_t> m_memory;
};

// A converted image, which outlives the buffer.
struct FakeImage : YCbCrFrame {
    std::vector<std::uint8_t> pixels;
};

std::shared_ptr<Frame> FakeBuffer::mapFrame() {
    if (m_script.delivers == PixelFormat::Invalid) {
        return {};
    }
    auto frame = std::make_shared<Frame>();
    frame->format = m_script.delivers;
    const std::uint8_t* const data = m_memory.data();
    const std::size_t luma = std::size_t{width} * height;
    const auto half = [](std::uint16_t side) { return static_cast<std::uint16_t>(side / 2); };
    switch (m_script.delivers) {
        case PixelFormat::YUYV:
        case PixelFormat::UYVY:
            frame->planes[0] = {width, height, static_cast<std::uint16_t>(width * 2), data};
            break;
        case PixelFormat::YUV420Planar:
            frame->planes[0] = {width, height, width, data};
            frame->planes[1] = {half(width), half(height), half(width), data + luma};
            frame->planes[2] = {half(width), half(height), half(width), data + luma + luma / 4};
            break;
        case PixelFormat::YUV420SemiPlanar:
            frame->planes[0] = {width, height, width, data};
            frame->planes[1] = {half(width), half(height), width, data + luma};
            break;
        default:
            frame->encoded = {width, height, static_cast<std::uint32_t>(m_memory.size()), data};
    }
    return frame;
}

std::shared_ptr<YCbCrFrame> FakeBuffer::mapYCbCr() {
    if (m_script.bufferTooShort || m_script.delivers == PixelFormat::H264 ||
        m_script.delivers == PixelFormat::Invalid) {
        return {};
    }
    auto image = std::make_shared<FakeImage>();
    image->width = width;
    image->height = height;
    image->yStride = width;
    image->timestamp = timestamp;
    const std::size_t luma = std::size_t{width} * height;
    if (m_script.delivers == PixelFormat::YUV420SemiPlanar) {
        image->y = m_memory.data();
        image->cb = image->y + luma;
        image->cr = image->cb + 1;
        image->cStride = width;
        image->chromaStep = 2;
        return image;
    }
    if (m_script.delivers == PixelFormat::YUV420Planar) {
        image->y = m_memory.data();
    } else {
        image->pixels = planarImage(m_size, m_number, m_script.delivers == PixelFormat::MJPG);
        image->y = image->pixels.data();
    }
    image->cb = image->y + luma;
    image->cr = image->cb + luma / 4;
    image->cStride = static_cast<std::uint16_t>(width / 2);
    image->chromaStep = 1;
    return image;
}

}  // namespace

FakeCamera::FakeCamera(const CameraScript& script, std::function<void()> remove)
    : m_script(script), m_remove(std::move(remove)) {}

FakeCamera::~FakeCamera() {
    if (m_started) {
        std::fprintf(stderr, "fake: the camera was let go of while it was capturing\n");
        stopCapture();
    }
    if (m_listener != nullptr) {
        std::fprintf(stderr, "fake: the camera was let go of with a listener\n");
    }
}

bool FakeCamera::getInfo(CameraInfo& info) {
    info = m_script.info;
    return true;
}

std::vector<PixelFormat> FakeCamera::getSupportedPixelFormats() {
    std::vector<PixelFormat> formats;
    for (const PixelFormatDescription& item : m_script.formats) {
        formats.push_back(item.format);
    }
    return formats;
}

bool FakeCamera::isFormatSupported(const PixelFormatDescription& description) {
    return std::count(m_script.formats.begin(), m_script.formats.end(), description) > 0;
}

bool FakeCamera::isFormatSupported(PixelFormat format) {
    const auto formats = getSupportedPixelFormats();
    return std::count(formats.begin(), formats.end(), format) > 0;
}

bool FakeCamera::queryCapabilityRanges(PixelFormat, CameraCapabilityRanges& ranges) {
    if (m_script.ranges) {
        ranges = *m_script.ranges;
    }
    return m_script.ranges.has_value();
}

bool FakeCamera::findClosestCapability(PixelFormat, const CameraCapabilityEx& desired,
                                       CameraCapabilityEx& result,
                                       Nerio::Lumiq::CameraCapabilityPriority) {
    if (m_script.findsClosest) {
        result = m_script.closest.value_or(desired);
    }
    return m_script.findsClosest;
}

bool FakeCamera::queryCapabilities(std::vector<CameraCapability>& capabilities) {
    capabilities = m_script.capabilities;
    return !capabilities.empty();
}

bool FakeCamera::startCapture(const CameraCapability& capability, PixelFormat format) {
    return startCapture(CameraCapabilityEx(capability), format);
}

bool FakeCamera::startCapture(const CameraCapabilityEx& capability, PixelFormat format) {
    const std::lock_guard lock(m_deviceMutex);
    if (!m_script.startLog.empty()) {
        std::clog << m_script.startLog << std::endl;
    }
    if (!m_script.starts || !isFormatSupported(format) || m_started) {
        return false;
    }
    m_capability = capability;
    m_started = true;
    m_thread = std::thread([this] { loop(); });
    return true;
}

bool FakeCamera::stopCapture() {
    {
        const std::lock_guard lock(m_waitMutex);
        if (!m_started.exchange(false)) {
            return true;
        }
    }
    m_wake.notify_all();
    m_thread.join();
    return true;
}

void FakeCamera::onRemoved() {
    stopCapture();
    report("Camera removed");
}

bool FakeCamera::waitForPace() {
    std::unique_lock lock(m_waitMutex);
    return !m_wake.wait_for(lock, m_script.pace, [this] { return !m_started; });
}

void FakeCamera::loop() {
    std::uint32_t delivered = 0;
    for (std::uint32_t number = 0; waitForPace(); ++number) {
        if (m_script.frames && delivered == *m_script.frames) {
            finishScript();
            return;
        }
        delivered += deliver(number) ? 1 : 0;
    }
}

bool FakeCamera::deliver(std::uint32_t number) {
    if (m_script.lost.count(number) != 0) {
        return false;
    }
    const std::lock_guard device(m_deviceMutex);
    const std::lock_guard listener(m_listenerMutex);
    if (m_listener == nullptr) {
        return true;
    }
    const PictureSize size{static_cast<std::uint16_t>(m_capability.width),
                           static_cast<std::uint16_t>(m_capability.height)};
    const auto buffer = std::make_shared<FakeBuffer>(m_script, size, number);
    if (m_script.late.count(number) != 0) {  // Arrives just before the next one.
        buffer->timestamp += 1000000 / m_script.fps - 100;
    }
    m_listener->onCameraFrame(buffer);
    buffer->giveBack();
    return true;
}

void FakeCamera::report(const std::string& error) {
    const std::lock_guard listener(m_listenerMutex);
    if (m_listener != nullptr) {
        m_listener->onCameraError(error);
    }
}

void FakeCamera::finishScript() {
    for (const std::string& step : m_script.then) {
        if (step == "removed") {
            m_remove();
        } else {
            report(step);
        }
    }
}

}  // namespace FakePlugin
