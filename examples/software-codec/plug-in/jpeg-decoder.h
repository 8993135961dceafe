// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The decoder: each JPEG that goes in is a picture that comes out. Called by the host, on any
// thread, by one at a time.
#pragma once

#include <lumiq/internal/base-video-decoder.h>

#include <memory>
#include <queue>
#include <string>

#include "turbo-jpeg.h"

namespace SoftwareCodec {

/// It has no settings. Damaged pictures are refused, whole; the next is then decoded as if nothing
/// had been.
class JpegDecoder final : public Nerio::Lumiq::Internal::BaseVideoDecoder {
public:
    using BaseVideoDecoder::BaseVideoDecoder;

    bool start(const Nerio::Lumiq::VideoDecoderMetadata& metadata) override;
    bool decode(const std::uint8_t* data, std::size_t size, std::int64_t timestamp) override;
    std::shared_ptr<Nerio::Lumiq::YCbCrFrame> takeDecoded() override;

    std::string getParameterRange(Nerio::Lumiq::CodecParameter parameter) override;
    std::string getParameter(Nerio::Lumiq::CodecParameter parameter) override;
    bool setParameter(Nerio::Lumiq::CodecParameter parameter, const std::string& value) override;

    [[nodiscard]] bool supports(const Nerio::Lumiq::VideoDecoderMetadata& metadata) const override;

private:
    Decompressor m_decompressor;
    bool m_started = false;
    std::uint16_t m_width = 0;
    std::uint16_t m_height = 0;
    std::queue<std::shared_ptr<Nerio::Lumiq::YCbCrFrame>> m_decoded;
};

}  // namespace SoftwareCodec
