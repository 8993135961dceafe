// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Writing frames; see the header.
#include "frame-writer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>
#include <utility>

#include "exit-code.h"
#include "picture.h"
#include "wake-up.h"

namespace LumiqCam {
namespace {

// How often a wait for a slow reader looks whether the user wants to stop, and how long a reader
// that does not read may hold up the end.
constexpr int kLookMilliseconds = 100;
constexpr int kPatienceLooks = 10;

std::string adviceFor(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return "Make the folder first.";
        case EACCES:
        case EPERM:
        case EROFS:
            return "Choose a place that you may write to.";
        case ENOSPC:
        case EDQUOT:
            return "Make room, or choose another place.";
        case EPIPE:
            return "The program that reads the frames has ended.";
        default:
            return {};
    }
}

ByteSpan asBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

OutputFile::~OutputFile() {
    if (m_owned && m_fd >= 0) {
        ::close(m_fd);
    }
}

void OutputFile::fail(const char* what) const {
    const int error = errno;
    const std::string name = m_path == "-" ? "standard output" : m_path;
    throw Failure(ExitCode::OutputFailed,
                  std::string(what) + " " + name + ": " + std::strerror(error), adviceFor(error));
}

void OutputFile::open(const std::string& path) {
    m_path = path;
    m_owned = path != "-";
    m_fd = m_owned ? ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)
                   : STDOUT_FILENO;
    struct stat status {};
    if (m_fd < 0 || fstat(m_fd, &status) != 0) {
        fail("cannot write");
    }
    m_hasReader = S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || isatty(m_fd) != 0;
}

// Pipes and terminals take as much as their reader reads. After this returned a pipe takes PIPE_BUF
// bytes without blocking, so a request to stop is never left waiting behind a reader that sleeps.
void OutputFile::waitUntilWritable() const {
    pollfd item{m_fd, POLLOUT, 0};
    int looks = 0;
    while (poll(&item, 1, kLookMilliseconds) <= 0) {
        if (StopSignals::requested() && ++looks > kPatienceLooks) {
            errno = ETIMEDOUT;
            fail("gave up writing to");
        }
    }
}

void OutputFile::write(ByteSpan bytes) {
    while (!bytes.empty()) {
        std::size_t part = bytes.size();
        if (m_hasReader) {
            waitUntilWritable();
            part = std::min<std::size_t>(part, PIPE_BUF);
        }
        const ssize_t written = ::write(m_fd, bytes.data(), part);
        if (written < 0 && errno != EINTR && errno != EAGAIN) {
            fail("cannot write to");
        }
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

void OutputFile::close() {
    const int fd = std::exchange(m_fd, -1);
    if (m_owned && fd >= 0 && ::close(fd) != 0) {
        fail("cannot finish");
    }
}

FrameWriter::FrameWriter(OutputTarget target, FrameRate rate)
    : m_target(std::move(target)), m_rate(rate) {}

void FrameWriter::write(const CapturedFrame& frame) {
    if (!m_file.isOpen()) {
        m_file.open(m_target.pathFor(m_frames + 1));
        ++m_files;
    }
    writeContent(frame);
    if (m_target.filePerFrame) {
        m_file.close();
    }
    ++m_frames;
}

void FrameWriter::writeContent(const CapturedFrame& frame) {
    switch (m_target.container) {
        case Container::Png:
            writeBytes(encodePng(frame));
            return;
        case Container::Jpeg:
            writeBytes(frame.content == FrameContent::Jpeg ? ByteSpan(frame.bytes)
                                                           : ByteSpan(encodeJpeg(frame)));
            return;
        case Container::Y4m:
            if (m_target.filePerFrame || m_frames == 0) {
                writeBytes(asBytes(y4mHeader(frame, m_rate)));
            }
            writeBytes(asBytes("FRAME\n"));
            break;
        case Container::Bytes:
        case Container::None:
            break;
    }
    writeBytes(frame.bytes);
}

void FrameWriter::writeBytes(ByteSpan bytes) {
    m_file.write(bytes);
    m_bytes += bytes.size();
}

void FrameWriter::close() {
    if (m_file.isOpen()) {
        m_file.close();
    }
}

}  // namespace LumiqCam
