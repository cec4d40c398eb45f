#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/stores/sqlite/GroupSignal.h"
#include "platform/stores/sqlite/PendingWrite.h"

namespace CommonServices::Sqlite {

/// Writes that are committed together: all that arrived while the group before was on its way.
struct WriteGroup {
    std::uint32_t number = 0;
    std::vector<PendingWrite*> writes;
    std::vector<std::unique_ptr<PendingWrite>> detached;  ///< those of `writes` that nobody waits for
};

/// Where writes of all threads wait for the one that has the file in hand. Any thread may add; one thread
/// takes and finishes groups; and while that one has nothing to do, whoever comes to write takes the file in
/// hand himself, for one write, and is spared two changes of threads.
///
/// A group forms by arrival and never by a timer: the writer takes what is there as soon as it is free. All
/// who wait for a group are woken at once, and nobody else is: groups wait by turns on two signals.
class WriteQueue {
public:
    /// Gives the file into the caller's hands, if they are free and nobody waits. True obliges to `Release`.
    bool TryTake();
    /// Gives the file back. With `logIsLong` the writer takes it next, whether anybody waits or not.
    void Release(bool logIsLong);

    /// Returns once the write's group is through. The thread counts as blocked meanwhile.
    void AddAndWait(PendingWrite& write);
    /// Returns at once; false when too many such writes are waiting already.
    bool AddDetached(std::unique_ptr<PendingWrite> write);

    /// The writer's: gives the file back, waits for writes, and takes it in hand again. Fills `group` with
    /// what has arrived. False when the queue was closed and all that it held was taken; otherwise a group
    /// without writes means that the log is long, or that for the time of `patience` nobody wrote.
    bool Take(WriteGroup& group, std::chrono::milliseconds patience);
    /// Wakes those who wait for the group, and empties it. The outcomes must stand in its writes.
    void Finish(WriteGroup& group);

    /// What has been added is still handed out; nothing may be added any more.
    void Close();

private:
    void WakeWriter(std::unique_lock<std::mutex>& lock);

    GroupSignal m_finished[2];  // of groups of even and of odd number

    std::mutex m_mutex;  // guards what follows
    std::condition_variable m_arrival;
    WriteGroup m_open{1, {}, {}};
    std::uint64_t m_taken = 0;  // how often the file was taken in hand
    bool m_inHand = true;       // by whom does not matter; at first it is the writer's
    bool m_logIsLong = false;
    bool m_writerSleeps = false;
    bool m_closed = false;
};

}  // namespace CommonServices::Sqlite
