#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/concurrency/BlockingRegion.h"
#include "platform/messaging/inprocess/InProcessBusSettings.h"
#include "platform/messaging/inprocess/QueuedMessage.h"

namespace PlatformAbstraction::Messaging {

/// Whether a service has taken a message.
enum class Acceptance {
    Accepted,
    NotFound,   ///< no such operation
    QueueFull,  ///< the sender may come again
    Stopping,   ///< the service takes no more messages
};

/// The queue and the threads of one service.
///
/// At most `threads` of them are at work. One that waits in a `BlockingRegion` does not count and is stood in
/// for (of those that wait for the disk only so many); when it resumes there may be too many for a moment,
/// and whoever finishes a message then steps back. Threads are started on demand. The one that idled last is
/// woken first, so that the caches are warm and those never needed end after a while; one always stays. At
/// most one is on its way at a time: it wakes the next if it finds more than one message, so threads that are
/// running anyway get a chance to take what is there.
///
/// Shared by the service and each of its threads. Any thread may call. `Close` comes before the last
/// reference of a caller goes.
class WorkerPool final : public std::enable_shared_from_this<WorkerPool>, private BlockingObserver {
public:
    using Work = std::unique_ptr<QueuedMessage>;
    using Clock = std::chrono::steady_clock;
    /// Answers one message; does not throw.
    using Runner = std::function<void(QueuedMessage& message)>;

    /// Throws `std::system_error` when no thread can be started.
    static std::shared_ptr<WorkerPool> Create(const InProcessBusSettings& settings, Runner runner);
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool() override = default;

    /// Takes the work, or leaves it to the caller: then the queue is full, or the pool is stopping.
    Acceptance Post(Work& work);

    /// From now on only messages that are part of work under way are taken.
    void Drain();
    /// Returns when no message waits or is being answered, at the latest at the deadline. Comes after
    /// `Drain`.
    void WaitUntilQuiet(Clock::time_point deadline);
    /// Takes nothing any more, ends the threads and lets the runner go. Threads still at work at the deadline
    /// are detached, and what nobody came to is given back.
    std::deque<Work> Close(Clock::time_point deadline);

    /// Whether the present thread is one of any pool's.
    static bool IsOnWorkerThread() noexcept;

private:
    struct Worker {
        std::condition_variable wake;
        bool isWoken = false;
        std::thread thread;
    };
    using WorkerList = std::list<Worker>;

    WorkerPool(const InProcessBusSettings& settings, Runner runner);

    void EnterBlocking(Wait wait) noexcept override;
    void LeaveBlocking(Wait wait) noexcept override;

    void RunWorker(WorkerList::iterator self);
    void WorkWhileThereIsSome(std::unique_lock<std::mutex>& lock, const Runner& runner);
    bool WaitUntilWoken(std::unique_lock<std::mutex>& lock, Worker& self);
    void Leave(WorkerList::iterator self);

    // All of these are called under the mutex.
    Worker* ChooseWhomToWake() noexcept;
    void TryToStartWorker() noexcept;
    void StartWorker();
    /// Those that count against `threads`.
    std::size_t NumActive() const noexcept { return m_numActive - std::min(m_numAtDisk, m_maxDiskStandIns); }
    bool IsQuiet() const noexcept { return m_queue.empty() && m_numRunning == 0; }

    const std::size_t m_maxActive;
    const std::size_t m_maxWorkers;
    const std::size_t m_maxDiskStandIns;
    const std::size_t m_maxQueued;

    std::mutex m_mutex;
    // Guarded by `m_mutex`:
    std::deque<Work> m_queue;
    std::shared_ptr<const Runner> m_pRunner;  // each thread holds it too
    std::size_t m_numActive = 0;              // at work or on the way to it, and not waiting for a peer
    std::size_t m_numAtDisk = 0;              // of them
    std::size_t m_numRunning = 0;             // messages being answered
    bool m_isOneOnItsWay = false;             // woken or started, and not at the queue yet
    bool m_isDraining = false;
    bool m_isClosed = false;
    bool m_hasLackedThreads = false;
    WorkerList m_workers;         // alive
    std::vector<Worker*> m_idle;  // the last one idled last
    WorkerList m_finished;        // left, to be joined
    WorkerList m_spare;           // kept, since whoever woke a thread may touch it when the thread has left
    std::condition_variable m_quiet;
    std::condition_variable m_left;
};

}  // namespace PlatformAbstraction::Messaging
