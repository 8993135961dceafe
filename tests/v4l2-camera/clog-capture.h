// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the process writes to std::clog while it lives. Any thread writes, the test's thread reads.

#ifndef LUMIQ_TEST_CLOG_CAPTURE_H
#define LUMIQ_TEST_CLOG_CAPTURE_H

#include <condition_variable>
#include <mutex>
#include <streambuf>
#include <string>
#include <vector>

namespace TestSupport {

class ClogCapture : private std::streambuf {
public:
    ClogCapture();
    ClogCapture(const ClogCapture&) = delete;
    ClogCapture& operator=(const ClogCapture&) = delete;
    ~ClogCapture() override;

    /// The text behind " -- " of every finished line so far, with the function's name before it:
    /// "freeBuffers: VIDIOC_STREAMOFF failed: Invalid argument(22)".
    [[nodiscard]] std::vector<std::string> messages();
    [[nodiscard]] std::size_t count(const std::string& message);
    [[nodiscard]] bool has(const std::string& message) { return count(message) != 0; }
    /// False when the limit passed first.
    [[nodiscard]] bool waitFor(const std::string& message);
    [[nodiscard]] bool waitForPrefix(const std::string& prefix);
    /// The same, also content with what was cleared.
    [[nodiscard]] bool waitForPrefixEver(const std::string& prefix);
    /// All of it, as it was written.
    [[nodiscard]] std::string text();
    /// What was written so far is not shown any more.
    void clear();

private:
    std::streamsize xsputn(const char* text, std::streamsize length) override;
    int overflow(int character) override;
    int sync() override;
    std::vector<std::string> messagesFrom(std::size_t begin) const;
    template <typename Predicate>
    bool waitUntilAny(bool cleared, Predicate matches);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_text;
    std::size_t m_shown = 0;    // What lies before was cleared.
    std::size_t m_flushed = 0;  // What lies behind is still being written.
    std::streambuf* m_previous;
};

}  // namespace TestSupport

#endif  // LUMIQ_TEST_CLOG_CAPTURE_H
