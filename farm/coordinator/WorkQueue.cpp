#include "farm/coordinator/WorkQueue.h"

#include <algorithm>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <stdexcept>
#include <utility>

namespace Quillon::Farm {

namespace {

// Queues and machines are what clients call them, and each job may name others. Past these bounds, some ten
// megabytes, jobs lie with those that name none.
constexpr std::size_t kMostLanes = 10000;
constexpr std::size_t kLongestName = 255;

bool IsShort(const JobTicket& ticket) {
    return std::max({ticket.queue.size(), ticket.wishes.required.size(), ticket.wishes.excluded.size()}) <=
           kLongestName;
}

}  // namespace

bool WorkQueue::Level::Has(const JobTicket& ticket) const {
    const auto queue = queues.find(ticket.queue);
    return queue != queues.end() && queue->second.lanes.contains(ticket.wishes);
}

void WorkQueue::Lane::Insert(const WaitingJob& job) {
    const auto isBefore = [](std::int64_t offset, const WaitingJob& other) { return offset < other.offset; };
    const auto first = m_jobs.begin() + static_cast<std::ptrdiff_t>(m_taken);
    m_jobs.insert(std::upper_bound(first, m_jobs.end(), job.offset, isBefore), job);
}

// Half of the room is given back at a time, so that each job is moved about once.
WorkQueue::WaitingJob WorkQueue::Lane::TakeFirst() {
    const WaitingJob job = m_jobs[m_taken];
    ++m_taken;
    if (m_taken * 2 >= m_jobs.size()) {
        m_jobs = std::vector(m_jobs.begin() + static_cast<std::ptrdiff_t>(m_taken), m_jobs.end());
        m_taken = 0;
    }
    return job;
}

void WorkQueue::Add(const JobTicket& ticket) {
    const Rank rank{-ticket.priority, ticket.stage == Stage::Evaluation};
    Level& level = m_levels[ticket.Step().service][rank];
    const bool isOfItsOwn = level.Has(ticket) || (m_numLanes < kMostLanes && IsShort(ticket));
    Queue& queue = level.queues[isOfItsOwn ? ticket.queue : std::string()];
    const auto [lane, isNew] = queue.lanes.try_emplace(isOfItsOwn ? ticket.wishes : MachineWishes());
    if (isNew) {
        ++m_numLanes;
    } else {
        queue.byFirstOffset.erase(lane->second.First().offset);
    }
    lane->second.Insert({ticket.offset, Pack(ticket.jobId, ticket.offset), ticket.operation});
    queue.byFirstOffset.emplace(lane->second.First().offset, lane);
}

std::optional<JobTicket> WorkQueue::Take(std::string_view service, const Condition& mayTake) {
    const auto found = m_levels.find(service);
    if (found == m_levels.end()) {
        return std::nullopt;
    }
    auto& levels = found->second;
    for (auto level = levels.begin(); level != levels.end(); ++level) {
        if (auto taken = TakeFrom(level->second, mayTake)) {
            const Rank rank = level->first;
            if (level->second.queues.empty()) {
                levels.erase(level);
            }
            return JobTicket{Unpack(taken->job),      taken->job.offset,
                             taken->job.operation,    rank.isToBeEvaluated ? Stage::Evaluation : Stage::Work,
                             -rank.minusPriority,     std::move(taken->queue),
                             std::move(taken->wishes)};
        }
    }
    return std::nullopt;
}

std::optional<WorkQueue::Taken> WorkQueue::TakeFrom(Level& level, const Condition& mayTake) {
    auto queue = level.queues.upper_bound(level.lastServed);
    for (std::size_t tried = 0; tried < level.queues.size(); ++tried) {
        if (queue == level.queues.end()) {
            queue = level.queues.begin();
        }
        if (auto taken = TakeFrom(queue->second, mayTake)) {
            taken->queue = level.lastServed = queue->first;
            if (queue->second.lanes.empty()) {
                level.queues.erase(queue);
            }
            return taken;
        }
        ++queue;
    }
    return std::nullopt;
}

std::optional<WorkQueue::Taken> WorkQueue::TakeFrom(Queue& queue, const Condition& mayTake) {
    const auto first = std::ranges::find_if(queue.byFirstOffset,
                                            [&](const auto& entry) { return mayTake(entry.second->first); });
    if (first == queue.byFirstOffset.end()) {
        return std::nullopt;
    }
    const auto lane = first->second;
    queue.byFirstOffset.erase(first);
    Taken taken{lane->second.TakeFirst(), "", lane->first};
    if (lane->second.IsEmpty()) {
        queue.lanes.erase(lane);
        --m_numLanes;
    } else {
        queue.byFirstOffset.emplace(lane->second.First().offset, lane);
    }
    return taken;
}

std::int64_t WorkQueue::OldestOffset() const {
    std::int64_t oldest = kNoOffset;
    for (const auto& [service, levels] : m_levels) {
        for (const auto& [rank, level] : levels) {
            for (const auto& [name, queue] : level.queues) {
                oldest = std::min(oldest, queue.byFirstOffset.begin()->first);
            }
        }
    }
    return oldest;
}

// What would not come back as the same text is kept as it is: whoever writes ids of another form may do so.
WorkQueue::PackedId WorkQueue::Pack(const std::string& jobId, std::int64_t offset) {
    PackedId packed{};
    try {
        const boost::uuids::uuid uuid = boost::uuids::string_generator()(jobId);
        if (!uuid.is_nil() && to_string(uuid) == jobId) {
            std::ranges::copy(uuid, packed.begin());
            return packed;
        }
    } catch (const std::runtime_error&) {
        // No UUID.
    }
    m_otherIds.emplace(offset, jobId);
    return packed;
}

std::string WorkQueue::Unpack(const WaitingJob& job) {
    if (auto other = m_otherIds.extract(job.offset)) {
        return std::move(other.mapped());
    }
    boost::uuids::uuid uuid;
    std::ranges::copy(job.id, uuid.begin());
    return to_string(uuid);
}

}  // namespace Quillon::Farm
