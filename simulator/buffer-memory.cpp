// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Pieces of the camera's file as frame buffers. Called by the stream, on any thread.

#include "buffer-memory.h"

#include <fcntl.h>
#include <linux/falloc.h>

namespace Simulator {

std::size_t wholePages(std::size_t bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

std::shared_ptr<BufferMemory> BufferMemory::allocate(std::shared_ptr<const OwnedDescriptor> file,
                                                     ControlBlock& control, std::size_t bytes) {
    const std::size_t room = wholePages(bytes);
    std::uint64_t used = control.arenaUsed.load();
    std::uint64_t at = 0;
    do {
        // The file is far larger than all buffers in use; at its end begin again at its start.
        at = used + room > ControlBlock::arenaBytes ? 0 : used;
    } while (!control.arenaUsed.compare_exchange_weak(used, at + room));
    std::shared_ptr<BufferMemory> memory(
        new BufferMemory(std::move(file), ControlBlock::arenaOffset + at, room));
    return memory->data() == nullptr ? nullptr : memory;
}

BufferMemory::BufferMemory(std::shared_ptr<const OwnedDescriptor> file, std::uint64_t offset,
                           std::size_t bytes)
    : m_file(std::move(file)), m_offset(offset), m_mapping(m_file->get(), offset, bytes) {}

BufferMemory::~BufferMemory() {
    fallocate(m_file->get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
              static_cast<off_t>(m_offset), static_cast<off_t>(bytes()));
}

}  // namespace Simulator
