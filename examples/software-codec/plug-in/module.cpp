// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the host gets from the library: a module without cameras and with the two codecs. Called by
// the host, on any thread.

#include <lumiq/internal/base-codec-manager.h>
#include <lumiq/module.h>

#include <memory>

#include "descriptions.h"
#include "jpeg-decoder.h"
#include "jpeg-encoder.h"

namespace SoftwareCodec {
namespace {

using Nerio::Lumiq::CameraManager;
using Nerio::Lumiq::CodecManager;
using Nerio::Lumiq::VideoDecoder;
using Nerio::Lumiq::VideoEncoder;
using Nerio::Lumiq::Internal::BaseCodecManager;
using Nerio::Lumiq::Internal::VideoCodecDesc;

class JpegCodecManager final : public BaseCodecManager {
public:
    // Here rather than in init(): these codecs are always there, and a host that asks before, or
    // twice, gets the same answer.
    JpegCodecManager() {
        addCodec(describeEncoder());
        addCodec(describeDecoder());
    }

    bool init() override { return true; }

protected:
    std::shared_ptr<VideoEncoder> makeVideoEncoder(const VideoCodecDesc& desc) override {
        return desc.getInfo().isEncoder ? std::make_shared<JpegEncoder>(this, desc)
                                        : giveBack<VideoEncoder>(desc);
    }

    std::shared_ptr<VideoDecoder> makeVideoDecoder(const VideoCodecDesc& desc) override {
        return desc.getInfo().isEncoder ? giveBack<VideoDecoder>(desc)
                                        : std::make_shared<JpegDecoder>(this, desc);
    }

private:
    // Asked for an encoder by the id of the decoder, or the other way round: no object takes over
    // the instance that was acquired for it.
    template <typename Codec>
    std::shared_ptr<Codec> giveBack(const VideoCodecDesc& desc) {
        releaseCodecId(desc.getInfo().id);
        return {};
    }
};

class SoftwareCodecModule final : public Nerio::Lumiq::Module {
public:
    int priority() const override { return 0; }
    std::shared_ptr<CameraManager> getCameraManager() override { return {}; }

    std::shared_ptr<CodecManager> getCodecManager() override {
        // Never destroyed, since codec objects need it, and a host's may be among the last objects
        // of the process. The pointer owns nothing.
        static JpegCodecManager& codecs = *new JpegCodecManager;
        return {std::shared_ptr<CodecManager>(), &codecs};
    }
};

}  // namespace
}  // namespace SoftwareCodec

Nerio::Lumiq::Module* LumiqModule() {
    static SoftwareCodec::SoftwareCodecModule module;
    return &module;
}
