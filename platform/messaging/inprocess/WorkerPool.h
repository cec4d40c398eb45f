#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <thread>
#include <vector>

#include "base/concurrency/BlockingRegion.h"
#include "base/concurrency/Mutex.h"
#include "platform/messaging/inprocess/HeldMessages.h"
#include "platform/messaging/inprocess/QueuedMessage.h"

namespace PlatformAbstraction::Messaging {

struct InProcessBusSettings;

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
/// for; when it resumes there may be too many for a moment, and whoever finishes a message then steps back.
/// Threads are started on demand. The one that idled last is woken first, so that the caches are warm and
/// those never needed end after a while; one always stays. At most one is on its way at a time: it wakes the
/// next if it finds more than one message, so threads that are running anyway get a chance to take what is
/// there.
///
/// Shared by the service and each of its threads. Any thread may call. `Close` comes before the last
/// reference of a caller goes.
class WorkerPool final : public std::enable_shared_from_this<WorkerPool>, private BlockingObserver {
public:
    using Work = std::unique_ptr<QueuedMessage>;
    using Clock = std::chrono::steady_clock;
    /// Answers one message; does not throw. It may leave the answer to `held`, which then keeps the message.
    using Runner = std::function<void(Work message, const std::shared_ptr<HeldMessages>& held)>;

    /// Throws `std::system_error` when no thread can be started.
    static std::shared_ptr<WorkerPool> Create(const InProcessBusSettings& settings, Runner runner);
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool() override = default;

    /// Takes the work, or leaves it to the caller: then the queue is full, or the pool is stopping.
    [[nodiscard]] Acceptance Post(Work& work);

    /// From now on only messages that are part of work under way are taken.
    void Drain();
    /// Returns when no message waits, is being answered or is held, at the latest at the deadline. Comes
    /// after `Drain`.
    void WaitUntilQuiet(Clock::time_point deadline);
    /// Takes nothing any more, ends the threads and lets the runner go. Threads still at work at the deadline
    /// are detached, and what nobody came to is given back.
    [[nodiscard]] std::deque<Work> Close(Clock::time_point deadline);
    /// After `Close`: the receivers of messages whose answers are held still.
    [[nodiscard]] std::vector<std::unique_ptr<AnswerReceiver>> TakeHeld() { return m_pHeld->TakeReceivers(); }

    /// Whether the present thread is one of any pool's.
    static bool IsOnWorkerThread() noexcept;

private:
    struct Worker {
        Condition wake;
        bool isWoken = false;  // guarded by the pool's mutex
        std::thread thread;
    };
    using WorkerList = std::list<Worker>;

    WorkerPool(const InProcessBusSettings& settings, Runner runner);

    void EnterBlocking() noexcept override;
    void LeaveBlocking() noexcept override;

    void RunWorker(WorkerList::iterator self);
    void WorkWhileThereIsSome(const Runner& runner) QUILLON_REQUIRES(m_mutex);
    bool WaitUntilWoken(MutexLock& lock, Worker& self) QUILLON_REQUIRES(m_mutex);
    void Leave(WorkerList::iterator self);

    Worker* ChooseWhomToWake() noexcept QUILLON_REQUIRES(m_mutex);
    void TryToStartWorker() noexcept QUILLON_REQUIRES(m_mutex);
    void StartWorker() QUILLON_REQUIRES(m_mutex);
    bool IsQuiet() const noexcept QUILLON_REQUIRES(m_mutex) { return m_queue.empty() && m_numRunning == 0; }

    const std::size_t m_maxActive;
    const std::size_t m_maxWorkers;
    const std::size_t m_maxQueued;  // those held count too
    const std::shared_ptr<HeldMessages> m_pHeld;

    Mutex m_mutex;
    std::deque<Work> m_queue QUILLON_GUARDED_BY(m_mutex);
    std::shared_ptr<const Runner> m_pRunner QUILLON_GUARDED_BY(m_mutex);  // each thread holds it too
    // At work or on the way to it, and not waiting for a peer.
    std::size_t m_numActive QUILLON_GUARDED_BY(m_mutex) = 0;
    std::size_t m_numRunning QUILLON_GUARDED_BY(m_mutex) = 0;  // messages being answered
    bool m_isOneOnItsWay QUILLON_GUARDED_BY(m_mutex) = false;  // woken or started, not at the queue yet
    bool m_isDraining QUILLON_GUARDED_BY(m_mutex) = false;
    bool m_isClosed QUILLON_GUARDED_BY(m_mutex) = false;
    bool m_hasLackedThreads QUILLON_GUARDED_BY(m_mutex) = false;
    WorkerList m_workers QUILLON_GUARDED_BY(m_mutex);         // alive
    std::vector<Worker*> m_idle QUILLON_GUARDED_BY(m_mutex);  // the last one idled last
    WorkerList m_finished QUILLON_GUARDED_BY(m_mutex);        // left, to be joined
    // Kept, since whoever woke a thread may touch it when the thread has left.
    WorkerList m_spare QUILLON_GUARDED_BY(m_mutex);
    Condition m_quiet;
    Condition m_left;
};

}  // namespace PlatformAbstraction::Messaging
