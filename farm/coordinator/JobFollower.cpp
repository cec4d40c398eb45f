#include "farm/coordinator/JobFollower.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "Core/src/JobCreatedEvent.h"
#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "farm/coordinator/FarmClock.h"
#include "farm/coordinator/JobRecord.h"
#include "farm/coordinator/KeptPosition.h"
#include "farm/coordinator/TaskPlan.h"
#include "farm/protocol/Pause.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"

namespace Quillon::Farm {

using CommonServices::LoggedEvent;
using PlatformAbstraction::Log::Error;
using PlatformAbstraction::Log::Info;
using PlatformAbstraction::Log::Warning;
using Weftline::Record;

namespace {

constexpr std::size_t kBatch = 256;
constexpr std::chrono::milliseconds kKeepEvery{1000};
constexpr std::chrono::milliseconds kPauseAfterFailure{1000};

JobTicket MakeTicket(const std::string& jobId, std::int64_t offset, JobFacts facts, const TaskPlan& plan) {
    const bool isEvaluated =
        facts.state == Weftline::JobStates::Evaluated || facts.state == Weftline::JobStates::Tasked;
    JobTicket ticket;
    ticket.jobId = jobId;
    ticket.offset = offset;
    ticket.plan = &plan;
    ticket.stage = plan.HasEvaluation() && !isEvaluated ? Stage::Evaluation : Stage::Work;
    ticket.priority = facts.priority;
    ticket.queue = std::move(facts.queue);
    ticket.createdBy = std::move(facts.createdBy);
    ticket.requiredMachine = std::move(facts.requiredMachine);
    ticket.excludedMachine = std::move(facts.excludedMachine);
    return ticket;
}

}  // namespace

JobFollower::JobFollower(JobBoard& board, JobRecords& records)
    : m_board(board), m_records(records), m_read(board.Low()), m_kept(m_read) {}

void JobFollower::Run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        try {
            ReadOn(stop);
            if (std::exchange(m_isStoreFailing, false)) {
                Info("The coordinator reads jobs again.");
            }
        } catch (const std::exception& failure) {
            if (!std::exchange(m_isStoreFailing, true)) {
                Error(std::string("The coordinator cannot read jobs now: ") + failure.what());
            }
            PauseUnlessStopped(kPauseAfterFailure, stop);
        }
    }
    try {
        m_keptAt = {};
        KeepPosition();
    } catch (const std::exception& failure) {
        Warning(std::string("The coordinator's position was not kept: ") + failure.what());
    }
}

void JobFollower::ReadOn(const std::stop_token& stop) {
    KeepPosition();
    if (!m_board.WaitForRoom(stop, kKeepEvery)) {
        return;
    }
    const auto log = CommonServices::StoreChoice::Events();
    for (const LoggedEvent& event : log->Read(std::string(Weftline::Topics::JobEvents), m_read, kBatch,
                                              {CommonServices::StoreChoice::LongestEventWait(), stop})) {
        if (stop.stop_requested()) {
            return;
        }
        Take(event);
        m_read = event.offset;
    }
}

void JobFollower::Take(const LoggedEvent& event) {
    const std::string jobId = Weftline::DataModel::ReadJobCreatedEvent(event.record);
    auto job = jobId.empty()
                   ? std::nullopt
                   : CommonServices::ObjectStore().FindByID(jobId, std::string(Weftline::Collections::Jobs));
    if (job) {
        TakeJob(*job, event.offset);
    } else {
        m_board.Pass(event.offset);  // no job, or one that was removed
    }
}

void JobFollower::TakeJob(const Record& job, std::int64_t offset) {
    JobFacts facts;
    try {
        facts = ReadJobFacts(job);
    } catch (const std::runtime_error& broken) {
        Refuse(job.recordID, std::string("The job's record cannot be read: ") + broken.what());
        m_board.Pass(offset);
        return;
    }
    const TaskPlan* const plan = FindTaskPlan(facts.kind);
    if (!IsOpenState(facts.state)) {
        m_board.Pass(offset);
    } else if (plan == nullptr) {
        Refuse(job.recordID, "The farm has no worker for jobs of the kind \"" + facts.kind + "\".");
        m_board.Pass(offset);
    } else {
        m_board.Post(MakeTicket(job.recordID, offset, std::move(facts), *plan));
    }
}

void JobFollower::Refuse(const std::string& jobId, const std::string& reason) {
    const auto outcome = m_records.Change(jobId, [&](Record& job) {
        const bool isOpen = IsOpen(job);
        if (isOpen) {
            Fail(job, NowText(), reason);
        }
        return isOpen;
    });
    if (outcome == JobRecords::Outcome::Withheld) {
        throw CommonServices::ObjectStoreException("The job " + jobId + " is being removed.");
    }
    if (outcome == JobRecords::Outcome::Written) {
        Warning("The job " + jobId + " failed: " + reason);
    }
}

void JobFollower::KeepPosition() {
    const std::int64_t low = m_board.Low();
    const auto now = std::chrono::steady_clock::now();
    if (low == m_kept || now - m_keptAt < kKeepEvery) {
        return;
    }
    m_keptAt = now;
    if (KeptPosition::Keep(low)) {
        m_kept = low;
    }
}

}  // namespace Quillon::Farm
