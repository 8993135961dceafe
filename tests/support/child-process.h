// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A program started by a test: what it prints is kept, what it reports through its ready pipe is
// waited for, and whatever happens in the test it does not outlive it. Called by tests on one
// thread at a time; start it on a thread that lives as long as the program should.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

// A program still running after this long is broken, however slow the machine and its sanitizers.
inline constexpr std::chrono::seconds kGenerousLimit{60};

struct ChildOptions {
    // Added to, or replacing, what the test itself has in its environment.
    std::vector<std::pair<std::string, std::string>> environment = {};
    // Becomes this user and group (no supplementary groups) before it runs; -1 stays who it is.
    uid_t user = static_cast<uid_t>(-1);
    gid_t group = static_cast<gid_t>(-1);
};

class ChildProcess {
public:
    // The descriptor number at which every child finds the writing end of its ready pipe.
    static constexpr int readyDescriptor = 3;

    // Looks the program up in PATH if its name has no slash; runs it by the emulator that
    // LUMIQ_EMULATOR names, if there is one and the name has a slash. Throws std::system_error if
    // no process can be made; a program that cannot be run exits with 127 and says why on its error
    // output.
    explicit ChildProcess(std::vector<std::string> command, const ChildOptions& options = {});
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;
    // Kills what still runs and collects it.
    ~ChildProcess();

    // The next line the program wrote into the ready pipe, without its end. An empty string if it
    // closed the pipe (or ended) first, or if the limit passed.
    std::string readyLine(std::chrono::milliseconds limit = kGenerousLimit);

    void signal(int number) const;
    // Waits for the end: the exit status, or minus the signal's number if a signal ended it. Throws
    // std::runtime_error, with what the program printed, if the limit passes.
    int wait(std::chrono::milliseconds limit = kGenerousLimit);
    bool running();

    pid_t pid() const { return m_pid; }
    // Everything printed so far.
    std::string standardOutput() const;
    std::string standardError() const;

private:
    void closeDescriptors();
    void end();
    bool waitUntilOver(std::chrono::milliseconds limit) const;

    pid_t m_pid = -1;
    bool m_over = false;
    int m_status = 0;
    int m_pidFd = -1;
    int m_readyPipe = -1;
    int m_output = -1;
    int m_errors = -1;
    std::string m_command;
};

}  // namespace TestSupport
