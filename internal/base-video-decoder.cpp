// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What every decoder answers in the same way. Called by hosts, on their threads.

#include "lumiq/internal/base-video-decoder.h"

namespace Nerio::Lumiq::Internal {

BaseVideoDecoder::BaseVideoDecoder(BaseCodecManager* manager, const VideoCodecDesc& desc)
    : m_desc(desc), m_manager(manager) {}

BaseVideoDecoder::~BaseVideoDecoder() {
    if (m_manager != nullptr) {
        m_manager->releaseCodecId(m_desc.getInfo().id);
    }
}

VideoCodecInfo BaseVideoDecoder::getInfo() const {
    return m_desc.getInfo();
}

std::shared_ptr<VideoCodecExtendedInfo> BaseVideoDecoder::getExtendedInfo() const {
    return extendedInfo(m_desc);
}

bool BaseVideoDecoder::supports(const VideoDecoderMetadata& metadata) const {
    return metadata.type == m_desc.getInfo().type &&
           holds(m_desc.getSizeRange(), metadata.width, metadata.height);
}

}  // namespace Nerio::Lumiq::Internal
