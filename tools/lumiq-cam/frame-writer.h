// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Writes frames where the output target says. Main thread.
#pragma once

#include <cstdint>
#include <string>

#include "captured-frame.h"
#include "jpeg-stream.h"
#include "output-target.h"

namespace LumiqCam {

// A descriptor being written to; "-" is standard output.
class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    // These throw Failure (output-failed).
    void open(const std::string& path);
    void write(ByteSpan bytes);
    void close();

    bool isOpen() const { return m_fd >= 0; }

private:
    [[noreturn]] void fail(const char* what) const;
    void waitUntilWritable() const;

    std::string m_path;
    int m_fd = -1;
    bool m_owned = false;
    bool m_hasReader = false;  // Takes no more than somebody reads.
};

class FrameWriter {
public:
    // The rate goes into headers.
    FrameWriter(OutputTarget target, FrameRate rate);

    // These throw Failure (output-failed). A file is made when its first frame is there, so that a
    // capture that fails to start leaves none behind.
    void write(const CapturedFrame& frame);
    void close();

    std::uint64_t frames() const { return m_frames; }
    std::uint64_t bytes() const { return m_bytes; }
    std::uint64_t files() const { return m_files; }

private:
    void writeContent(const CapturedFrame& frame);
    void writeBytes(ByteSpan bytes);

    OutputTarget m_target;
    FrameRate m_rate;
    OutputFile m_file;
    std::uint64_t m_frames = 0;
    std::uint64_t m_bytes = 0;
    std::uint64_t m_files = 0;
};

}  // namespace LumiqCam
