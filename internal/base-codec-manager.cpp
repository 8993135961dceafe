// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The codecs' registry. Called by hosts and by codec objects, on any thread.

#include "lumiq/internal/base-codec-manager.h"

#include <algorithm>
#include <atomic>
#include <string_view>

#include "lumiq/internal/log.h"

namespace Nerio::Lumiq::Internal {
namespace {

constexpr std::string_view logTag = "main ";

// A count that others may be changing. It is not written to, though the type must allow it.
int read(const int& count) {
    return std::atomic_ref(const_cast<int&>(count)).load(std::memory_order_relaxed);
}

// Wraps around at the end of the numbers, as atomic arithmetic does.
void add(int& count, int number) {
    std::atomic_ref(count).fetch_add(number, std::memory_order_relaxed);
}

}  // namespace

void BaseCodecManager::addCodec(const VideoCodecDesc& desc) {
    m_codecs.push_back(desc);
    m_freeInstances.emplace(desc.info.id, desc.info.maxInstances);
}

std::vector<VideoCodecInfo> BaseCodecManager::listCodecs() const {
    std::vector<VideoCodecInfo> infos;
    infos.reserve(m_codecs.size());
    for (const VideoCodecDesc& codec : m_codecs) {
        infos.push_back(codec.getInfo());
    }
    return infos;
}

bool BaseCodecManager::isCodecIdAvailable(const std::string& id) const {
    const auto found = m_freeInstances.find(id);
    return found != m_freeInstances.end() && read(found->second) > 0;
}

bool BaseCodecManager::acquireCodecId(const std::string& id) {
    const auto found = m_freeInstances.find(id);
    if (found == m_freeInstances.end()) {
        return false;
    }
    int& count = found->second;
    LUMIQ_LOG_TAGGED(Debug, logTag, __func__) << "acquire " << id << " of " << read(count);
    const MutexLock lock(m_countMutex);
    if (read(count) <= 0) {
        return false;
    }
    add(count, -1);
    return true;
}

void BaseCodecManager::releaseCodecId(const std::string& id) {
    const auto found = m_freeInstances.find(id);
    if (found == m_freeInstances.end()) {
        return;
    }
    int& count = found->second;
    LUMIQ_LOG_TAGGED(Debug, logTag, __func__) << "release " << id << " of " << read(count);
    const MutexLock lock(m_countMutex);
    add(count, 1);
}

const VideoCodecDesc* BaseCodecManager::findAvailable(CodecType type, bool isEncoder,
                                                      bool hardwareOnly) const {
    const auto found = std::find_if(m_codecs.begin(), m_codecs.end(), [&](const auto& codec) {
        const VideoCodecInfo& info = codec.getInfo();
        return info.isEncoder == isEncoder && info.type == type &&
               (info.isHardware || !hardwareOnly) && isCodecIdAvailable(info.id);
    });
    return found != m_codecs.end() ? &*found : nullptr;
}

bool BaseCodecManager::videoEncoderAvailable(CodecType type, bool hardwareOnly) {
    return findAvailable(type, true, hardwareOnly) != nullptr;
}

bool BaseCodecManager::videoDecoderAvailable(CodecType type, bool hardwareOnly) {
    return findAvailable(type, false, hardwareOnly) != nullptr;
}

std::shared_ptr<VideoEncoder> BaseCodecManager::createVideoEncoder(CodecType type,
                                                                   bool hardwareOnly) {
    const VideoCodecDesc* const codec = findAvailable(type, true, hardwareOnly);
    return codec != nullptr ? createVideoEncoderById(codec->getInfo().id) : nullptr;
}

std::shared_ptr<VideoDecoder> BaseCodecManager::createVideoDecoder(CodecType type,
                                                                   bool hardwareOnly) {
    const VideoCodecDesc* const codec = findAvailable(type, false, hardwareOnly);
    return codec != nullptr ? createVideoDecoderById(codec->getInfo().id) : nullptr;
}

// The first codec with this id, with an instance of it taken.
const VideoCodecDesc* BaseCodecManager::acquireFirst(const std::string& id, const char* operation) {
    const auto found = std::find_if(m_codecs.begin(), m_codecs.end(),
                                    [&](const auto& codec) { return codec.getInfo().id == id; });
    if (found == m_codecs.end()) {
        return nullptr;
    }
    if (!acquireCodecId(id)) {
        LUMIQ_LOG_TAGGED(Error, logTag, operation) << "codec " << id << " is not available";
        return nullptr;
    }
    return &*found;
}

std::shared_ptr<VideoEncoder> BaseCodecManager::createVideoEncoderById(const std::string& id) {
    const VideoCodecDesc* const codec = acquireFirst(id, __func__);
    return codec != nullptr ? makeVideoEncoder(*codec) : nullptr;
}

std::shared_ptr<VideoDecoder> BaseCodecManager::createVideoDecoderById(const std::string& id) {
    const VideoCodecDesc* const codec = acquireFirst(id, __func__);
    return codec != nullptr ? makeVideoDecoder(*codec) : nullptr;
}

std::shared_ptr<VideoCodecExtendedInfo> BaseCodecManager::getVideoCodecExtendedInfo(
    const std::string& id) {
    std::shared_ptr<VideoEncoder> encoder = createVideoEncoderById(id);
    if (!encoder) {
        encoder = createVideoEncoderById(id);
    }
    return encoder ? encoder->getExtendedInfo() : nullptr;
}

// Asks the codec with this id; without one, all that there are. Each object lives only while it is
// asked, so that the next one finds the instance free.
template <typename Codec, typename Metadata>
bool BaseCodecManager::anySupports(
    std::shared_ptr<Codec> (BaseCodecManager::*create)(const std::string&), bool isEncoder,
    const std::string& id, const Metadata& metadata, bool hardwareOnly) {
    if (!id.empty()) {
        if (const auto codec = (this->*create)(id)) {
            return (!hardwareOnly || codec->getInfo().isHardware) && codec->supports(metadata);
        }
    }
    return std::any_of(m_codecs.begin(), m_codecs.end(), [&](const VideoCodecDesc& each) {
        const VideoCodecInfo& info = each.getInfo();
        if (info.isEncoder != isEncoder || (hardwareOnly && !info.isHardware)) {
            return false;
        }
        const auto codec = (this->*create)(info.id);
        return codec && codec->supports(metadata);
    });
}

bool BaseCodecManager::videoDecoderSupports(const std::string& id,
                                            const VideoDecoderMetadata& metadata,
                                            bool hardwareOnly) {
    return anySupports(&BaseCodecManager::createVideoDecoderById, false, id, metadata,
                       hardwareOnly);
}

bool BaseCodecManager::videoEncoderSupports(const std::string& id,
                                            const VideoEncoderMetadata& metadata,
                                            bool hardwareOnly) {
    return anySupports(&BaseCodecManager::createVideoEncoderById, true, id, metadata, hardwareOnly);
}

}  // namespace Nerio::Lumiq::Internal
