// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A video node, asked whether it is a camera. Called by the source of real cameras, in the loop.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "camera.h"

namespace GateholdService {

// Opens a node for a client. Throws std::system_error.
sdbus::UnixFd openNode(const std::string& devicePath);

// The words of VIDIOC_QUERYCAP say whether a node gives pictures by itself. Left out are metadata
// nodes (each UVC camera has one), outputs, memory-to-memory codecs, touch panels, and nodes that
// give nothing until somebody sets up a media pipeline.
bool isCaptureNode(std::uint32_t capabilities, std::uint32_t deviceCaps);

// The camera behind a node; nothing if it is not a capture node. Throws std::system_error if the
// node cannot be opened or is no V4L2 device.
std::optional<Camera> queryNode(const std::string& devicePath);

}  // namespace GateholdService
