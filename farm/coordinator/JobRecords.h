#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"
#include "farm/coordinator/FarmLease.h"
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

/// The stored records of jobs, as far as the coordinator changes them: each change is made on top of the
/// record as it is at that moment, whoever else writes. So nothing that others have written is lost, a record
/// that is gone is not made again, and of two coordinators the earlier changes nothing that the later one has
/// changed. Thread-safe.
class JobRecords {
public:
    enum class Outcome {
        Written,    ///< and on disk
        Unchanged,  ///< the edit left the record alone
        Gone,       ///< there is no such record any more
        Taken,      ///< a later coordinator has the job
    };
    /// Changes the record; false leaves the store alone. It may be asked more than once, each time with the
    /// record as another has left it meanwhile. What it throws passes through.
    using Edit = std::function<bool(Weftline::Record& job)>;

    explicit JobRecords(std::shared_ptr<const LeaseTerm> term) : m_pTerm(std::move(term)) {}

    /// Throws `ObjectStoreException` when the store cannot be read or does not take the record, or when the
    /// coordinator's term is over.
    [[nodiscard]] Outcome Change(const std::string& jobId, const Edit& edit);

private:
    const std::shared_ptr<const LeaseTerm> m_pTerm;
};

}  // namespace Quillon::Farm
