// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The codecs of one back end, as the host sees them. Implemented by back ends.

#ifndef LUMIQ_CODEC_MANAGER_H
#define LUMIQ_CODEC_MANAGER_H

#include <memory>
#include <string>
#include <vector>

#include "lumiq/codec-type.h"
#include "lumiq/video-codec-info.h"
#include "lumiq/video-decoder.h"
#include "lumiq/video-encoder.h"
#include "lumiq/video-metadata.h"
#include "lumiq/visibility.h"

namespace Nerio::Lumiq {

/// Lists codecs and makes encoders and decoders, of each codec no more at once than it allows.
///
/// Call init() first, on one thread; after it has returned true, the other operations may be called
/// on any thread. Encoders and decoders are the caller's, and none may outlive the manager. A codec
/// with no instance left is not an error of the manager: try again when another has been given
/// back. The order of the virtual operations is the binary contract; new ones are only ever
/// appended.
class LUMIQ_CONTRACT CodecManager {
public:
    CodecManager() = default;
    CodecManager(const CodecManager&) = delete;
    CodecManager& operator=(const CodecManager&) = delete;
    virtual ~CodecManager() = default;

    /// Finds out which codecs there are. True at once after a success; after a failure, which
    /// leaves a log line, it may be called again.
    virtual bool init() = 0;

    /// True when an encoder of this kind, on hardware if `hardwareOnly`, is listed and has an
    /// instance left at this moment. Another thread may take it before you do.
    [[nodiscard]] virtual bool videoEncoderAvailable(CodecType type, bool hardwareOnly) = 0;

    /// The same for a decoder.
    [[nodiscard]] virtual bool videoDecoderAvailable(CodecType type, bool hardwareOnly) = 0;

    /// Makes an encoder of this kind, on hardware if `hardwareOnly`: the first listed that has an
    /// instance left. Empty when there is none or when it cannot be made.
    [[nodiscard]] virtual std::shared_ptr<VideoEncoder> createVideoEncoder(CodecType type,
                                                                           bool hardwareOnly) = 0;

    /// The same for a decoder.
    [[nodiscard]] virtual std::shared_ptr<VideoDecoder> createVideoDecoder(CodecType type,
                                                                           bool hardwareOnly) = 0;

    /// All codecs, encoders and decoders, in the back end's order of preference.
    [[nodiscard]] virtual std::vector<VideoCodecInfo> listCodecs() const = 0;

    /// True when the codec is listed and has an instance left at this moment.
    [[nodiscard]] virtual bool isCodecIdAvailable(const std::string& id) const = 0;

    /// Makes an encoder by its id. Empty when there is no such codec; empty, with an Error line in
    /// the log, when it has no instance left; empty when the back end cannot make it.
    [[nodiscard]] virtual std::shared_ptr<VideoEncoder> createVideoEncoderById(
        const std::string& id) = 0;

    /// The same for a decoder.
    [[nodiscard]] virtual std::shared_ptr<VideoDecoder> createVideoDecoderById(
        const std::string& id) = 0;

    /// What the encoder `id` says of itself; it takes an instance for the duration of the call.
    /// Empty when none can be had, and for the id of a decoder: ask the decoder itself.
    [[nodiscard]] virtual std::shared_ptr<VideoCodecExtendedInfo> getVideoCodecExtendedInfo(
        const std::string& id) = 0;

    /// True when the decoder `id` can read what `metadata` describes and, if `hardwareOnly`, does
    /// so on hardware. When `id` is empty or no instance of it can be had, true when any listed
    /// decoder can. Takes instances for the duration of the call.
    [[nodiscard]] virtual bool videoDecoderSupports(const std::string& id,
                                                    const VideoDecoderMetadata& metadata,
                                                    bool hardwareOnly) = 0;

    /// The same for encoders and what they can make.
    [[nodiscard]] virtual bool videoEncoderSupports(const std::string& id,
                                                    const VideoEncoderMetadata& metadata,
                                                    bool hardwareOnly) = 0;
};

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_CODEC_MANAGER_H
