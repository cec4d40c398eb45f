#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <thread>

#include "farm/coordinator/Coordinator.h"
#include "farm/coordinator/FarmLease.h"
#include "platform/messaging/MessageBus.h"
#include "platform/messaging/MessageSink.h"

namespace Quillon::Farm {

/// The coordinator of a farm that has others beside it: there is one on the bus as long as this farm has the
/// lease, and a new one for each turn, which knows of jobs and workers what it hears from then on. For the
/// owner's thread; the work is done on one of its own.
class CoordinatorTurns {
public:
    CoordinatorTurns(std::string realm, const WorkerPatience& patience, const LeaseTimes& leaseTimes);
    CoordinatorTurns(const CoordinatorTurns&) = delete;
    CoordinatorTurns& operator=(const CoordinatorTurns&) = delete;
    ~CoordinatorTurns();

    /// Tries for the lease, and goes on to do so. The bus must be there until `Stop`.
    void Start(PlatformAbstraction::Messaging::MessageBus& bus);
    /// Gives the lease to whoever waits for it.
    void Stop() noexcept;

private:
    /// One coordinator on the bus.
    struct Turn {
        std::shared_ptr<LeaseTerm> term;
        std::shared_ptr<Coordinator> coordinator;
        std::shared_ptr<PlatformAbstraction::Messaging::MessageSink> place;
    };

    void Run(PlatformAbstraction::Messaging::MessageBus& bus, const std::stop_token& stop);
    void LookOrComplain(PlatformAbstraction::Messaging::MessageBus& bus);
    void Look(PlatformAbstraction::Messaging::MessageBus& bus);
    void BeginTurn(PlatformAbstraction::Messaging::MessageBus& bus, std::shared_ptr<LeaseTerm> term);
    void EndTurn(PlatformAbstraction::Messaging::MessageBus& bus) noexcept;

    const std::string m_realm;
    const WorkerPatience m_patience;
    const LeaseTimes m_leaseTimes;

    // Of the thread, once it runs.
    FarmLease m_lease;
    Turn m_turn;
    bool m_isFailing = false;

    std::jthread m_thread;  // last: it uses all of the above
};

}  // namespace Quillon::Farm
