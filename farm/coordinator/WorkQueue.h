#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "farm/coordinator/JobTicket.h"

namespace Quillon::Farm {

/// Who is next. The job of the highest priority; among equals one whose next task ends it before one that is
/// yet to be evaluated, so that a query does not wait for the evaluation of all media jobs before it; among
/// these the job queues take turns; and in a queue whoever came first. One thread at a time.
class WorkQueue {
public:
    using Condition = std::function<bool(const JobTicket& ticket)>;

    void Add(JobTicket ticket);

    /// Takes the next one with a task for that service that meets the condition, if there is one.
    std::optional<JobTicket> Take(std::string_view service, const Condition& mayTake);

    std::size_t Size() const { return m_size; }

private:
    struct Rank {
        std::int32_t minusPriority;  // so that the highest comes first
        bool isToBeEvaluated;
        auto operator<=>(const Rank&) const = default;
    };
    using Queue = std::map<std::int64_t, JobTicket>;  // by offset
    struct Level {
        std::map<std::string, Queue> queues;
        std::string lastServed;  // the queue whose turn was the last
    };
    using Levels = std::map<Rank, Level>;

    std::optional<JobTicket> TakeFrom(Level& level, const Condition& mayTake);
    static std::optional<JobTicket> TakeFrom(Queue& queue, const Condition& mayTake);

    std::map<std::string_view, Levels> m_levels;  // by service
    std::size_t m_size = 0;
};

}  // namespace Quillon::Farm
