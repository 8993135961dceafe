// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A mutex whose use Clang checks at compile time (-Wthread-safety). Any thread.

#ifndef LUMIQ_INTERNAL_MUTEX_H
#define LUMIQ_INTERNAL_MUTEX_H

#include <mutex>

// Clang's thread-safety attributes (Clang documentation, "Thread Safety Analysis"); nothing
// elsewhere.
#if defined(__clang__)
#define LUMIQ_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define LUMIQ_THREAD_ATTRIBUTE(x)
#endif

#define LUMIQ_GUARDED_BY(mutex) LUMIQ_THREAD_ATTRIBUTE(guarded_by(mutex))
#define LUMIQ_REQUIRES(mutex) LUMIQ_THREAD_ATTRIBUTE(requires_capability(mutex))
#define LUMIQ_EXCLUDES(mutex) LUMIQ_THREAD_ATTRIBUTE(locks_excluded(mutex))

namespace Nerio::Lumiq::Internal {

/// std::mutex with the attributes that the standard one lacks.
class LUMIQ_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
public:
    void lock() LUMIQ_THREAD_ATTRIBUTE(acquire_capability()) { m_mutex.lock(); }
    void unlock() LUMIQ_THREAD_ATTRIBUTE(release_capability()) { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
};

/// Holds a Mutex for as long as it lives.
class LUMIQ_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex& mutex) LUMIQ_THREAD_ATTRIBUTE(acquire_capability(mutex))
        : m_mutex(mutex) {
        m_mutex.lock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() LUMIQ_THREAD_ATTRIBUTE(release_capability()) { m_mutex.unlock(); }

private:
    Mutex& m_mutex;
};

}  // namespace Nerio::Lumiq::Internal

#endif  // LUMIQ_INTERNAL_MUTEX_H
