#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/concurrency/HeldOutput.h"
#include "base/concurrency/Mutex.h"

namespace CommonServices::Sqlite {

class WriteConnection;

/// One write on its way to the file. It is made and owned by whoever asks for it, and its outcome stands in
/// it once the group that it was committed with is through.
class PendingWrite {
public:
    PendingWrite() = default;
    PendingWrite(const PendingWrite&) = delete;
    PendingWrite& operator=(const PendingWrite&) = delete;
    virtual ~PendingWrite() = default;

    /// Writes within the open transaction of the group, on the leader's thread. False when the store refuses
    /// what is asked; faults are thrown as `SQLite::Exception`. Either way nothing of it may stay behind.
    virtual bool Apply(WriteConnection& file) = 0;

    bool accepted = false;  ///< written by the leader's thread before the group ends, read after it
    bool dropped = false;   ///< the leader's own: it broke the transaction and is not tried again
    bool isEvent = false;   ///< readers of the event log are told once it is committed
    /// About what it adds to the log, where that is more than a little. Set before it is added.
    std::size_t bytes = 0;
    /// Waits for the write, where a thread does not, and is told once the group is through.
    PlatformAbstraction::HeldOutput* output = nullptr;
};

/// A write that is what `work` does with the connection; where that gives nothing, it is never refused.
template <typename Work>
class WriteOf final : public PendingWrite {
public:
    explicit WriteOf(Work work) : m_work(std::move(work)) {}

    bool Apply(WriteConnection& file) override {
        if constexpr (std::is_void_v<std::invoke_result_t<Work&, WriteConnection&>>) {
            m_work(file);
            return true;
        } else {
            return m_work(file);
        }
    }

private:
    Work m_work;
};

/// Writes that are committed together: all that arrived while the group before was on its way, though of
/// those that are held no more than make a group of 512 writes or 4 MB. So a flood of them delays a thread
/// that waits by one such group, and a deletion of thousands has a commit of its own.
struct WriteGroup {
    std::uint32_t number = 0;
    std::vector<PendingWrite*> writes;
    std::vector<std::unique_ptr<PendingWrite>> owned;  ///< those of `writes` that no thread waits for
    std::size_t bytes = 0;
};

/// The number of the last group that is through, for threads to wait on. Any thread may wait, one announces.
///
/// It stands on the kernel's wait for a word: all waiters are woken with one call and then contend for no
/// lock, as they would with a condition variable, and none spins, as with the standard atomic's wait, while
/// it is the disk that everybody waits for.
class GroupSignal {
public:
    /// Returns once a group of this or a later number was announced. Numbers grow and may wrap around.
    void WaitFor(std::uint32_t number);
    void Announce(std::uint32_t number);

private:
    std::atomic<std::uint32_t> m_last = 0;
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "the kernel waits on the plain word");
};

/// Where the writes of all threads gather for group commit. Any thread may add; the writer's thread takes and
/// finishes groups, as their leader; and while it has nothing to do, whoever comes to write takes the file in
/// hand himself, as the leader of a group of one, and is spared two changes of threads.
///
/// A group forms by arrival and never by a timer: the leader takes what is there as soon as it is free. All
/// who wait for a group are woken at once, and nobody else is: groups wait by turns on two signals.
class WriteQueue {
public:
    /// Gives the file into the caller's hands, if they are free and nobody waits. True obliges to `Release`.
    [[nodiscard]] bool TryTake();
    /// Gives the file back. With `logIsLong` the writer takes it next, whether anybody waits or not.
    void Release(bool logIsLong);

    /// Returns once the write's group is through.
    void AddAndWait(PendingWrite& write);
    /// Returns at once. Back-pressure: false when too many such writes are waiting already.
    [[nodiscard]] bool AddDetached(std::unique_ptr<PendingWrite> write);
    /// Returns at once; the write's output is told of its end. Back-pressure: null when it was taken, and the
    /// write when too many bytes are waiting already.
    [[nodiscard]] std::unique_ptr<PendingWrite> AddHeld(std::unique_ptr<PendingWrite> write);

    /// The writer's: gives the file back, waits for writes, and takes it in hand again. Fills `group` with
    /// what has arrived. False when the queue was closed and all that it held was taken; otherwise a group
    /// without writes means that the log is long, or that for the time of `patience` nobody wrote.
    [[nodiscard]] bool Take(WriteGroup& group, std::chrono::milliseconds patience);
    /// Tells the outputs and wakes those who wait for the group, and empties it. The outcomes must stand in
    /// its writes.
    void Finish(WriteGroup& group);

    /// What has been added is still handed out; nothing may be added any more.
    void Close();

private:
    bool IsWriterWanted() const QUILLON_REQUIRES(m_mutex);
    bool HasWrites() const QUILLON_REQUIRES(m_mutex) { return !m_open.writes.empty() || !m_held.empty(); }
    void JoinHeld(WriteGroup& group) QUILLON_REQUIRES(m_mutex);
    /// Whether the writer sleeps and is to be woken, by the caller and once the mutex is free.
    bool ClaimWakeUp() QUILLON_REQUIRES(m_mutex);

    GroupSignal m_finished[2];  // of groups of even and of odd number

    PlatformAbstraction::Mutex m_mutex;
    PlatformAbstraction::Condition m_arrival;
    WriteGroup m_open QUILLON_GUARDED_BY(m_mutex){1, {}, {}, 0};
    std::deque<std::unique_ptr<PendingWrite>> m_held QUILLON_GUARDED_BY(m_mutex);
    std::size_t m_heldBytes QUILLON_GUARDED_BY(m_mutex) = 0;
    bool m_heldHaveWaited QUILLON_GUARDED_BY(m_mutex) = false;  // the last group took none of them
    std::uint64_t m_taken QUILLON_GUARDED_BY(m_mutex) = 0;      // how often the file was taken in hand
    // By whom it is in hand does not matter; at first it is by the writer.
    bool m_inHand QUILLON_GUARDED_BY(m_mutex) = true;
    bool m_logIsLong QUILLON_GUARDED_BY(m_mutex) = false;
    bool m_writerSleeps QUILLON_GUARDED_BY(m_mutex) = false;
    bool m_closed QUILLON_GUARDED_BY(m_mutex) = false;
};

}  // namespace CommonServices::Sqlite
