// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the stand-ins for libc's functions do. Each returns what the function of libc returns, with
// errno set; for descriptors that are no cameras it is the system call and nothing else. Plain
// types only: the stand-ins themselves are compiled without sanitizers, and must share no inline
// code with the rest. Called on the host's threads.

#ifndef LUMIQ_SIMULATOR_CALLS_H
#define LUMIQ_SIMULATOR_CALLS_H

#include <poll.h>
#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <ctime>

namespace Simulator {

int callIoctl(int descriptor, unsigned long request, void* argument);
/// `timeout` null: without end. `name` is the function of libc, for the trace.
int callPoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask,
             const char* name);
void* callMap(void* address, std::size_t bytes, int protection, int flags, int descriptor,
              off_t offset);
int callUnmap(void* address, std::size_t bytes);
int callClose(int descriptor);
int callYield();

}  // namespace Simulator

#endif
