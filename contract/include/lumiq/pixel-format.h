// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Names pixel formats for hosts and back ends. Value types and free functions, usable on any
// thread.

#ifndef LUMIQ_PIXEL_FORMAT_H
#define LUMIQ_PIXEL_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace Nerio::Lumiq {

/// One number space for abstract wishes and concrete layouts.
///
/// The values up to 65535 name what a consumer wants. Every other value is a four-character code
/// with its first character in the lowest byte, the packing of V4L2 (`v4l2_fourcc` in the kernel's
/// linux/videodev2.h), so a concrete format and the V4L2 code are the same number. Codes without an
/// enumerator are valid values.
enum class PixelFormat : std::uint32_t {
    Invalid = 0,           ///< No format.
    YUV420Planar = 1,      ///< Three planes, chroma halved both ways: Y, Cb, Cr (I420).
    YUV420SemiPlanar = 2,  ///< Two planes, chroma halved both ways: Y, interleaved CbCr (NV12).
    YCbCrFlexible = 255,   ///< Any 4:2:0 layout; the mapped frame's strides and step describe it.
    Mappable = 65531,      ///< Anything the CPU can read.
    NotMappable = 65532,   ///< Anything, even if the CPU cannot read it.
    Raw = 65533,           ///< Any uncompressed format.
    Encoded = 65534,       ///< Any compressed format.
    Preferred = 65535,     ///< Whatever suits the camera best at the wished size.

    YU12 = 0x32315559,  ///< 'YU12': planar YUV 4:2:0.
    NV12 = 0x3231564E,  ///< 'NV12': semi-planar YUV 4:2:0.
    YUYV = 0x56595559,  ///< 'YUYV': packed YUV 4:2:2, luma first.
    UYVY = 0x59565955,  ///< 'UYVY': packed YUV 4:2:2, chroma first.
    MJPG = 0x47504A4D,  ///< 'MJPG': motion-JPEG.
    JPEG = 0x4745504A,  ///< 'JPEG': JPEG.
    H264 = 0x34363248,  ///< 'H264': H.264 byte stream.
    VP80 = 0x30385056,  ///< 'VP80': VP8.
    VP90 = 0x30395056,  ///< 'VP90': VP9.
    HEVC = 0x43564548,  ///< 'HEVC': H.265 byte stream.
};

/// The name of an abstract format ("YUV420Planar", "Raw", ...), or the four bytes of any other
/// value from the lowest to the highest ("YUYV"). The bytes are not checked for being printable;
/// such a text is always four characters long. Throws only what allocating the text can throw.
[[nodiscard]] inline std::string toString(PixelFormat format) {
    switch (format) {
        case PixelFormat::Invalid:
            return "Invalid";
        case PixelFormat::YUV420Planar:
            return "YUV420Planar";
        case PixelFormat::YUV420SemiPlanar:
            return "YUV420SemiPlanar";
        case PixelFormat::YCbCrFlexible:
            return "YCbCrFlexible";
        case PixelFormat::Mappable:
            return "Mappable";
        case PixelFormat::NotMappable:
            return "NotMappable";
        case PixelFormat::Raw:
            return "Raw";
        case PixelFormat::Encoded:
            return "Encoded";
        case PixelFormat::Preferred:
            return "Preferred";
        default:
            break;
    }
    const auto code = static_cast<std::uint32_t>(format);
    return {static_cast<char>(code & 0xFFU), static_cast<char>((code >> 8U) & 0xFFU),
            static_cast<char>((code >> 16U) & 0xFFU), static_cast<char>((code >> 24U) & 0xFFU)};
}

/// A format and how the camera comes by it.
struct PixelFormatDescription {
    /// The only flag there is: the camera does not deliver this format itself, the back end makes
    /// it from one that the camera does deliver.
    static constexpr std::uint64_t SupportedWithConverting = 2;

    PixelFormat format = PixelFormat::Invalid;
    std::uint64_t flags = 0;  ///< 0 (delivered directly) or SupportedWithConverting.
};

/// Equal only when the format and all 64 flag bits are equal.
[[nodiscard]] constexpr bool operator==(const PixelFormatDescription& left,
                                        const PixelFormatDescription& right) noexcept {
    return left.format == right.format && left.flags == right.flags;
}

[[nodiscard]] constexpr bool operator!=(const PixelFormatDescription& left,
                                        const PixelFormatDescription& right) noexcept {
    return !(left == right);
}

/// Orders descriptions by format alone, as signed numbers, so that an ordered set holds at most one
/// description of each format and the first one inserted stays.
struct CompareOnlyPixelFormat {
    [[nodiscard]] constexpr bool operator()(const PixelFormatDescription& left,
                                            const PixelFormatDescription& right) const noexcept {
        return static_cast<std::int32_t>(left.format) < static_cast<std::int32_t>(right.format);
    }
};

static_assert(sizeof(PixelFormat) == 4);
static_assert(sizeof(PixelFormatDescription) == 16);
static_assert(offsetof(PixelFormatDescription, format) == 0);
static_assert(offsetof(PixelFormatDescription, flags) == 8);

}  // namespace Nerio::Lumiq

#endif  // LUMIQ_PIXEL_FORMAT_H
