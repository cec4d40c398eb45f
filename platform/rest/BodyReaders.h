#pragma once

// Private to the gateway.

#include <list>
#include <memory>
#include <thread>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/rest/TurnQueue.h"

namespace PlatformAbstraction::Rest {

/// What a reader does with one large body.
class BodyReading {
public:
    BodyReading() = default;
    BodyReading(const BodyReading&) = delete;
    BodyReading& operator=(const BodyReading&) = delete;
    virtual ~BodyReading() = default;

    /// Once, on a reader's thread. `isStopping`: to be refused, for the gateway ends.
    virtual void Run(bool isStopping) noexcept = 0;
};

/// A few threads that read large bodies, so that those which serve the connections do not. They take them in
/// turn between callers, and where the processors are busy they stand back behind all else of the process,
/// and rest between two bodies. Owned by the gateway; thread-safe.
class BodyReaders {
public:
    BodyReaders() = default;
    BodyReaders(const BodyReaders&) = delete;
    BodyReaders& operator=(const BodyReaders&) = delete;
    ~BodyReaders() { Stop(); }

    void Start(unsigned threads);
    void Add(CallerKey caller, std::unique_ptr<BodyReading> reading);
    /// What was not begun by now, or comes after it, is refused.
    void BeginStop();
    /// Waits for the threads. Nothing is added from then on.
    void Stop();

private:
    using Reading = std::unique_ptr<BodyReading>;

    void Run();

    std::vector<std::thread> m_threads;

    Mutex m_mutex;
    Condition m_changed;
    Condition m_rest;  // told of a stop
    TurnQueue<Reading> m_queue QUILLON_GUARDED_BY(m_mutex);
    bool m_isStopping QUILLON_GUARDED_BY(m_mutex) = false;
    bool m_isOver QUILLON_GUARDED_BY(m_mutex) = false;
};

}  // namespace PlatformAbstraction::Rest
