#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// Clang's thread-safety annotations: what a mutex guards and which functions want it held, checked by the
/// compiler (`-Wthread-safety`, an error in the `clang` preset). Nothing to every other compiler.
#if defined(__clang__)
#define QUILLON_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QUILLON_THREAD_ANNOTATION(x)
#endif

/// A member that may be touched only while the mutex is held.
#define QUILLON_GUARDED_BY(mutex) QUILLON_THREAD_ANNOTATION(guarded_by(mutex))
/// A function whose caller holds the mutex.
#define QUILLON_REQUIRES(...) QUILLON_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that takes the mutex, or lets it go.
#define QUILLON_ACQUIRE(...) QUILLON_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QUILLON_TRY_ACQUIRE(...) QUILLON_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define QUILLON_RELEASE(...) QUILLON_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define QUILLON_ASSERT_HELD(...) QUILLON_THREAD_ANNOTATION(assert_capability(__VA_ARGS__))
#define QUILLON_CAPABILITY(name) QUILLON_THREAD_ANNOTATION(capability(name))
#define QUILLON_SCOPED_CAPABILITY QUILLON_THREAD_ANNOTATION(scoped_lockable)

namespace PlatformAbstraction {

/// `std::mutex`, with annotations.
class QUILLON_CAPABILITY("mutex") Mutex {
public:
    void lock() QUILLON_ACQUIRE() { m_mutex.lock(); }
    bool try_lock() QUILLON_TRY_ACQUIRE(true) { return m_mutex.try_lock(); }
    void unlock() QUILLON_RELEASE() { m_mutex.unlock(); }
    /// Tells the analysis, where it cannot see it (in a lambda, say), that the caller holds the mutex.
    void AssertHeld() const QUILLON_ASSERT_HELD(this) {}

private:
    friend class MutexLock;

    std::mutex m_mutex;
};

/// Holds a mutex for a scope. `lock` and `unlock` let it go in between, and make it fit for
/// `std::condition_variable_any`.
class QUILLON_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) QUILLON_ACQUIRE(mutex) : m_lock(mutex.m_mutex) {}
    ~MutexLock() QUILLON_RELEASE() = default;
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() QUILLON_ACQUIRE() { m_lock.lock(); }
    void unlock() QUILLON_RELEASE() { m_lock.unlock(); }

private:
    friend class Condition;

    std::unique_lock<std::mutex> m_lock;
};

/// `std::condition_variable` for these two. A wait may end for no reason: it stands in a loop that looks at
/// what it waits for, under the lock, where the analysis sees it.
class Condition {
public:
    void Wait(MutexLock& lock) { m_condition.wait(lock.m_lock); }
    /// False when the time is over.
    template <typename Clock, typename Duration>
    bool WaitUntil(MutexLock& lock, const std::chrono::time_point<Clock, Duration>& deadline) {
        return m_condition.wait_until(lock.m_lock, deadline) == std::cv_status::no_timeout;
    }
    void NotifyOne() noexcept { m_condition.notify_one(); }
    void NotifyAll() noexcept { m_condition.notify_all(); }

private:
    std::condition_variable m_condition;
};

/// A mutex that is given to threads in the order in which they came. For work that goes on for long in many
/// pieces: a plain mutex goes back, time after time, to the thread that lets it go and wants it again at
/// once. A standard Lockable but for `try_lock`; not recursive.
class QUILLON_CAPABILITY("mutex") FairMutex {
public:
    void lock() QUILLON_ACQUIRE() {
        MutexLock lock(m_mutex);
        const std::uint64_t turn = m_nextTurn++;
        while (turn != m_turnThatHasIt) {
            m_isNext.Wait(lock);
        }
    }
    void unlock() QUILLON_RELEASE() {
        {
            const MutexLock lock(m_mutex);
            ++m_turnThatHasIt;
        }
        m_isNext.NotifyAll();
    }

private:
    Mutex m_mutex;  // held for a moment only
    Condition m_isNext;
    std::uint64_t m_nextTurn QUILLON_GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_turnThatHasIt QUILLON_GUARDED_BY(m_mutex) = 0;
};

}  // namespace PlatformAbstraction
