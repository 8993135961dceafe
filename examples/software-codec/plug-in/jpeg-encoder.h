// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The encoder: each picture that goes in is a JPEG that comes out. Called by the host, on any
// thread, by one at a time.
#pragma once

#include <lumiq/internal/base-video-encoder.h>

#include <memory>
#include <queue>
#include <string>

#include "encoder-settings.h"
#include "turbo-jpeg.h"

namespace SoftwareCodec {

/// The base class is what the registry knows of it: it answers what the encoder is, and gives the
/// instance back when it is destroyed.
class JpegEncoder final : public Nerio::Lumiq::Internal::BaseVideoEncoder {
public:
    JpegEncoder(Nerio::Lumiq::Internal::BaseCodecManager* manager,
                const Nerio::Lumiq::Internal::VideoCodecDesc& desc);

    bool start(const Nerio::Lumiq::VideoEncoderMetadata& metadata) override;
    bool encode(const Nerio::Lumiq::YCbCrFrame& picture) override;
    std::shared_ptr<Nerio::Lumiq::EncodedPicture> takeEncoded() override;

    std::string getParameterRange(Nerio::Lumiq::CodecParameter parameter) override;
    std::string getParameter(Nerio::Lumiq::CodecParameter parameter) override;
    bool setParameter(Nerio::Lumiq::CodecParameter parameter, const std::string& value) override;

    [[nodiscard]] bool supports(const Nerio::Lumiq::VideoEncoderMetadata& metadata) const override;
    bool requestKeyPicture() override;
    void eos() override;

private:
    EncoderSettings m_settings;
    Compressor m_compressor;
    bool m_started = false;
    Nerio::Lumiq::VideoEncoderMetadata m_metadata;
    std::queue<std::shared_ptr<Nerio::Lumiq::EncodedPicture>> m_encoded;
};

}  // namespace SoftwareCodec
