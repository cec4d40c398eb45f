#include "farm/coordinator/WorkQueue.h"

#include <utility>

namespace Quillon::Farm {

void WorkQueue::Add(JobTicket ticket) {
    const Rank rank{-ticket.priority, ticket.stage == Stage::Evaluation};
    Queue& queue = m_levels[ticket.Step().service][rank].queues[ticket.queue];
    const std::int64_t offset = ticket.offset;
    if (queue.emplace(offset, std::move(ticket)).second) {
        ++m_size;
    }
}

std::optional<JobTicket> WorkQueue::Take(std::string_view service, const Condition& mayTake) {
    const auto found = m_levels.find(service);
    if (found == m_levels.end()) {
        return std::nullopt;
    }
    Levels& levels = found->second;
    for (auto level = levels.begin(); level != levels.end(); ++level) {
        if (auto ticket = TakeFrom(level->second, mayTake)) {
            --m_size;
            if (level->second.queues.empty()) {
                levels.erase(level);
            }
            return ticket;
        }
    }
    return std::nullopt;
}

std::optional<JobTicket> WorkQueue::TakeFrom(Level& level, const Condition& mayTake) {
    auto queue = level.queues.upper_bound(level.lastServed);
    for (std::size_t tried = 0; tried < level.queues.size(); ++tried) {
        if (queue == level.queues.end()) {
            queue = level.queues.begin();
        }
        if (auto ticket = TakeFrom(queue->second, mayTake)) {
            level.lastServed = queue->first;
            if (queue->second.empty()) {
                level.queues.erase(queue);
            }
            return ticket;
        }
        ++queue;
    }
    return std::nullopt;
}

std::optional<JobTicket> WorkQueue::TakeFrom(Queue& queue, const Condition& mayTake) {
    for (auto place = queue.begin(); place != queue.end(); ++place) {
        if (mayTake(place->second)) {
            JobTicket ticket = std::move(place->second);
            queue.erase(place);
            return ticket;
        }
    }
    return std::nullopt;
}

}  // namespace Quillon::Farm
