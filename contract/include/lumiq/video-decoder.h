// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// One decoder, as the host drives it. Implemented by back ends.

#ifndef LUMIQ_VIDEO_DECODER_H
#define LUMIQ_VIDEO_DECODER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "lumiq/codec-parameter.h"
#include "lumiq/frame.h"
#include "lumiq/video-codec-info.h"
#include "lumiq/video-metadata.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// One decoder: encoded bytes go in, pictures come out.
///
/// The host owns it and gives its instance back by letting go of the last pointer, on any thread;
/// it must not outlive its manager. The operations may be called on any thread, by one at a time.
/// None throws on damaged bytes or a codec's failure: they return false or something empty. The
/// order of the virtual operations is the binary contract; new ones are only ever appended.
class LUMIQ_CONTRACT VideoDecoder {
public:
    VideoDecoder() = default;
    VideoDecoder(const VideoDecoder&) = delete;
    VideoDecoder& operator=(const VideoDecoder&) = delete;
    virtual ~VideoDecoder() = default;

    /// Prepares for pictures of this size; must come before the first decode(). Starts afresh when
    /// it was started before, and drops what was not taken. False, and not started, when supports()
    /// says no or the codec cannot be had.
    virtual bool start(const VideoDecoderMetadata& metadata) = 0;

    /// Hands in the bytes of one picture: `size` bytes from `data` on, which are read before the
    /// call returns and are not kept. `timestamp`, in microseconds or -1 for unknown, comes back
    /// with the picture. nullptr with size 0 says that no more bytes come until the next start():
    /// what was held back waiting for more becomes ready to be taken. False when the decoder is not
    /// started, or when the bytes are no picture of the size and kind that start() was given; the
    /// next may then be tried.
    virtual bool decode(const std::uint8_t* data, std::size_t size, std::int64_t timestamp) = 0;

    /// The oldest decoded picture that was not taken yet; empty when none is ready. Its pixels are
    /// valid as long as the pointer or a copy of it is held, also after the decoder is gone. A
    /// decoder may need the bytes of several pictures before the first is ready.
    [[nodiscard]] virtual std::shared_ptr<YCbCrFrame> takeDecoded() = 0;

    /// The allowed values of a setting as text, as VideoEncoder::getParameterRange gives them;
    /// empty when there is no such setting.
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

    /// True when the decoder can read what `metadata` describes. Its type must be the codec's.
    /// Neither side may be below the smallest size, and the area may not be above that of the
    /// largest.
    [[nodiscard]] virtual bool supports(const VideoDecoderMetadata& metadata) const = 0;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_VIDEO_DECODER_H
