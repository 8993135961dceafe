// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// From pictures to JPEG; see the header.

#include "jpeg-encoder.h"

#include <utility>

#include "descriptions.h"
#include "log.h"

namespace SoftwareCodec {

using Nerio::Lumiq::CodecParameter;
using Nerio::Lumiq::EncodedPicture;
using Nerio::Lumiq::VideoEncoderMetadata;
using Nerio::Lumiq::YCbCrFrame;
using Nerio::Lumiq::Internal::BaseCodecManager;
using Nerio::Lumiq::Internal::VideoCodecDesc;

namespace {

/// True when the planes can be read as what `metadata` promised.
bool fits(const YCbCrFrame& picture, const VideoEncoderMetadata& metadata) {
    return picture.width == metadata.width && picture.height == metadata.height &&
           picture.chromaStep == 1 && picture.yStride >= picture.width &&
           picture.cStride >= picture.width / 2 && picture.y != nullptr && picture.cb != nullptr &&
           picture.cr != nullptr;
}

}  // namespace

JpegEncoder::JpegEncoder(BaseCodecManager* manager, const VideoCodecDesc& desc)
    : BaseVideoEncoder(manager, desc), m_settings(m_parameters) {}

bool JpegEncoder::supports(const VideoEncoderMetadata& metadata) const {
    return BaseVideoEncoder::supports(metadata) && takesSides(metadata.width, metadata.height) &&
           (metadata.stride == 0 || metadata.stride >= metadata.width);
}

bool JpegEncoder::start(const VideoEncoderMetadata& metadata) {
    m_encoded = {};
    m_started = supports(metadata);
    m_metadata = metadata;
    if (!m_started) {
        SOFTWARE_CODEC_LOG(Error) << "no pictures of " << metadata.width << "x" << metadata.height
                                  << ", or not of this type or stride";
    }
    return m_started;
}

bool JpegEncoder::encode(const YCbCrFrame& picture) {
    if (!m_started || !fits(picture, m_metadata)) {
        SOFTWARE_CODEC_LOG(Error) << (m_started ? "not a picture as announced" : "not started");
        return false;
    }
    auto encoded = std::make_shared<EncodedPicture>();
    const Complaint complaint =
        m_compressor.compress(picture, m_settings.chroma(), m_settings.quality(), encoded->data);
    if (!complaint.empty()) {
        SOFTWARE_CODEC_LOG(Error) << complaint;
        return false;
    }
    encoded->timestamp = picture.timestamp;
    encoded->isKeyPicture = true;
    m_settings.setLastSize(encoded->data.size());
    m_encoded.push(std::move(encoded));
    return true;
}

std::shared_ptr<EncodedPicture> JpegEncoder::takeEncoded() {
    if (m_encoded.empty()) {
        return {};
    }
    auto oldest = std::move(m_encoded.front());
    m_encoded.pop();
    return oldest;
}

std::string JpegEncoder::getParameterRange(CodecParameter parameter) {
    return m_parameters.range(static_cast<unsigned int>(parameter));
}

std::string JpegEncoder::getParameter(CodecParameter parameter) {
    return m_parameters.get(static_cast<unsigned int>(parameter));
}

bool JpegEncoder::setParameter(CodecParameter parameter, const std::string& value) {
    return m_parameters.set(static_cast<unsigned int>(parameter), value);
}

// Every JPEG stands for itself.
bool JpegEncoder::requestKeyPicture() {
    return m_started;
}

void JpegEncoder::eos() {
    m_started = false;
}

}  // namespace SoftwareCodec
