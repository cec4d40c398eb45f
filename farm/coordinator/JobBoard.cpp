#include "farm/coordinator/JobBoard.h"

#include <algorithm>
#include <utility>

namespace Quillon::Farm {

using PlatformAbstraction::MutexLock;

namespace {

constexpr std::chrono::milliseconds kLookForSilence{200};
constexpr std::chrono::hours kLongWait{24};

}  // namespace

void JobBoard::Post(const JobTicket& ticket) {
    {
        const MutexLock lock(m_mutex);
        m_waiting.Add(ticket);
    }
    m_changed.notify_all();
}

std::int64_t JobBoard::OldestOffset() const {
    const MutexLock lock(m_mutex);
    std::int64_t oldest = std::min(m_waiting.OldestOffset(), m_workers.OldestOffset());
    for (const JobTicket& ticket : m_repeated) {
        oldest = std::min(oldest, ticket.offset);
    }
    return oldest;
}

std::optional<JobTicket> JobBoard::Take(const Worker& worker, const std::stop_token& stop) {
    std::optional<JobTicket> ticket;
    MutexLock lock(m_mutex);
    const auto isThere = [&] {
        m_mutex.AssertHeld();
        if (m_workers.IsSilent(worker.id)) {
            return false;
        }
        const auto mayTake = [this, &worker](const MachineWishes& wishes) {
            m_mutex.AssertHeld();
            return m_workers.MayTake(worker, wishes);
        };
        ticket.reset();
        while (!stop.stop_requested() && (ticket = m_waiting.Take(worker.service, mayTake)) &&
               m_workers.IsAnyoneAt(ticket->jobId)) {
            m_repeated.push_back(*std::exchange(ticket, std::nullopt));
        }
        return ticket.has_value();
    };
    // A silence is seen by looking.
    while (!m_changed.wait_for(lock, stop, worker.jobIds ? kLookForSilence : kLongWait, isThere) &&
           !stop.stop_requested()) {
        if (m_workers.IsSilent(worker.id)) {
            m_workers.Remove(worker.id);
            return std::nullopt;
        }
    }
    if (ticket) {
        m_workers.Assign(worker.id, *ticket);
    }
    return ticket;
}

bool JobBoard::IsLost(const Worker& worker) const {
    const MutexLock lock(m_mutex);
    return m_workers.IsLost(worker.id);
}

void JobBoard::NoteSilence(const Worker& worker) {
    const MutexLock lock(m_mutex);
    m_workers.NoteSilence(worker.id);
}

void JobBoard::SetBusy(const Worker& worker, std::string_view taskKind, const std::string& user) {
    const MutexLock lock(m_mutex);
    m_workers.SetBusy(worker.id, taskKind, user);
}

void JobBoard::PutBack(const Worker& worker, const JobTicket& ticket) {
    {
        const MutexLock lock(m_mutex);
        m_waiting.Add(ticket);
        Release(worker, ticket);
    }
    m_changed.notify_all();
}

void JobBoard::Finish(const Worker& worker, const JobTicket& ticket) {
    {
        const MutexLock lock(m_mutex);
        Release(worker, ticket);
    }
    m_changed.notify_all();
}

void JobBoard::Release(const Worker& worker, const JobTicket& ticket) {
    m_workers.Release(worker.id);
    for (const JobTicket& repeated : m_repeated) {
        if (repeated.jobId == ticket.jobId) {
            m_waiting.Add(repeated);
        }
    }
    std::erase_if(m_repeated,
                  [&ticket](const JobTicket& repeated) { return repeated.jobId == ticket.jobId; });
}

bool JobBoard::Report(const Worker& worker) {
    bool isNew = false;
    {
        const MutexLock lock(m_mutex);
        isNew = m_workers.Report(worker);
    }
    m_changed.notify_all();
    return isNew;
}

std::vector<WorkerState> JobBoard::Workers() const {
    const MutexLock lock(m_mutex);
    return m_workers.States();
}

}  // namespace Quillon::Farm
