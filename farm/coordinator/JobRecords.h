#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_set>

#include "wf_Record.h"

namespace Quillon::Farm {

/// The stored records of jobs, as far as the coordinator changes them. Each change reads the record anew, so
/// that what others have written meanwhile stays, and a record that is gone is not made again. Any thread may
/// call; changes of one job come one after the other.
class JobRecords {
public:
    enum class Outcome {
        Written,    ///< and on disk
        Unchanged,  ///< the edit left the record alone
        Gone,       ///< there is no such record any more, or it was to be forgotten
    };
    /// Changes the record; false leaves the store alone. What it throws passes through.
    using Edit = std::function<bool(Weftline::Record& job)>;

    JobRecords();

    /// Throws `ObjectStoreException` when the store cannot be read or does not take the record.
    Outcome Change(const std::string& jobId, const Edit& edit);

    /// From the return on nothing is written about that job: its record is about to be deleted. Waits for a
    /// change that is under way.
    void Forget(const std::string& jobId);

private:
    /// Jobs that share a lock.
    struct Stripe {
        std::mutex mutex;
        std::unordered_set<std::string> forgotten;  // guarded by mutex
        std::deque<std::string> inOrder;            // guarded by mutex; the forgotten, the oldest first
    };
    static constexpr std::size_t kStripes = 32;

    Stripe& StripeOf(const std::string& jobId);

    std::array<Stripe, kStripes> m_stripes;
};

}  // namespace Quillon::Farm
