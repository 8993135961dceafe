// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The names that the service and its clients agree on. Included by every file that speaks on the
// bus.
#pragma once

namespace GateholdService::Protocol {

inline constexpr const char* kServiceName = "io.nerio.Gatehold1";
// The object manager; every object directly beneath it is a camera. Nothing else may be put there:
// clients take each object they are told of for a camera.
inline constexpr const char* kManagerPath = "/io/nerio/Gatehold1/Uvc";
inline constexpr const char* kDeviceInterface = "io.nerio.Gatehold1.UvcDevice";

inline constexpr const char* kControlPath = "/io/nerio/Gatehold1/Control";
inline constexpr const char* kControlInterface = "io.nerio.Gatehold1.Control";

// "Open": the camera has left.
inline constexpr const char* kErrorGone = "io.nerio.Gatehold1.Error.Gone";
// "Open": the camera is there, but no handle could be had; the text says why.
inline constexpr const char* kErrorFailed = "io.nerio.Gatehold1.Error.Failed";
// Control: the description or the fault makes no sense; the text names the place in the JSON.
inline constexpr const char* kErrorBadDescription = "io.nerio.Gatehold1.Error.BadDescription";
// Control: no simulated camera of that path.
inline constexpr const char* kErrorNoSuchCamera = "io.nerio.Gatehold1.Error.NoSuchCamera";

}  // namespace GateholdService::Protocol
