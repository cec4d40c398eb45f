#pragma once

#include <cstddef>
#include <string>

#include "base/concurrency/Mutex.h"

namespace PlatformAbstraction {

/// The output of a piece of work, such as the answer of a message, that may wait for writes: it goes out when
/// the work is over and the last of the writes that were begun on its behalf has ended. So the thread that
/// does the work goes on to the next piece while the disk is at it, and nobody outside can see that it did.
///
/// Whoever runs the work derives from this and marks the thread with `Work`; the work itself says with `Tail`
/// which writes may be held; a store that can hold them takes the output from `OfTail`, calls `Begin` before
/// it queues the write and `End` when the write is on disk, was refused or failed.
class HeldOutput {
public:
    HeldOutput() = default;
    HeldOutput(const HeldOutput&) = delete;
    HeldOutput& operator=(const HeldOutput&) = delete;
    virtual ~HeldOutput() = default;

    /// While it lives the present thread does the work of this output. Not nested.
    class Work {
    public:
        explicit Work(HeldOutput& output) noexcept;
        ~Work();
        Work(const Work&) = delete;
        Work& operator=(const Work&) = delete;
    };

    /// The last part of a piece of work on the present thread: after the durable write that is made in it
    /// come no message, no other write and no read, but the output alone. Without effect where nobody has
    /// marked the work.
    class Tail {
    public:
        /// `failure` is what the output says in place of the work's result where a held write fails. Waits
        /// for writes that are held already, as `Settle` does.
        explicit Tail(std::string failure);
        ~Tail();
        Tail(const Tail&) = delete;
        Tail& operator=(const Tail&) = delete;
    };

    /// The output that a durable write of the present thread may be held by; null where it has to block.
    static HeldOutput* OfTail() noexcept;

    /// To be called before anything that others could see: returns when no write of the present thread's work
    /// is held any more. Throws `std::domain_error` with the text of the failure where one has failed. Costs
    /// next to nothing where none is held.
    static void Settle();

    /// On the thread of the work: one more write that the output waits for.
    void Begin() noexcept;
    /// On any thread, once for the work and once for each `Begin`. The output may go out, and be gone, within
    /// the call.
    void End(bool hasSucceeded) noexcept;

    /// On the thread of the work: whether no other work is under way, so that nothing is gained by holding.
    virtual bool IsAlone() const noexcept { return false; }

protected:
    /// Whether, on the thread of the work, writes are open that the output waits for.
    bool IsHeld() const noexcept;
    /// The end: called once, on the thread of the last `End`, which may be the one that writes for all and is
    /// not to be kept. `failure` is null where all writes have succeeded.
    virtual void GoOut(const std::string* failure) noexcept = 0;

private:
    void WaitUntilSettled();

    mutable Mutex m_mutex;
    Condition m_settled;
    std::size_t m_open QUILLON_GUARDED_BY(m_mutex) = 1;  // writes, and the work itself
    bool m_hasFailed QUILLON_GUARDED_BY(m_mutex) = false;
    std::string m_failure;  // of the thread of the work until `GoOut`
};

}  // namespace PlatformAbstraction
