// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The requests to the control endpoint, by whom they are for. Called on the camera's thread.

#include "control-endpoint.h"

#include <linux/usb/ch9.h>
#include <linux/usb/video.h>

#include <algorithm>
#include <utility>

namespace UsbCamera {
namespace {

constexpr std::uint8_t typeMask = USB_TYPE_MASK;
constexpr std::uint8_t recipientMask = USB_RECIP_MASK;
/// Why a request was refused, as the error code control tells it.
enum Refusal : std::uint8_t {
    wrongState = 2,
    invalidUnit = 5,
    invalidControl = 6,
    invalidRequest = 7
};

constexpr std::uint8_t readable = UVC_CONTROL_CAP_GET;
constexpr std::uint8_t readableAndWritable = UVC_CONTROL_CAP_GET | UVC_CONTROL_CAP_SET;

std::uint8_t low(std::uint16_t word) {
    return static_cast<std::uint8_t>(word & 0xff);
}
std::uint8_t high(std::uint16_t word) {
    return static_cast<std::uint8_t>(word >> 8);
}

}  // namespace

ControlEndpoint::ControlEndpoint(const Descriptors& descriptors,
                                 const StreamNegotiation& negotiation)
    : m_descriptors(descriptors), m_negotiation(negotiation) {
    reset();
}

void ControlEndpoint::reset() {
    m_configuration = 0;
    m_alternate = 0;
    m_probed = m_committed = m_negotiation.standard();
    m_error = 0;
    m_change = StreamChange::Stop;
}

StreamChange ControlEndpoint::takeChange() {
    return std::exchange(m_change, StreamChange::None);
}

bool ControlEndpoint::refuse(const std::string& name, unsigned count) {
    if (name != "probe" && name != "commit" && name != "interface") {
        return false;
    }
    m_refusals[name] = count;
    return true;
}

bool ControlEndpoint::refuses(const std::string& name) {
    const auto found = m_refusals.find(name);
    if (found == m_refusals.end() || found->second == 0) {
        return false;
    }
    --found->second;
    return true;
}

std::optional<Bytes> ControlEndpoint::failed(std::uint8_t code) {
    m_error = code;
    return std::nullopt;
}

std::optional<Bytes> ControlEndpoint::answer(const SetupPacket& setup,
                                             std::span<const std::uint8_t> data) {
    std::optional<Bytes> reply;
    if ((setup.requestType & typeMask) == USB_TYPE_CLASS) {
        reply = answerVideo(setup, data);
    } else if ((setup.requestType & typeMask) == USB_TYPE_STANDARD) {
        switch (setup.requestType & recipientMask) {
            case USB_RECIP_DEVICE:
                reply = answerDevice(setup);
                break;
            case USB_RECIP_INTERFACE:
                reply = answerInterface(setup);
                break;
            case USB_RECIP_ENDPOINT:
                reply = answerEndpoint(setup);
                break;
            default:
                break;
        }
    }
    if (reply) {
        m_error = 0;  // of the last request, so one that is answered ends it
    }
    if (reply && reply->size() > setup.length) {
        reply->resize(setup.length);
    }
    return reply;
}

std::optional<Bytes> ControlEndpoint::answerDevice(const SetupPacket& setup) {
    switch (setup.request) {
        case USB_REQ_GET_STATUS:
            return Bytes{0, 0};
        case USB_REQ_GET_DESCRIPTOR:
            return m_descriptors.find(high(setup.value), low(setup.value));
        case USB_REQ_GET_CONFIGURATION:
            return Bytes{m_configuration};
        case USB_REQ_SET_CONFIGURATION:
            if (low(setup.value) > 1) {
                return std::nullopt;
            }
            m_configuration = low(setup.value);
            m_alternate = 0;
            m_change = StreamChange::Stop;
            return Bytes{};
        default:
            return std::nullopt;
    }
}

std::optional<Bytes> ControlEndpoint::answerInterface(const SetupPacket& setup) {
    if (setup.index > streamingInterface) {
        return std::nullopt;
    }
    switch (setup.request) {
        case USB_REQ_GET_STATUS:
            return Bytes{0, 0};
        case USB_REQ_GET_INTERFACE:
            return Bytes{setup.index == streamingInterface ? m_alternate : std::uint8_t{0}};
        case USB_REQ_SET_INTERFACE:
            return selectAlternate(setup);
        default:
            return std::nullopt;
    }
}

std::optional<Bytes> ControlEndpoint::selectAlternate(const SetupPacket& setup) {
    const bool isochronous = m_negotiation.transport() == Transport::Isochronous;
    const std::size_t most =
        setup.index == streamingInterface && isochronous ? std::size(isoPayloads) : 0;
    if (setup.value > most || (setup.value > 0 && refuses("interface"))) {
        return std::nullopt;
    }
    if (setup.index == streamingInterface) {
        m_alternate = low(setup.value);
        m_change = m_alternate != 0 ? StreamChange::Start : StreamChange::Stop;
    }
    return Bytes{};
}

std::optional<Bytes> ControlEndpoint::answerEndpoint(const SetupPacket& setup) {
    const bool video = low(setup.index) == videoEndpointAddress;
    if (!video && low(setup.index) != 0) {
        return std::nullopt;
    }
    switch (setup.request) {
        case USB_REQ_GET_STATUS:
            return Bytes{0, 0};
        case USB_REQ_CLEAR_FEATURE:
            // The way in which the kernel ends a stream that has no other alternate setting.
            if (video) {
                m_change = StreamChange::Stop;
            }
            return Bytes{};
        default:
            return std::nullopt;
    }
}

std::optional<Bytes> ControlEndpoint::answerVideo(const SetupPacket& setup,
                                                  std::span<const std::uint8_t> data) {
    if ((setup.requestType & recipientMask) != USB_RECIP_INTERFACE) {
        return std::nullopt;
    }
    if (high(setup.index) != 0) {
        return failed(invalidUnit);  // none of the terminals has a control
    }
    if (low(setup.index) == controlInterface) {
        return answerControl(setup);
    }
    return low(setup.index) == streamingInterface ? answerStreaming(setup, data) : std::nullopt;
}

/// The control interface's only control: why the last request was refused.
std::optional<Bytes> ControlEndpoint::answerControl(const SetupPacket& setup) {
    if (high(setup.value) != UVC_VC_REQUEST_ERROR_CODE_CONTROL) {
        return failed(invalidControl);
    }
    switch (setup.request) {
        case UVC_GET_CUR:
            return Bytes{m_error};
        case UVC_GET_INFO:
            return Bytes{readable};
        default:
            return failed(invalidRequest);
    }
}

std::optional<Bytes> ControlEndpoint::answerStreaming(const SetupPacket& setup,
                                                      std::span<const std::uint8_t> data) {
    const std::uint8_t selector = high(setup.value);
    if (selector != UVC_VS_PROBE_CONTROL && selector != UVC_VS_COMMIT_CONTROL) {
        return failed(invalidControl);
    }
    const bool probe = selector == UVC_VS_PROBE_CONTROL;
    switch (setup.request) {
        case UVC_SET_CUR:
            return set(selector, data);
        case UVC_GET_CUR:
            return m_negotiation.describe(probe ? m_probed : m_committed);
        case UVC_GET_MIN:
            return probe ? m_negotiation.describe(m_negotiation.shortest())
                         : failed(invalidRequest);
        case UVC_GET_MAX:
            return probe ? m_negotiation.describe(m_negotiation.longest()) : failed(invalidRequest);
        case UVC_GET_DEF:
            return probe ? m_negotiation.describe(m_negotiation.standard())
                         : failed(invalidRequest);
        case UVC_GET_LEN: {
            const auto length = static_cast<std::uint8_t>(m_negotiation.length());
            return Bytes{length, 0};
        }
        case UVC_GET_INFO:
            return Bytes{readableAndWritable};
        default:
            return failed(invalidRequest);
    }
}

std::optional<Bytes> ControlEndpoint::set(std::uint8_t selector,
                                          std::span<const std::uint8_t> data) {
    const bool probe = selector == UVC_VS_PROBE_CONTROL;
    if (refuses(probe ? "probe" : "commit")) {
        return failed(wrongState);
    }
    if (data.size() < shortestProposal) {
        return failed(invalidRequest);
    }
    (probe ? m_probed : m_committed) = m_negotiation.nearest(data);
    // Without alternate settings a stream begins when it is agreed on.
    if (!probe && m_negotiation.transport() == Transport::Bulk) {
        m_change = StreamChange::Start;
    }
    return Bytes{};
}

}  // namespace UsbCamera
