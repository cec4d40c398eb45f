#include "farm/coordinator/JobBoard.h"

#include <utility>

namespace Quillon::Farm {

namespace {

// Some ten megabytes at the most.
constexpr std::size_t kMostJobs = 20000;
// The log is not read further than that beyond the first job that has not ended, since a restart reads all of
// it again. When the window has run empty but for that job, it is its turn whatever its priority.
constexpr std::int64_t kLongestSpan = 100000;

}  // namespace

JobBoard::JobBoard(std::int64_t low) : m_offsets(low) {}

bool JobBoard::HasRoom() const {
    return m_jobsInWindow.size() < kMostJobs && m_offsets.Span() < kLongestSpan;
}

bool JobBoard::WaitForRoom(const std::stop_token& stop, std::chrono::milliseconds time) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, stop, time, [this] { return HasRoom(); });
}

void JobBoard::Pass(std::int64_t offset) {
    const std::lock_guard lock(m_mutex);
    m_offsets.Pass(offset);
}

void JobBoard::Post(JobTicket ticket) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_jobsInWindow.insert(ticket.jobId).second) {
            m_offsets.Pass(ticket.offset);
            return;
        }
        m_offsets.Open(ticket.offset);
        m_waiting.Add(std::move(ticket));
    }
    m_changed.notify_all();
}

std::int64_t JobBoard::Low() const {
    const std::lock_guard lock(m_mutex);
    return m_offsets.Low();
}

std::optional<JobTicket> JobBoard::Take(const Worker& worker, const std::stop_token& stop) {
    const auto mayTake = [&](const JobTicket& ticket) { return m_workers.MayTake(worker, ticket); };
    std::optional<JobTicket> ticket;
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, stop, [&] {
        ticket = stop.stop_requested() ? std::nullopt : m_waiting.Take(worker.service, mayTake);
        return ticket.has_value();
    });
    if (ticket) {
        m_workers.SetBusy(worker.id, ticket->Step().taskKind, ticket->createdBy);
    }
    return ticket;
}

void JobBoard::PutBack(const Worker& worker, JobTicket ticket) {
    {
        const std::lock_guard lock(m_mutex);
        m_workers.SetIdle(worker.id);
        m_waiting.Add(std::move(ticket));
    }
    m_changed.notify_all();
}

void JobBoard::Finish(const Worker& worker, const JobTicket& ticket) {
    {
        const std::lock_guard lock(m_mutex);
        m_workers.SetIdle(worker.id);
        m_jobsInWindow.erase(ticket.jobId);
        m_offsets.Close(ticket.offset);
    }
    m_changed.notify_all();
}

bool JobBoard::Report(const Worker& worker) {
    bool isNew = false;
    {
        const std::lock_guard lock(m_mutex);
        isNew = m_workers.Report(worker);
    }
    m_changed.notify_all();
    return isNew;
}

std::vector<WorkerState> JobBoard::Workers() const {
    const std::lock_guard lock(m_mutex);
    return m_workers.States();
}

}  // namespace Quillon::Farm
