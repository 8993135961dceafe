// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The registry of a back end's codecs: lists them, finds one for a type, and counts the instances
// of each. Called by hosts through the CodecManager interface and by codec objects as they are
// destroyed, on any thread.

#ifndef LUMIQ_INTERNAL_BASE_CODEC_MANAGER_H
#define LUMIQ_INTERNAL_BASE_CODEC_MANAGER_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lumiq/codec-manager.h"
#include "lumiq/internal/mutex.h"
#include "lumiq/internal/video-codec-desc.h"

namespace Nerio::Lumiq::Internal {

/// A back end derives from it, calls addCodec() for each of its codecs in its constructor or its
/// init(), and supplies the two factories. Its codec objects derive from BaseVideoEncoder and
/// BaseVideoDecoder, whose destructors give the instance back.
///
/// addCodec() must be done before other threads know the manager. The counts change under a mutex
/// of the manager's own and are read without it; no lock is held while a factory runs.
class BaseCodecManager : public CodecManager {
public:
    [[nodiscard]] bool videoEncoderAvailable(CodecType type, bool hardwareOnly) override;
    [[nodiscard]] bool videoDecoderAvailable(CodecType type, bool hardwareOnly) override;
    [[nodiscard]] std::shared_ptr<VideoEncoder> createVideoEncoder(CodecType type,
                                                                   bool hardwareOnly) override;
    [[nodiscard]] std::shared_ptr<VideoDecoder> createVideoDecoder(CodecType type,
                                                                   bool hardwareOnly) override;

    /// One record for each addCodec(), in that order, those of the same id included.
    [[nodiscard]] std::vector<VideoCodecInfo> listCodecs() const override;
    [[nodiscard]] bool isCodecIdAvailable(const std::string& id) const override;

    /// Takes an instance and has the encoder factory make an object of the first description with
    /// this id, be it an encoder or a decoder. An unknown id leaves no log line.
    [[nodiscard]] std::shared_ptr<VideoEncoder> createVideoEncoderById(
        const std::string& id) override;
    [[nodiscard]] std::shared_ptr<VideoDecoder> createVideoDecoderById(
        const std::string& id) override;

    /// Tries to make an encoder twice before it gives up, and never a decoder.
    [[nodiscard]] std::shared_ptr<VideoCodecExtendedInfo> getVideoCodecExtendedInfo(
        const std::string& id) override;

    [[nodiscard]] bool videoDecoderSupports(const std::string& id,
                                            const VideoDecoderMetadata& metadata,
                                            bool hardwareOnly) override;
    [[nodiscard]] bool videoEncoderSupports(const std::string& id,
                                            const VideoEncoderMetadata& metadata,
                                            bool hardwareOnly) override;

    /// Registers a copy of `desc` behind those that are there. The first codec of an id decides how
    /// many instances the id has.
    void addCodec(const VideoCodecDesc& desc);

    /// Takes an instance; false when there is none left or no such codec. A Debug line says how
    /// many were left.
    bool acquireCodecId(const std::string& id);

    /// Gives an instance back, even one that was never taken. Nothing happens when there is no such
    /// codec. A Debug line says how many were left before.
    void releaseCodecId(const std::string& id);

protected:
    /// Makes an encoder of `desc`; runs with an instance taken. An object derived from
    /// BaseVideoEncoder and made with this manager gives it back when it is destroyed, also when
    /// its constructor fails half way. A factory that gives up before there is such an object, as
    /// for a `desc` that is no encoder, calls releaseCodecId() itself and returns an empty pointer;
    /// otherwise the instance is gone for good.
    [[nodiscard]] virtual std::shared_ptr<VideoEncoder> makeVideoEncoder(
        const VideoCodecDesc& desc) = 0;

    /// The same for decoders and BaseVideoDecoder.
    [[nodiscard]] virtual std::shared_ptr<VideoDecoder> makeVideoDecoder(
        const VideoCodecDesc& desc) = 0;

private:
    [[nodiscard]] const VideoCodecDesc* findAvailable(CodecType type, bool isEncoder,
                                                      bool hardwareOnly) const;
    [[nodiscard]] const VideoCodecDesc* acquireFirst(const std::string& id, const char* operation);
    template <typename Codec, typename Metadata>
    [[nodiscard]] bool anySupports(
        std::shared_ptr<Codec> (BaseCodecManager::*create)(const std::string&), bool isEncoder,
        const std::string& id, const Metadata& metadata, bool hardwareOnly);

    std::vector<VideoCodecDesc> m_codecs;
    // By codec id. Fixed once registration is done but for the counts, which change with the mutex
    // held and are read by anybody, both atomically.
    std::map<std::string, int> m_freeInstances;
    Mutex m_countMutex;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_BASE_CODEC_MANAGER_H
