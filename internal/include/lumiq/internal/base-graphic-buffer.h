// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A graphic buffer that cannot be viewed in any way; back ends override what they can do. Inherits
// the threads of GraphicBuffer.

#ifndef LUMIQ_INTERNAL_BASE_GRAPHIC_BUFFER_H
#define LUMIQ_INTERNAL_BASE_GRAPHIC_BUFFER_H

#include "lumiq/graphic-buffer.h"

namespace Nerio::Lumiq::Internal {

class BaseGraphicBuffer : public GraphicBuffer {
public:
    [[nodiscard]] std::shared_ptr<YCbCrFrame> mapYCbCr() override { return {}; }
    [[nodiscard]] std::shared_ptr<void> map() override { return {}; }
    [[nodiscard]] std::shared_ptr<Frame> mapFrame() override { return {}; }
    [[nodiscard]] int rotation() const override { return 0; }
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_BASE_GRAPHIC_BUFFER_H
