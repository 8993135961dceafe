// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The camera's thread: it waits for the kernel, for commands and for the next frame.

#include "camera.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

namespace UsbCamera {
namespace {

/// The rest of the time until then, for ppoll.
timespec left(Clock::time_point until) {
    const auto rest = std::max(until - Clock::now(), Clock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
    const auto nanoseconds = std::chrono::nanoseconds(rest - seconds);
    return {static_cast<time_t>(seconds.count()), static_cast<long>(nanoseconds.count())};
}

}  // namespace

Camera::Camera(Simulator::CameraDescription description, UvcVersion version, Transport transport,
               UsbPort& port)
    : m_description(std::move(description)),
      m_negotiation(uvcFormats(m_description), version, transport),
      m_descriptors(m_description.name, m_description.busInfo, m_negotiation),
      m_control(m_descriptors, m_negotiation),
      m_port(port),
      m_painters(m_description.picture),
      m_faults(std::make_unique<Simulator::ControlBlock>()) {
    for (const Simulator::Fault& fault : m_description.faults) {
        const std::string answer = addFault(fault);
        if (answer != "ok") {
            throw Simulator::DescriptionError("/faults: " + answer);
        }
    }
}

void Camera::plugIn() {
    m_device.reset();
    m_device =
        std::make_unique<UsbDevice>(m_port.plug(), m_control, m_negotiation, m_painters, *m_faults);
}

/// Streams; returns when there is more to do.
std::optional<Clock::time_point> Camera::work() {
    if (!m_device) {
        return std::nullopt;
    }
    const VideoEndpoint::Work work = m_device->work(Clock::now());
    if (work.unplug) {
        unplug();
    }
    return work.until;
}

void Camera::run(int stop, const ControlSocket* control) {
    while (!m_quit) {
        const std::optional<Clock::time_point> until = work();
        const timespec rest = until ? left(*until) : timespec{};
        pollfd events[] = {{stop, POLLIN, 0},
                           {control != nullptr ? control->descriptor() : -1, POLLIN, 0},
                           {m_device ? m_device->descriptor() : -1, POLLIN, 0}};
        const int ready = ppoll(events, std::size(events), until ? &rest : nullptr, nullptr);
        if (ready < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "ppoll");
        }
        if (ready <= 0) {
            continue;
        }
        if (events[0].revents != 0) {
            return;
        }
        if (events[2].revents != 0 && !m_device->receive()) {
            unplug();
        }
        if (events[1].revents != 0) {
            control->serve([this](const std::string& command) { return obey(command); });
        }
    }
}

}  // namespace UsbCamera
