// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The descriptors as bytes. Called once, when the camera is made.

#include "descriptors.h"

#include <linux/usb/ch9.h>
#include <linux/usb/video.h>

#include "streaming-descriptors.h"

namespace UsbCamera {
namespace {

/// What pid.codes sets aside for tests (https://pid.codes/1209/0001); no driver treats it in a way
/// of its own.
constexpr std::uint16_t vendor = 0x1209;
constexpr std::uint16_t product = 0x0001;
constexpr std::uint16_t usb2 = 0x0200;
constexpr std::uint8_t controlPacketBytes = 64;
constexpr std::uint8_t maker = 1, productName = 2, serialNumber = 3;
constexpr std::uint8_t cameraTerminal = 1;
constexpr std::uint8_t miscClass = 0xef, commonSubclass = 2, associationProtocol = 1;

std::uint8_t protocol(UvcVersion version) {
    return version == UvcVersion::v1_5 ? UVC_PC_PROTOCOL_15 : UVC_PC_PROTOCOL_UNDEFINED;
}

Bytes deviceDescriptor() {
    Bytes bytes = {USB_DT_DEVICE_SIZE, USB_DT_DEVICE};
    appendLittle(bytes, usb2);
    append(bytes, {miscClass, commonSubclass, associationProtocol, controlPacketBytes});
    appendLittle(bytes, vendor);
    appendLittle(bytes, product);
    appendLittle(bytes, std::uint16_t{0x0100});
    append(bytes, {maker, productName, serialNumber, 1});
    return bytes;
}

Bytes qualifierDescriptor() {
    Bytes bytes = {10, USB_DT_DEVICE_QUALIFIER};
    appendLittle(bytes, usb2);
    append(bytes, {miscClass, commonSubclass, associationProtocol, controlPacketBytes, 1, 0});
    return bytes;
}

/// What the camera sees with and where it goes.
Bytes terminals() {
    Bytes bytes = {UVC_DT_CAMERA_TERMINAL_SIZE(3), USB_DT_CS_INTERFACE, UVC_VC_INPUT_TERMINAL,
                   cameraTerminal};
    appendLittle(bytes, std::uint16_t{UVC_ITT_CAMERA});
    append(bytes, {0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0});  // a fixed lens without controls
    append(bytes, {UVC_DT_OUTPUT_TERMINAL_SIZE, USB_DT_CS_INTERFACE, UVC_VC_OUTPUT_TERMINAL,
                   outputTerminal});
    appendLittle(bytes, std::uint16_t{UVC_TT_STREAMING});
    append(bytes, {0, cameraTerminal, 0});
    return bytes;
}

void appendControlInterface(Bytes& to, UvcVersion version) {
    append(to, {USB_DT_INTERFACE_SIZE, USB_DT_INTERFACE, controlInterface, 0, 0, USB_CLASS_VIDEO,
                UVC_SC_VIDEOCONTROL, protocol(version), 0});
    const Bytes entities = terminals();
    append(to, {UVC_DT_HEADER_SIZE(1), USB_DT_CS_INTERFACE, UVC_VC_HEADER});
    appendLittle(to, static_cast<std::uint16_t>(version));
    appendLittle(to, static_cast<std::uint16_t>(UVC_DT_HEADER_SIZE(1) + entities.size()));
    appendLittle(to, clockFrequency);
    append(to, {1, streamingInterface});
    append(to, entities);
}

Bytes configurationDescriptor(const StreamNegotiation& negotiation) {
    Bytes inner = {USB_DT_INTERFACE_ASSOCIATION_SIZE,
                   USB_DT_INTERFACE_ASSOCIATION,
                   controlInterface,
                   2,
                   USB_CLASS_VIDEO,
                   UVC_SC_VIDEO_INTERFACE_COLLECTION,
                   0,
                   0};
    appendControlInterface(inner, negotiation.version());
    appendStreamingInterface(inner, negotiation, protocol(negotiation.version()));
    const std::size_t total = USB_DT_CONFIG_SIZE + inner.size();
    if (total > mostBytes) {
        throw Simulator::DescriptionError("too many formats, sizes and intervals for a USB camera");
    }
    Bytes bytes = {USB_DT_CONFIG_SIZE, USB_DT_CONFIG};
    appendLittle(bytes, static_cast<std::uint16_t>(total));
    append(bytes, {2, 1, 0, 0x80, 250});  // two interfaces, powered by the bus
    append(bytes, inner);
    return bytes;
}

Bytes stringDescriptor(const std::string& text) {
    Bytes bytes = {static_cast<std::uint8_t>(2 + 2 * text.size()), USB_DT_STRING};
    for (const char c : text) {
        appendLittle(bytes, static_cast<std::uint16_t>(static_cast<unsigned char>(c)));
    }
    return bytes;
}

Bytes languages() {
    Bytes bytes = {4, USB_DT_STRING};
    appendLittle(bytes, std::uint16_t{0x0409});
    return bytes;
}

}  // namespace

Descriptors::Descriptors(const std::string& name, const std::string& serial,
                         const StreamNegotiation& negotiation)
    : m_device(deviceDescriptor()),
      m_qualifier(qualifierDescriptor()),
      m_configuration(configurationDescriptor(negotiation)),
      m_strings{languages(), stringDescriptor("Lumiq"), stringDescriptor(name),
                stringDescriptor(serial)} {}

std::optional<Bytes> Descriptors::find(std::uint8_t type, std::uint8_t index) const {
    if (type == USB_DT_STRING) {
        return index < m_strings.size() ? std::optional(m_strings[index]) : std::nullopt;
    }
    if (index != 0) {
        return std::nullopt;
    }
    switch (type) {
        case USB_DT_DEVICE:
            return m_device;
        case USB_DT_DEVICE_QUALIFIER:
            return m_qualifier;
        case USB_DT_CONFIG:
            return m_configuration;
        default:
            return std::nullopt;
    }
}

}  // namespace UsbCamera
