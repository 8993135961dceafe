// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The generic half of an encoder: what it is, what it supports, and its place in the registry.
// Called by hosts, on their threads, by one at a time.

#ifndef LUMIQ_INTERNAL_BASE_VIDEO_ENCODER_H
#define LUMIQ_INTERNAL_BASE_VIDEO_ENCODER_H

#include <memory>

#include "lumiq/internal/base-codec-manager.h"
#include "lumiq/internal/parameter-set.h"
#include "lumiq/internal/video-codec-desc.h"
#include "lumiq/video-encoder.h"

namespace Nerio::Lumiq::Internal {

/// A back end derives from it and supplies the encoding and the three operations on settings, which
/// pass on to m_parameters what is in there.
class BaseVideoEncoder : public VideoEncoder {
public:
    /// An instance of `desc` that was taken from `manager`, which must outlive the encoder; nullptr
    /// when there is none to give it back to.
    BaseVideoEncoder(BaseCodecManager* manager, const VideoCodecDesc& desc);

    /// Gives the instance back. An exception out of that ends the process.
    ~BaseVideoEncoder() override;

    [[nodiscard]] VideoCodecInfo getInfo() const override;
    [[nodiscard]] std::shared_ptr<VideoCodecExtendedInfo> getExtendedInfo() const override;
    [[nodiscard]] bool supports(const VideoEncoderMetadata& metadata) const override;

    /// Does nothing; for an encoder that holds no picture back.
    void eos() override;

protected:
    const VideoCodecDesc m_desc;
    ParameterSet m_parameters;  ///< The encoder's settings by CodecParameter; empty at first.

private:
    BaseCodecManager* m_manager;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_BASE_VIDEO_ENCODER_H
