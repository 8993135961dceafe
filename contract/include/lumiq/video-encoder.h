// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One encoder, as the host drives it. Implemented by back ends.

#ifndef LUMIQ_VIDEO_ENCODER_H
#define LUMIQ_VIDEO_ENCODER_H

#include <memory>
#include <string>

#include "lumiq/codec-parameter.h"
#include "lumiq/encoded-picture.h"
#include "lumiq/frame.h"
#include "lumiq/video-codec-info.h"
#include "lumiq/video-metadata.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// One encoder: pictures go in, encoded bytes come out.
///
///     encoder->start({CodecType::JPEG, 640, 480, 0});
///     for each picture: encoder->encode(picture);
///                       while (auto encoded = encoder->takeEncoded()) use(encoded->data);
///     encoder->eos();   and take what is left
///
/// The host owns it and gives its instance back by letting go of the last pointer, on any thread;
/// it must not outlive its manager. The operations may be called on any thread, by one at a time.
/// None throws on a codec's failure: they return false or something empty. The order of the virtual
/// operations is the binary contract; new ones are only ever appended.
class LUMIQ_CONTRACT VideoEncoder {
public:
    VideoEncoder() = default;
    VideoEncoder(const VideoEncoder&) = delete;
    VideoEncoder& operator=(const VideoEncoder&) = delete;
    virtual ~VideoEncoder() = default;

    /// Prepares for pictures of this size; must come before the first encode(). Starts afresh when
    /// it was started before, and drops what was not taken. False, and not started, when supports()
    /// says no or the codec cannot be had.
    virtual bool start(const VideoEncoderMetadata& metadata) = 0;

    /// Hands in one picture, of the size that start() was given. Every encoder takes planar 4:2:0
    /// (chromaStep 1), with whatever strides the picture states. The picture is read before the
    /// call returns and is not kept. False when the encoder is not started or has seen eos(), when
    /// the picture is of another size or layout than it takes, or when encoding fails; the next
    /// picture may then be tried.
    virtual bool encode(const YCbCrFrame& picture) = 0;

    /// The oldest encoded picture that was not taken yet, which then is the caller's; empty when
    /// none is ready. An encoder may need several pictures before the first is ready.
    [[nodiscard]] virtual std::shared_ptr<EncodedPicture> takeEncoded() = 0;

    /// The allowed values of a setting as text: "1-100" for the numbers from 1 to 100,
    /// "auto,manual" for one of these words, "-" where the text says nothing of the values: such a
    /// setting takes any text, or only tells something. Empty when there is no such setting.
    [[nodiscard]] virtual std::string getParameterRange(CodecParameter parameter) = 0;

    /// The current value of a setting as text; empty when there is no such setting.
    [[nodiscard]] virtual std::string getParameter(CodecParameter parameter) = 0;

    /// Changes a setting, from the next picture on unless the back end says otherwise. False, and
    /// nothing changed, when there is no such setting or the value is not allowed.
    virtual bool setParameter(CodecParameter parameter, const std::string& value) = 0;

    /// The manager's record of this codec.
    [[nodiscard]] virtual VideoCodecInfo getInfo() const = 0;

    /// That record with the sizes that the codec takes; the caller's own. Never empty.
    [[nodiscard]] virtual std::shared_ptr<VideoCodecExtendedInfo> getExtendedInfo() const = 0;

    /// True when the encoder can make what `metadata` describes. Its type must be the codec's; the
    /// stride, where it is not 0, counts as the width. Neither side may be below the smallest size,
    /// and the area may not be above that of the largest.
    [[nodiscard]] virtual bool supports(const VideoEncoderMetadata& metadata) const = 0;

    /// Has the next picture handed in encoded so that it can be decoded without any earlier one.
    /// False when the encoder is not started or cannot be told so; true, with nothing to do, where
    /// every picture is like that.
    virtual bool requestKeyPicture() = 0;

    /// Says that no more pictures come until the next start(): what was held back waiting for more
    /// becomes ready to be taken. Nothing happens where nothing is held back.
    virtual void eos() = 0;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_VIDEO_ENCODER_H
