// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The pages of one frame buffer: a piece of the camera's file. Kept by the queue and by every
// mapping the host has made of it, so that a mapping outlives the buffer it came from. Any thread.

#ifndef LUMIQ_SIMULATOR_BUFFER_MEMORY_H
#define LUMIQ_SIMULATOR_BUFFER_MEMORY_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "control-block.h"
#include "owned.h"

namespace Simulator {

/// A whole number of pages, mapped here for the driver to write to.
class BufferMemory {
public:
    /// Takes the next free piece of the file; null when it cannot be mapped.
    static std::shared_ptr<BufferMemory> allocate(std::shared_ptr<const OwnedDescriptor> file,
                                                  ControlBlock& control, std::size_t bytes);
    /// Gives the pages back to the system.
    ~BufferMemory();
    BufferMemory(const BufferMemory&) = delete;
    BufferMemory& operator=(const BufferMemory&) = delete;

    [[nodiscard]] std::uint8_t* data() const { return m_mapping.address(); }
    [[nodiscard]] std::size_t bytes() const { return m_mapping.bytes(); }
    [[nodiscard]] std::uint64_t fileOffset() const { return m_offset; }

    /// How many mappings the host has.
    std::atomic<unsigned> mappings = 0;

private:
    BufferMemory(std::shared_ptr<const OwnedDescriptor> file, std::uint64_t offset,
                 std::size_t bytes);

    std::shared_ptr<const OwnedDescriptor> m_file;
    std::uint64_t m_offset;
    OwnedMapping m_mapping;
};

/// Rounded up to whole pages.
std::size_t wholePages(std::size_t bytes);

}  // namespace Simulator

#endif
