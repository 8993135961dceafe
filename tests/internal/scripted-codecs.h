// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A back end with codecs that encode and decode nothing, and that says which of its parts were
// called. Used by the tests on the threads that they say.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lumiq/internal/base-codec-manager.h"
#include "lumiq/internal/base-video-decoder.h"
#include "lumiq/internal/base-video-encoder.h"

namespace Nerio::Lumiq::Internal {

// Told what happens, in words; may be empty.
using Witness = std::function<void(const std::string&)>;

// What both kinds need: settings that a test can fill, and a word when it is asked.
template <typename Base, typename Metadata>
class ScriptedCodec : public Base {
public:
    ScriptedCodec(BaseCodecManager* manager, const VideoCodecDesc& desc, Witness witness = {})
        : Base(manager, desc), m_witness(std::move(witness)) {}
    bool start(const Metadata& /*metadata*/) override { return false; }
    std::string getParameterRange(CodecParameter id) override {
        return this->m_parameters.range(static_cast<unsigned int>(id));
    }
    std::string getParameter(CodecParameter id) override {
        return this->m_parameters.get(static_cast<unsigned int>(id));
    }
    bool setParameter(CodecParameter id, const std::string& value) override {
        return this->m_parameters.set(static_cast<unsigned int>(id), value);
    }
    bool supports(const Metadata& metadata) const override {
        if (m_witness) {
            m_witness("ask " + this->m_desc.getInfo().id);
        }
        return Base::supports(metadata);
    }

    ParameterSet& parameters() { return this->m_parameters; }

private:
    Witness m_witness;
};

class ScriptedEncoder : public ScriptedCodec<BaseVideoEncoder, VideoEncoderMetadata> {
public:
    using ScriptedCodec::ScriptedCodec;
    bool encode(const YCbCrFrame& /*picture*/) override { return false; }
    std::shared_ptr<EncodedPicture> takeEncoded() override { return {}; }
    bool requestKeyPicture() override { return false; }
};

class ScriptedDecoder : public ScriptedCodec<BaseVideoDecoder, VideoDecoderMetadata> {
public:
    using ScriptedCodec::ScriptedCodec;
    bool decode(const std::uint8_t* /*data*/, std::size_t /*size*/,
                std::int64_t /*timestamp*/) override {
        return false;
    }
    std::shared_ptr<YCbCrFrame> takeDecoded() override { return {}; }
};

class ScriptedCodecManager : public BaseCodecManager {
public:
    explicit ScriptedCodecManager(Witness witness = {}) : m_witness(std::move(witness)) {}
    bool init() override { return true; }

protected:
    std::shared_ptr<VideoEncoder> makeVideoEncoder(const VideoCodecDesc& desc) override {
        tell("encoder " + desc.getInfo().id);
        return std::make_shared<ScriptedEncoder>(this, desc, m_witness);
    }
    std::shared_ptr<VideoDecoder> makeVideoDecoder(const VideoCodecDesc& desc) override {
        tell("decoder " + desc.getInfo().id);
        return std::make_shared<ScriptedDecoder>(this, desc, m_witness);
    }
    void tell(const std::string& what) const {
        if (m_witness) {
            m_witness(what);
        }
    }

private:
    Witness m_witness;
};

// Of sizes from 64x64 to 1920x1080.
inline VideoCodecDesc codec(const std::string& id, CodecType type, bool isEncoder, int instances,
                            bool isHardware = false) {
    return {{type, isEncoder, id, 0, instances, isHardware}, {{64, 64}, {1920, 1080}}, {2, 2}};
}
inline VideoCodecDesc encoder(const std::string& id, CodecType type, int instances,
                              bool isHardware = false) {
    return codec(id, type, true, instances, isHardware);
}
inline VideoCodecDesc decoder(const std::string& id, CodecType type, int instances,
                              bool isHardware = false) {
    return codec(id, type, false, instances, isHardware);
}

}  // namespace Nerio::Lumiq::Internal
