// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Calls libjpeg-turbo through its TurboJPEG interface, which reports errors as results: with the
// older interface of jpeglib.h an error handler would have to jump out of it, or the host would be
// ended. Called by the encoder and the decoder, on their threads.

#include "turbo-jpeg.h"

#include <turbojpeg.h>

#include <array>

namespace SoftwareCodec {
namespace {

constexpr std::uint8_t neutralChroma = 128;

Complaint complaintOf(void* library) {
    return tjGetErrorStr2(library);
}

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

/// What the head of a JPEG says of it.
struct Header {
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;

    bool isGrey() const { return colours == TJCS_GRAY && subsampling == TJSAMP_GRAY; }
    bool is420() const { return colours == TJCS_YCbCr && subsampling == TJSAMP_420; }
};

Complaint checkHeader(const Header& header, int width, int height) {
    if (header.width != width || header.height != height) {
        return "the picture is " + sizeText(header.width, header.height) + ", not " +
               sizeText(width, height);
    }
    if (!header.is420() && !header.isGrey()) {
        return "the picture is neither 4:2:0 nor grey";
    }
    return {};
}

}  // namespace

Compressor::Compressor() : m_library(tjInitCompress(), tjDestroy) {}

Complaint Compressor::compress(const Nerio::Lumiq::YCbCrFrame& picture, Chroma chroma, int quality,
                               std::vector<std::uint8_t>& jpeg) {
    if (!m_library) {
        return complaintOf(nullptr);
    }
    const int subsampling = chroma == Chroma::Grey ? TJSAMP_GRAY : TJSAMP_420;
    std::array<const unsigned char*, 3> planes = {picture.y, picture.cb, picture.cr};
    const std::array<int, 3> strides = {picture.yStride, picture.cStride, picture.cStride};
    // Large enough for any picture of the size, so that the library need not allocate.
    unsigned long size = tjBufSize(picture.width, picture.height, subsampling);
    if (size == static_cast<unsigned long>(-1)) {
        return complaintOf(nullptr);
    }
    m_bytes.resize(size);
    unsigned char* bytes = m_bytes.data();
    if (tjCompressFromYUVPlanes(m_library.get(), planes.data(), picture.width, strides.data(),
                                picture.height, subsampling, &bytes, &size, quality,
                                TJFLAG_NOREALLOC | TJFLAG_ACCURATEDCT) != 0) {
        return complaintOf(m_library.get());
    }
    jpeg.assign(bytes, bytes + size);
    return {};
}

Decompressor::Decompressor() : m_library(tjInitDecompress(), tjDestroy) {}

Complaint Decompressor::decompress(const std::uint8_t* data, std::size_t size, std::uint16_t width,
                                   std::uint16_t height, std::vector<std::uint8_t>& i420) {
    Complaint complaint = tryDecompress(data, size, width, height, i420);
    if (!complaint.empty()) {
        // After an error in the head of a picture it would take the next one for the rest of it.
        m_library.reset(tjInitDecompress());
    }
    return complaint;
}

Complaint Decompressor::tryDecompress(const std::uint8_t* data, std::size_t size,
                                      std::uint16_t width, std::uint16_t height,
                                      std::vector<std::uint8_t>& i420) {
    if (!m_library) {
        return complaintOf(nullptr);
    }
    Header header;
    if (tjDecompressHeader3(m_library.get(), data, size, &header.width, &header.height,
                            &header.subsampling, &header.colours) != 0) {
        return complaintOf(m_library.get());
    }
    if (Complaint complaint = checkHeader(header, width, height); !complaint.empty()) {
        return complaint;
    }
    const std::size_t luma = std::size_t{width} * height;
    // A grey picture has no chroma to fill in.
    i420.assign(luma + luma / 2, neutralChroma);
    std::array<unsigned char*, 3> planes = {&i420[0], &i420[luma], &i420[luma + luma / 4]};
    std::array<int, 3> strides = {width, width / 2, width / 2};
    // A picture that gives rise to a warning is refused, so there is no use in going on after the
    // first; and one with endlessly many scans is no picture.
    if (tjDecompressToYUVPlanes(
            m_library.get(), data, size, planes.data(), width, strides.data(), height,
            TJFLAG_ACCURATEDCT | TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS) != 0) {
        return complaintOf(m_library.get());
    }
    return {};
}

}  // namespace SoftwareCodec
