#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "farm/coordinator/JobTicket.h"

namespace Quillon::Farm {

/// Who is next. The job of the highest priority; among equals one whose next task ends it before one that is
/// yet to be evaluated, so that a query does not wait for the evaluation of all media jobs before it; among
/// these the job queues take turns; and in a queue whoever came first.
///
/// All jobs that wait are in it, so a job is kept in 32 bytes: what it has in common with others stands once
/// for all of them, and an id that is a UUID is packed. Where jobs that wait name more than ten thousand
/// different queues and machines, or one has a name of more than 255 bytes, the further ones count as naming
/// none. One thread at a time.
class WorkQueue {
public:
    using Condition = std::function<bool(const MachineWishes& wishes)>;

    void Add(const JobTicket& ticket);

    /// Takes the next one with a task for that service whose wishes meet the condition, if there is one.
    std::optional<JobTicket> Take(std::string_view service, const Condition& mayTake);

    /// The lowest offset of all that wait; `kNoOffset` where none does. Costs a look at each group of jobs.
    std::int64_t OldestOffset() const;

private:
    using PackedId = std::array<std::uint8_t, 16>;

    struct WaitingJob {
        std::int64_t offset;
        PackedId id;  // all zero where the id is in m_otherIds
        const Weftline::SubmitOperations::Row* operation;
    };

    /// Jobs that differ in nothing by which they are chosen, in the order of their arrival.
    class Lane {
    public:
        void Insert(const WaitingJob& job);
        const WaitingJob& First() const { return m_jobs[m_taken]; }
        WaitingJob TakeFirst();
        bool IsEmpty() const { return m_jobs.empty(); }

    private:
        std::vector<WaitingJob> m_jobs;
        std::size_t m_taken = 0;  // that many at the front have left already; never all of them
    };
    using Lanes = std::map<MachineWishes, Lane>;

    /// A job queue on one level. The lanes are looked through from the oldest job on, so that the jobs whose
    /// wishes may not be fulfilled now cost one look for each wish and not for each job.
    struct Queue {
        Lanes lanes;
        std::map<std::int64_t, Lanes::iterator> byFirstOffset;
    };
    struct Rank {
        std::int32_t minusPriority;  // so that the highest comes first
        bool isToBeEvaluated;
        bool operator<(const Rank& other) const {
            return std::tie(minusPriority, isToBeEvaluated) <
                   std::tie(other.minusPriority, other.isToBeEvaluated);
        }
    };
    struct Level {
        bool Has(const JobTicket& ticket) const;

        std::map<std::string, Queue> queues;
        std::string lastServed;  // the queue whose turn was the last
    };
    struct Taken {
        WaitingJob job;
        std::string queue;
        MachineWishes wishes;
    };

    std::optional<Taken> TakeFrom(Level& level, const Condition& mayTake);
    std::optional<Taken> TakeFrom(Queue& queue, const Condition& mayTake);

    PackedId Pack(const std::string& jobId, std::int64_t offset);
    std::string Unpack(const WaitingJob& job);

    std::map<std::string_view, std::map<Rank, Level>> m_levels;  // by service
    std::size_t m_numLanes = 0;
    std::map<std::int64_t, std::string> m_otherIds;  // by offset: those that are no UUID
};

}  // namespace Quillon::Farm
