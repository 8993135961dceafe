// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The example plug-in as a host meets it: loaded by path, known by the contract. Test thread.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>

#include "jpeg-file.h"
#include "lumiq/codec-manager.h"
#include "lumiq/module.h"
#include "test-picture.h"

namespace SdkTest {

using Nerio::Lumiq::CodecManager;
using Nerio::Lumiq::CodecParameter;
using Nerio::Lumiq::CodecType;
using Nerio::Lumiq::EncodedPicture;
using Nerio::Lumiq::VideoDecoder;
using Nerio::Lumiq::VideoEncoder;
using Nerio::Lumiq::YCbCrFrame;

constexpr const char* encoderId = "software-jpeg-encoder";
constexpr const char* decoderId = "software-jpeg-decoder";

class TheSoftwareCodec : public testing::Test {
protected:
    void SetUp() override {
        // It stays loaded, as the library asks for.
        void* const library = dlopen(LUMIQ_SOFTWARE_CODEC, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto entry =
            reinterpret_cast<Nerio::Lumiq::LumiqModuleFunction>(dlsym(library, "LumiqModule"));
        ASSERT_NE(entry, nullptr);
        module = entry();
        ASSERT_NE(module, nullptr);
        codecs = module->getCodecManager();
        ASSERT_TRUE(codecs);
        ASSERT_TRUE(codecs->init());
    }

    std::shared_ptr<VideoEncoder> startedEncoder(int width, int height) {
        auto encoder = codecs->createVideoEncoder(CodecType::JPEG, false);
        EXPECT_TRUE(encoder && encoder->start({CodecType::JPEG, width, height, 0}));
        return encoder;
    }

    std::shared_ptr<VideoDecoder> startedDecoder(int width, int height) {
        auto decoder = codecs->createVideoDecoder(CodecType::JPEG, false);
        EXPECT_TRUE(decoder && decoder->start({CodecType::JPEG, width, height}));
        return decoder;
    }

    Nerio::Lumiq::Module* module = nullptr;
    std::shared_ptr<CodecManager> codecs;
};

}  // namespace SdkTest
