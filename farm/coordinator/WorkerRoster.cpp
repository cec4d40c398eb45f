#include "farm/coordinator/WorkerRoster.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Core/src/TimeText.h"
#include "platform/messaging/HandlerErrors.h"

namespace Quillon::Farm {

namespace {

using Clock = std::chrono::steady_clock;

// Each has a thread at the coordinator, so a caller that makes them up must not have any number of them.
constexpr std::size_t kMostWorkers = 256;

bool Fulfils(const Worker& worker, const MachineWishes& wishes) {
    return (wishes.required.empty() || worker.machine == wishes.required) &&
           (wishes.excluded.empty() || worker.machine != wishes.excluded);
}

std::string NowText() {
    return Weftline::ExtendedIsoUtc(std::chrono::system_clock::now());
}

}  // namespace

bool WorkerRoster::Report(const Worker& worker) {
    if (WorkerState* const known = Find(worker.id)) {
        // Its service stays: the tasks of its thread are of one kind.
        const std::string service = known->worker.service;
        known->worker = worker;
        known->worker.service = service;
        known->reportedAt = Clock::now();
        const bool hasJob = !worker.jobIds || known->offset == kNoOffset ||
                            std::ranges::count(*worker.jobIds, known->jobId) > 0;
        known->reportsWithoutJob = hasJob ? 0 : known->reportsWithoutJob + 1;
        return false;
    }
    if (m_states.size() >= kMostWorkers) {
        throw PlatformAbstraction::Messaging::BadRequestHandlerError(
            "There are " + std::to_string(kMostWorkers) + " workers, and no room for another one");
    }
    m_states.push_back({.worker = worker, .since = NowText(), .reportedAt = Clock::now()});
    return true;
}

bool WorkerRoster::IsSilent(std::string_view workerId) const {
    const WorkerState* const state = Find(workerId);
    return state != nullptr && state->worker.jobIds && Clock::now() - state->reportedAt > m_patience.silence;
}

bool WorkerRoster::IsLost(std::string_view workerId) const {
    const WorkerState* const state = Find(workerId);
    return state == nullptr || state->reportsWithoutJob >= m_patience.reportsWithoutJob || IsSilent(workerId);
}

void WorkerRoster::NoteSilence(std::string_view workerId) {
    if (WorkerState* const state = Find(workerId)) {
        state->reportedAt = {};
    }
}

void WorkerRoster::Remove(std::string_view workerId) {
    std::erase_if(m_states, [&](const WorkerState& state) { return state.worker.id == workerId; });
}

void WorkerRoster::Assign(std::string_view workerId, const JobTicket& ticket) {
    if (WorkerState* const state = Find(workerId)) {
        state->jobId = ticket.jobId;
        state->offset = ticket.offset;
    }
}

void WorkerRoster::SetBusy(std::string_view workerId, std::string_view taskKind, const std::string& user) {
    if (WorkerState* const state = Find(workerId)) {
        state->taskKind = taskKind;
        state->user = user;
        state->since = NowText();
        state->reportsWithoutJob = 0;
    }
}

void WorkerRoster::Release(std::string_view workerId) {
    if (WorkerState* const state = Find(workerId)) {
        *state = {.worker = state->worker, .since = NowText(), .reportedAt = state->reportedAt};
    }
}

bool WorkerRoster::MayTake(const Worker& worker, const MachineWishes& wishes) const {
    return Fulfils(worker, wishes) || std::ranges::none_of(m_states, [&](const WorkerState& other) {
               return other.worker.service == worker.service && Fulfils(other.worker, wishes);
           });
}

bool WorkerRoster::IsAnyoneAt(std::string_view jobId) const {
    return std::ranges::any_of(m_states, [jobId](const WorkerState& state) {
        return state.offset != kNoOffset && state.jobId == jobId;
    });
}

std::int64_t WorkerRoster::OldestOffset() const {
    std::int64_t oldest = kNoOffset;
    for (const WorkerState& state : m_states) {
        oldest = std::min(oldest, state.offset);
    }
    return oldest;
}

const WorkerState* WorkerRoster::Find(std::string_view workerId) const {
    const auto found = std::ranges::find_if(
        m_states, [workerId](const WorkerState& state) { return state.worker.id == workerId; });
    return found == m_states.end() ? nullptr : &*found;
}

WorkerState* WorkerRoster::Find(std::string_view workerId) {
    return const_cast<WorkerState*>(std::as_const(*this).Find(workerId));
}

}  // namespace Quillon::Farm
