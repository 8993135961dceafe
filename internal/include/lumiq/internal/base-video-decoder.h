// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The generic half of a decoder: what it is, what it supports, and its place in the registry.
// Called by hosts, on their threads, by one at a time.

#ifndef LUMIQ_INTERNAL_BASE_VIDEO_DECODER_H
#define LUMIQ_INTERNAL_BASE_VIDEO_DECODER_H

#include <memory>

#include "lumiq/internal/base-codec-manager.h"
#include "lumiq/internal/parameter-set.h"
#include "lumiq/internal/video-codec-desc.h"
#include "lumiq/video-decoder.h"

namespace Nerio::Lumiq::Internal {

/// A back end derives from it and supplies the decoding and the three operations on settings, which
/// pass on to m_parameters what is in there.
class BaseVideoDecoder : public VideoDecoder {
public:
    /// An instance of `desc` that was taken from `manager`, which must outlive the decoder; nullptr
    /// when there is none to give it back to.
    BaseVideoDecoder(BaseCodecManager* manager, const VideoCodecDesc& desc);

    /// Gives the instance back. An exception out of that ends the process.
    ~BaseVideoDecoder() override;

    [[nodiscard]] VideoCodecInfo getInfo() const override;
    [[nodiscard]] std::shared_ptr<VideoCodecExtendedInfo> getExtendedInfo() const override;
    [[nodiscard]] bool supports(const VideoDecoderMetadata& metadata) const override;

protected:
    const VideoCodecDesc m_desc;
    ParameterSet m_parameters;  ///< The decoder's settings by CodecParameter; empty at first.

private:
    BaseCodecManager* m_manager;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_BASE_VIDEO_DECODER_H
