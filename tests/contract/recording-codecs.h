// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Implementations of the codecs' interfaces that note which of their operations was called, and
// return what a test has put there. Used by the tests on one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "call-log.h"
#include "lumiq/codec-manager.h"

namespace Nerio::Lumiq {

/// What encoders and decoders have in common.
template <typename Interface, typename Metadata>
class RecordingCodec : public Interface {
public:
    explicit RecordingCodec(CallLog& log) : m_log(log) {}
    ~RecordingCodec() override { m_log.note("destroyed"); }

    bool start(const Metadata& metadata) override { return m_log.note("start", &metadata); }
    std::string getParameterRange(CodecParameter parameter) override {
        m_log.note("getParameterRange", parameter);
        return "1-100";
    }
    std::string getParameter(CodecParameter parameter) override {
        m_log.note("getParameter", parameter);
        return "75";
    }
    bool setParameter(CodecParameter parameter, const std::string& value) override {
        return m_log.note("setParameter", parameter, &value);
    }
    VideoCodecInfo getInfo() const override {
        m_log.note("getInfo");
        VideoCodecInfo info;
        info.id = "a codec";
        return info;
    }
    std::shared_ptr<VideoCodecExtendedInfo> getExtendedInfo() const override {
        m_log.note("getExtendedInfo");
        return extended;
    }
    bool supports(const Metadata& metadata) const override {
        return m_log.note("supports", &metadata);
    }

    std::shared_ptr<VideoCodecExtendedInfo> extended;

protected:
    CallLog& m_log;
};

class RecordingEncoder : public RecordingCodec<VideoEncoder, VideoEncoderMetadata> {
public:
    using RecordingCodec::RecordingCodec;

    bool encode(const YCbCrFrame& picture) override { return m_log.note("encode", &picture); }
    std::shared_ptr<EncodedPicture> takeEncoded() override {
        m_log.note("takeEncoded");
        return encoded;
    }
    bool requestKeyPicture() override { return m_log.note("requestKeyPicture"); }
    void eos() override { m_log.note("eos"); }

    std::shared_ptr<EncodedPicture> encoded;
};

class RecordingDecoder : public RecordingCodec<VideoDecoder, VideoDecoderMetadata> {
public:
    using RecordingCodec::RecordingCodec;

    bool decode(const std::uint8_t* data, std::size_t size, std::int64_t timestamp) override {
        return m_log.note("decode", static_cast<const void*>(data), size, timestamp);
    }
    std::shared_ptr<YCbCrFrame> takeDecoded() override {
        m_log.note("takeDecoded");
        return picture;
    }

    std::shared_ptr<YCbCrFrame> picture;
};

class RecordingCodecManager : public CodecManager {
public:
    explicit RecordingCodecManager(CallLog& log) : m_log(log) {}
    ~RecordingCodecManager() override { m_log.note("destroyed"); }

    bool init() override { return m_log.note("init"); }
    bool videoEncoderAvailable(CodecType type, bool hardwareOnly) override {
        return m_log.note("videoEncoderAvailable", type, hardwareOnly);
    }
    bool videoDecoderAvailable(CodecType type, bool hardwareOnly) override {
        return m_log.note("videoDecoderAvailable", type, hardwareOnly);
    }
    std::shared_ptr<VideoEncoder> createVideoEncoder(CodecType type, bool hardwareOnly) override {
        m_log.note("createVideoEncoder", type, hardwareOnly);
        return encoder;
    }
    std::shared_ptr<VideoDecoder> createVideoDecoder(CodecType type, bool hardwareOnly) override {
        m_log.note("createVideoDecoder", type, hardwareOnly);
        return decoder;
    }
    std::vector<VideoCodecInfo> listCodecs() const override {
        m_log.note("listCodecs");
        return std::vector<VideoCodecInfo>(3);
    }
    bool isCodecIdAvailable(const std::string& id) const override {
        return m_log.note("isCodecIdAvailable", &id);
    }
    std::shared_ptr<VideoEncoder> createVideoEncoderById(const std::string& id) override {
        m_log.note("createVideoEncoderById", &id);
        return encoder;
    }
    std::shared_ptr<VideoDecoder> createVideoDecoderById(const std::string& id) override {
        m_log.note("createVideoDecoderById", &id);
        return decoder;
    }
    std::shared_ptr<VideoCodecExtendedInfo> getVideoCodecExtendedInfo(
        const std::string& id) override {
        m_log.note("getVideoCodecExtendedInfo", &id);
        return extended;
    }
    bool videoDecoderSupports(const std::string& id, const VideoDecoderMetadata& metadata,
                              bool hardwareOnly) override {
        return m_log.note("videoDecoderSupports", &id, &metadata, hardwareOnly);
    }
    bool videoEncoderSupports(const std::string& id, const VideoEncoderMetadata& metadata,
                              bool hardwareOnly) override {
        return m_log.note("videoEncoderSupports", &id, &metadata, hardwareOnly);
    }

    std::shared_ptr<VideoEncoder> encoder;
    std::shared_ptr<VideoDecoder> decoder;
    std::shared_ptr<VideoCodecExtendedInfo> extended;

private:
    CallLog& m_log;
};

}  // namespace Nerio::Lumiq
