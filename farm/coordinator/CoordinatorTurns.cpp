#include "farm/coordinator/CoordinatorTurns.h"

#include <exception>
#include <utility>

#include "base/log/PlatformLog.h"
#include "farm/coordinator/CoordinatorService.h"
#include "farm/protocol/Pause.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::MessageBus;
namespace Log = PlatformAbstraction::Log;

namespace {

// Of messages under way; none of them takes long.
constexpr std::chrono::seconds kDetachPatience{1};

}  // namespace

CoordinatorTurns::CoordinatorTurns(std::string realm, const WorkerPatience& patience,
                                   const LeaseTimes& leaseTimes)
    : m_realm(std::move(realm)), m_patience(patience), m_leaseTimes(leaseTimes), m_lease(leaseTimes) {}

CoordinatorTurns::~CoordinatorTurns() {
    Stop();
}

void CoordinatorTurns::Start(MessageBus& bus) {
    LookOrComplain(bus);  // where nobody has the lease, the coordinator is there before the first job
    m_thread = std::jthread([this, &bus](const std::stop_token& stop) { Run(bus, stop); });
}

void CoordinatorTurns::Stop() noexcept {
    m_thread.request_stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CoordinatorTurns::Run(MessageBus& bus, const std::stop_token& stop) {
    for (;;) {
        PauseUnlessStopped(m_leaseTimes.renewEvery, stop);
        if (stop.stop_requested()) {
            break;
        }
        LookOrComplain(bus);
    }
    if (m_turn.coordinator) {
        m_turn.coordinator->Stop();  // within its term, so that it can keep how far it has come
    }
    EndTurn(bus);
    m_lease.LetGo();
}

void CoordinatorTurns::LookOrComplain(MessageBus& bus) {
    try {
        Look(bus);
        m_isFailing = false;
    } catch (const std::exception& failure) {
        if (!std::exchange(m_isFailing, true)) {
            Log::Warning(std::string("The farm's lease cannot be held or waited for: ") + failure.what());
        }
    }
    if (m_turn.term && m_turn.term->IsOver()) {
        EndTurn(bus);
    }
}

void CoordinatorTurns::Look(MessageBus& bus) {
    auto term = m_lease.Hold();
    if (m_turn.term && m_turn.term != term) {
        EndTurn(bus);
    }
    if (term && !m_turn.term) {
        BeginTurn(bus, std::move(term));
    }
}

void CoordinatorTurns::BeginTurn(MessageBus& bus, std::shared_ptr<LeaseTerm> term) {
    auto coordinator = std::make_shared<Coordinator>(m_realm, term, m_patience);
    auto place = bus.Attach(MakeCoordinatorService(m_realm, coordinator));
    m_turn = {std::move(term), std::move(coordinator), std::move(place)};
    m_turn.coordinator->Start(bus.GetMessaging());
    Log::Info("This farm coordinates the jobs from now on, under the lease " +
              std::to_string(m_turn.term->Number()) + ".");
}

void CoordinatorTurns::EndTurn(MessageBus& bus) noexcept {
    if (!m_turn.term) {
        return;
    }
    const Turn turn = std::exchange(m_turn, {});
    turn.term->End();
    try {
        Log::Info("This farm coordinates the jobs no longer.");
        bus.Detach(turn.place, kDetachPatience);
    } catch (const std::exception& failure) {
        // What it is asked from now on it answers as one whose time is over.
        Log::Warning(std::string("The former coordinator did not leave the bus: ") + failure.what());
    }
    turn.coordinator->Stop();
}

}  // namespace Quillon::Farm
