#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Core/src/wf_Record.h"

namespace Quillon::Farm {

/// The time in which one coordinator has the jobs of the store. Its number is the fencing token: each
/// take-over raises it, the coordinator writes it into what it changes, and changes nothing that has a higher
/// one. So a coordinator that was stopped, and does not know yet that its time is over, does no harm. Any
/// thread may call.
class LeaseTerm {
public:
    using Clock = std::chrono::steady_clock;

    /// Of whoever has the store to himself: without an end, and without a number in the records.
    LeaseTerm() = default;
    LeaseTerm(std::int64_t number, Clock::time_point until) : m_number(number), m_until(until) {}
    LeaseTerm(const LeaseTerm&) = delete;
    LeaseTerm& operator=(const LeaseTerm&) = delete;
    ~LeaseTerm() = default;

    /// 0 for the one without an end.
    std::int64_t Number() const { return m_number; }
    bool IsOver() const { return Clock::now() >= m_until.load(); }
    /// Without effect once it is over for good.
    void Prolong(Clock::time_point until);
    /// For good.
    void End() { m_until = Clock::time_point::min(); }

private:
    const std::int64_t m_number = 0;
    std::atomic<Clock::time_point> m_until{Clock::time_point::max()};
};

struct LeaseTimes {
    std::chrono::milliseconds renewEvery{1000};
    /// A holder that has not renewed the lease for so long has lost it, by its own clock and by that of those
    /// who wait. Some renewals, so that one that fails is none the worse.
    std::chrono::milliseconds life{5000};
};

/// The lease of the one coordinator, a record of the object store that all farms share. The holder renews it
/// by changing it; whoever waits takes it over once it has not changed for the life, measured by his own
/// steady clock from when he first saw it so. The clocks of machines are never compared. For one thread.
class FarmLease {
public:
    explicit FarmLease(const LeaseTimes& times);

    /// One look and one attempt, to renew it or to take it over. Gives the term while this has it; a renewal
    /// that the store did not answer leaves it, until it runs out by itself. Throws `ObjectStoreException`
    /// when the store cannot be read.
    std::shared_ptr<LeaseTerm> Hold();
    /// So that others need not wait for the end of its life. Does nothing where another has it by now.
    void LetGo() noexcept;

private:
    /// Whether it is ours still, or again after a write whose answer was lost.
    bool Renew();
    /// If it is free, or has not changed for its life.
    void TakeOver();
    Weftline::Record RecordOf(const std::string& holder, std::int64_t number) const;

    const LeaseTimes m_times;
    const std::string m_self;
    std::shared_ptr<LeaseTerm> m_pTerm;  // empty while another has it
    std::optional<Weftline::Record> m_seen;
    LeaseTerm::Clock::time_point m_seenSince;  // that it is so
    std::int64_t m_highest = 0;                // of the numbers that it was seen to have
    std::int32_t m_renewals = 0;
};

}  // namespace Quillon::Farm
