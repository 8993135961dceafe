// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// From JPEG to pictures; see the header.

#include "jpeg-decoder.h"

#include <utility>
#include <vector>

#include "descriptions.h"
#include "i420-picture.h"
#include "log.h"

namespace SoftwareCodec {

using Nerio::Lumiq::CodecParameter;
using Nerio::Lumiq::VideoDecoderMetadata;
using Nerio::Lumiq::YCbCrFrame;

bool JpegDecoder::supports(const VideoDecoderMetadata& metadata) const {
    return BaseVideoDecoder::supports(metadata) && takesSides(metadata.width, metadata.height);
}

bool JpegDecoder::start(const VideoDecoderMetadata& metadata) {
    m_decoded = {};
    m_started = supports(metadata);
    if (!m_started) {
        SOFTWARE_CODEC_LOG(Error) << "no pictures of " << metadata.width << "x" << metadata.height;
        return false;
    }
    m_width = static_cast<std::uint16_t>(metadata.width);
    m_height = static_cast<std::uint16_t>(metadata.height);
    return true;
}

bool JpegDecoder::decode(const std::uint8_t* data, std::size_t size, std::int64_t timestamp) {
    if (!m_started || (data == nullptr && size != 0)) {
        SOFTWARE_CODEC_LOG(Error) << (m_started ? "no bytes" : "not started");
        return false;
    }
    if (data == nullptr) {
        // The end: nothing is held back here.
        m_started = false;
        return true;
    }
    std::vector<std::uint8_t> i420;
    const Complaint complaint = m_decompressor.decompress(data, size, m_width, m_height, i420);
    if (!complaint.empty()) {
        SOFTWARE_CODEC_LOG(Error) << complaint;
        return false;
    }
    auto picture = makePicture(std::move(i420), m_width, m_height);
    picture->timestamp = timestamp;
    m_decoded.push(std::move(picture));
    return true;
}

std::shared_ptr<YCbCrFrame> JpegDecoder::takeDecoded() {
    if (m_decoded.empty()) {
        return {};
    }
    auto oldest = std::move(m_decoded.front());
    m_decoded.pop();
    return oldest;
}

std::string JpegDecoder::getParameterRange(CodecParameter parameter) {
    return m_parameters.range(static_cast<unsigned int>(parameter));
}

std::string JpegDecoder::getParameter(CodecParameter parameter) {
    return m_parameters.get(static_cast<unsigned int>(parameter));
}

bool JpegDecoder::setParameter(CodecParameter parameter, const std::string& value) {
    return m_parameters.set(static_cast<unsigned int>(parameter), value);
}

}  // namespace SoftwareCodec
