#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Core/src/wf_Record.h"
#include "base/concurrency/Mutex.h"
#include "base/parameters/Parameters.h"
#include "farm/coordinator/JobTicket.h"

/// Reading and changing the stored record of a job. A change touches the keys that it names and leaves every
/// other value, also those that this program knows nothing of, as it is. Where nothing else is said they
/// throw `std::runtime_error` for a record whose JSON is broken.
namespace Quillon::Farm {

/// What the coordinator wants to know of a job.
struct JobFacts {
    std::string kind;
    std::string state;  ///< never blank: a job that nobody has touched yet is "Created"
    std::string queue;
    std::int32_t priority = 50;  ///< 1 to 100
    MachineWishes wishes;
};
JobFacts ReadJobFacts(const Weftline::Record& job);

/// `jobState` of the record; "Created" where it is blank.
std::string ReadJobState(const Weftline::Record& job);

/// For whom the job is done.
std::string ReadCreator(const Weftline::Record& job);

/// What the workers are given of the job: the tree in its text `processingData`.
CoreServices::Parameters ReadProcessingData(const Weftline::Record& job);

/// Whether there is work for the farm in a job of that state. There is none in one that has come to its end,
/// was suspended, or has a state that the farm does not know.
bool IsOpenState(std::string_view state);

/// Whether the job is in such a state. True where the state cannot be read: somebody has to end that job.
bool IsOpen(const Weftline::Record& job);

/// Sets `jobState`, and `jobLastState` to the one before it, if that was another. A job that leaves "Created"
/// gets its id at the job monitor, which is its own.
void MoveTo(Weftline::Record& job, std::string_view state);
/// In percent.
void SetProgress(Weftline::Record& job, std::int32_t progress);
std::int32_t ReadProgress(const Weftline::Record& job);

/// The present time as the records hold it.
std::string NowText();

/// Moves to the final state with the time as `completedDateTime`: "Completed" with all progress made, or
/// "Failed" with the reason. Failing takes broken JSON too, which it keeps as the text `unreadable`.
void Complete(Weftline::Record& job, const std::string& extendedIsoUtc);
void Fail(Weftline::Record& job, const std::string& extendedIsoUtc, const std::string& reason);

/// The stored records of jobs, as far as the coordinator changes them. Each change reads the record anew, so
/// that what others have written meanwhile stays, and a record that is gone is not made again. Thread-safe;
/// changes of one job come one after the other.
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
    [[nodiscard]] Outcome Change(const std::string& jobId, const Edit& edit);

    /// From the return on nothing is written about that job: its record is about to be deleted. Waits for a
    /// change that is under way. A record that is still there after the patience was not deleted, and its job
    /// goes on.
    void Forget(const std::string& jobId);

private:
    /// Jobs that share a lock.
    struct Stripe {
        PlatformAbstraction::Mutex mutex;
        // With the time from which on the job counts as one that was kept.
        std::unordered_map<std::string, std::chrono::steady_clock::time_point> forgotten
            QUILLON_GUARDED_BY(mutex);
    };
    static constexpr std::size_t kStripes = 32;

    Stripe& StripeOf(const std::string& jobId);

    const std::chrono::milliseconds m_patience;
    std::array<Stripe, kStripes> m_stripes;
};

}  // namespace Quillon::Farm
