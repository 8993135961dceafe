// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What every encoder answers in the same way. Called by hosts, on their threads.

#include "lumiq/internal/base-video-encoder.h"

namespace Nerio::Lumiq::Internal {

BaseVideoEncoder::BaseVideoEncoder(BaseCodecManager* manager, const VideoCodecDesc& desc)
    : m_desc(desc), m_manager(manager) {}

BaseVideoEncoder::~BaseVideoEncoder() {
    if (m_manager != nullptr) {
        m_manager->releaseCodecId(m_desc.getInfo().id);
    }
}

VideoCodecInfo BaseVideoEncoder::getInfo() const {
    return m_desc.getInfo();
}

std::shared_ptr<VideoCodecExtendedInfo> BaseVideoEncoder::getExtendedInfo() const {
    return extendedInfo(m_desc);
}

bool BaseVideoEncoder::supports(const VideoEncoderMetadata& metadata) const {
    const std::int32_t width = metadata.stride != 0 ? metadata.stride : metadata.width;
    return metadata.type == m_desc.getInfo().type &&
           holds(m_desc.getSizeRange(), width, metadata.height);
}

void BaseVideoEncoder::eos() {}

}  // namespace Nerio::Lumiq::Internal
