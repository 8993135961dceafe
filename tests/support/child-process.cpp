// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Starting, watching and ending a program for a test; see the header.
#include "child-process.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace TestSupport {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int pollTimeout(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return left.count() < 0 ? 0 : static_cast<int>(left.count());
}

// True once the descriptor has something to read or has reached its end.
bool waitReadable(int fd, Clock::time_point deadline) {
    pollfd item{fd, POLLIN, 0};
    for (;;) {
        const int result = poll(&item, 1, pollTimeout(deadline));
        if (result >= 0 || errno != EINTR) {
            return result > 0;
        }
    }
}

std::string contents(int fd) {
    std::string text;
    std::array<char, 4096> part{};
    for (;;) {
        const ssize_t got = pread(fd, part.data(), part.size(), static_cast<off_t>(text.size()));
        if (got <= 0) {
            return text;
        }
        text.append(part.data(), static_cast<std::size_t>(got));
    }
}

std::vector<std::string> mergedEnvironment(
    const std::vector<std::pair<std::string, std::string>>& added) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const auto replaced = [&](const auto& item) {
            return text.substr(0, text.find('=')) == item.first;
        };
        if (std::none_of(added.begin(), added.end(), replaced)) {
            result.emplace_back(text);
        }
    }
    for (const auto& [name, value] : added) {
        result.emplace_back(name).append("=").append(value);
    }
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

struct ChildSide {
    std::vector<char*> arguments;
    std::vector<char*> environment;
    int ready, output, errors;
    pid_t parent;
    const ChildOptions& options;
};

[[noreturn]] void refuse(const char* why) {
    const int error = errno;
    const char* const reason = std::strerror(error);
    for (const char* part : {why, ": ", reason, "\n"}) {
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, part, std::strlen(part));
    }
    _exit(127);
}

void becomeUser(const ChildOptions& options) {
    if (options.group != static_cast<gid_t>(-1) &&
        (setgroups(0, nullptr) != 0 || setgid(options.group) != 0)) {
        refuse("cannot change the group");
    }
    if (options.user != static_cast<uid_t>(-1) && setuid(options.user) != 0) {
        refuse("cannot change the user");
    }
}

// Runs between fork and exec: only calls that are safe there, and no allocation.
[[noreturn]] void runChild(const ChildSide& side) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (dup2(side.output, STDOUT_FILENO) < 0 || dup2(side.errors, STDERR_FILENO) < 0) {
        _exit(127);
    }
    if (side.ready == ChildProcess::readyDescriptor) {
        fcntl(side.ready, F_SETFD, 0);
    } else if (dup2(side.ready, ChildProcess::readyDescriptor) < 0) {
        refuse("cannot pass on the ready pipe");
    }
    becomeUser(side.options);
    // After the change of user, which would clear it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != side.parent) {
        _exit(127);
    }
    execvpe(side.arguments[0], side.arguments.data(), side.environment.data());
    refuse(side.arguments[0]);
}

// Programs of this build are for another machine where an emulator is named; those found in PATH
// are the machine's own.
std::vector<std::string> runnable(std::vector<std::string> command) {
    const char* const emulator = std::getenv("LUMIQ_EMULATOR");
    if (emulator != nullptr && command.at(0).find('/') != std::string::npos) {
        command.insert(command.begin(), emulator);
    }
    return command;
}

int memoryFile(const char* name) {
    const int fd = memfd_create(name, MFD_CLOEXEC);
    if (fd < 0) {
        throwErrno("memfd_create");
    }
    // Kept away from the standard descriptors and the ready pipe's number, so that putting those in
    // place in the child never overwrites one that is still needed.
    const int high = fcntl(fd, F_DUPFD_CLOEXEC, 10);
    close(fd);
    return high;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, const ChildOptions& options)
    : m_command(command.at(0)) {
    std::array<int, 2> ready{};
    if (pipe2(ready.data(), O_CLOEXEC) != 0) {
        throwErrno("pipe2");
    }
    m_readyPipe = ready[0];
    m_output = memoryFile("stdout");
    m_errors = memoryFile("stderr");
    command = runnable(std::move(command));
    auto environment = mergedEnvironment(options.environment);
    const ChildSide side{pointersTo(command),
                         pointersTo(environment),
                         ready[1],
                         m_output,
                         m_errors,
                         getpid(),
                         options};
    m_pid = fork();
    if (m_pid == 0) {
        runChild(side);
    }
    close(ready[1]);
    if (m_pid < 0) {
        closeDescriptors();
        throwErrno("fork");
    }
    m_pidFd = static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0));
    if (m_pidFd < 0) {
        const int error = errno;
        end();
        throw std::system_error(error, std::generic_category(), "pidfd_open");
    }
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept {
    *this = std::move(other);
}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        end();
        m_pid = std::exchange(other.m_pid, -1);
        m_over = other.m_over;
        m_status = other.m_status;
        m_pidFd = std::exchange(other.m_pidFd, -1);
        m_readyPipe = std::exchange(other.m_readyPipe, -1);
        m_output = std::exchange(other.m_output, -1);
        m_errors = std::exchange(other.m_errors, -1);
        m_command = std::move(other.m_command);
    }
    return *this;
}

ChildProcess::~ChildProcess() {
    end();
}

void ChildProcess::end() {
    if (m_pid > 0 && !m_over) {
        kill(m_pid, SIGKILL);
        while (waitpid(m_pid, &m_status, 0) < 0 && errno == EINTR) {
        }
        m_over = true;
    }
    closeDescriptors();
}

void ChildProcess::closeDescriptors() {
    for (int* fd : {&m_pidFd, &m_readyPipe, &m_output, &m_errors}) {
        if (*fd >= 0) {
            close(std::exchange(*fd, -1));
        }
    }
}

std::string ChildProcess::readyLine(std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    std::string line;
    char character = 0;
    while (waitReadable(m_readyPipe, deadline) && read(m_readyPipe, &character, 1) == 1) {
        if (character == '\n') {
            return line;
        }
        line += character;
    }
    return {};
}

void ChildProcess::signal(int number) const {
    if (m_pid > 0 && !m_over) {
        kill(m_pid, number);
    }
}

bool ChildProcess::waitUntilOver(std::chrono::milliseconds limit) const {
    return m_over || waitReadable(m_pidFd, Clock::now() + limit);
}

bool ChildProcess::running() {
    return !waitUntilOver(std::chrono::milliseconds(0));
}

int ChildProcess::wait(std::chrono::milliseconds limit) {
    if (!waitUntilOver(limit)) {
        throw std::runtime_error(m_command + " still runs; it printed:\n" + standardOutput() +
                                 standardError());
    }
    if (!m_over) {
        while (waitpid(m_pid, &m_status, 0) < 0 && errno == EINTR) {
        }
        m_over = true;
    }
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -WTERMSIG(m_status);
}

std::string ChildProcess::standardOutput() const {
    return contents(m_output);
}

std::string ChildProcess::standardError() const {
    return contents(m_errors);
}

}  // namespace TestSupport
