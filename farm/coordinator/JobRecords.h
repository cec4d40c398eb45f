#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>

#include "Core/src/wf_Record.h"

namespace Quillon::Farm {

/// The stored records of jobs, as far as the coordinator changes them. Each change reads the record anew, so
/// that what others have written meanwhile stays, and a record that is gone is not made again. Any thread may
/// call; changes of one job come one after the other.
class JobRecords {
public:
    enum class Outcome {
        Written,    ///< and on disk
        Unchanged,  ///< the edit left the record alone
        Gone,       ///< there is no such record any more
        Withheld,   ///< the record is to be deleted, and still there: to be asked again
    };
    /// Changes the record; false leaves the store alone. What it throws passes through.
    using Edit = std::function<bool(Weftline::Record& job)>;

    /// Long enough for a deletion that waits for other writers of the store.
    static constexpr std::chrono::milliseconds kPatience{60'000};

    explicit JobRecords(std::chrono::milliseconds patience = kPatience);

    /// Throws `ObjectStoreException` when the store cannot be read or does not take the record.
    Outcome Change(const std::string& jobId, const Edit& edit);

    /// From the return on nothing is written about that job: its record is about to be deleted. Waits for a
    /// change that is under way. A record that is still there after the patience was not deleted, and its job
    /// goes on.
    void Forget(const std::string& jobId);

private:
    /// Jobs that share a lock.
    struct Stripe {
        std::mutex mutex;
        // Guarded by mutex; with the time from which on the job counts as one that was kept.
        std::unordered_map<std::string, std::chrono::steady_clock::time_point> forgotten;
    };
    static constexpr std::size_t kStripes = 32;

    Stripe& StripeOf(const std::string& jobId);

    const std::chrono::milliseconds m_patience;
    std::array<Stripe, kStripes> m_stripes;
};

}  // namespace Quillon::Farm
