#include "farm/coordinator/WorkerRoster.h"

#include <algorithm>

#include "farm/coordinator/FarmClock.h"
#include "platform/messaging/HandlerErrors.h"

namespace Quillon::Farm {

namespace {

// Each has a thread at the coordinator, so a caller that makes them up must not have any number of them.
constexpr std::size_t kMostWorkers = 256;

bool MeetsWishes(const Worker& worker, const JobTicket& ticket) {
    return (ticket.requiredMachine.empty() || worker.machine == ticket.requiredMachine) &&
           (ticket.excludedMachine.empty() || worker.machine != ticket.excludedMachine);
}

}  // namespace

bool WorkerRoster::Report(const Worker& worker) {
    if (WorkerState* const known = Find(worker.id)) {
        // Its service stays: the tasks of its thread are of one kind.
        const std::string service = known->worker.service;
        known->worker = worker;
        known->worker.service = service;
        return false;
    }
    if (m_states.size() >= kMostWorkers) {
        throw PlatformAbstraction::Messaging::BadRequestHandlerError(
            "There are " + std::to_string(kMostWorkers) + " workers, and no room for another one");
    }
    m_states.push_back({worker, "", "", NowText()});
    return true;
}

void WorkerRoster::SetBusy(std::string_view workerId, std::string_view taskKind, const std::string& user) {
    if (WorkerState* const state = Find(workerId)) {
        state->taskKind = taskKind;
        state->user = user;
        state->since = NowText();
    }
}

void WorkerRoster::SetIdle(std::string_view workerId) {
    SetBusy(workerId, "", "");
}

bool WorkerRoster::MayTake(const Worker& worker, const JobTicket& ticket) const {
    if (MeetsWishes(worker, ticket)) {
        return true;
    }
    return std::ranges::none_of(m_states, [&](const WorkerState& other) {
        return other.worker.service == worker.service && MeetsWishes(other.worker, ticket);
    });
}

WorkerState* WorkerRoster::Find(std::string_view workerId) {
    const auto found = std::ranges::find_if(
        m_states, [workerId](const WorkerState& state) { return state.worker.id == workerId; });
    return found == m_states.end() ? nullptr : &*found;
}

}  // namespace Quillon::Farm
