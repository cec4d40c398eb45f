#include "farm/coordinator/TaskSlot.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/LeaseNumber.h"
#include "farm/protocol/Pause.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/stores/RecordStore.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using PlatformAbstraction::Log::Warning;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
using Weftline::Record;
namespace JobStates = Weftline::JobStates;
namespace Messaging = PlatformAbstraction::Messaging;
namespace Shared = Weftline::Keys;

namespace {

constexpr std::chrono::milliseconds kPause{1000};
// How soon a stop is seen while a worker is at a task.
constexpr std::int64_t kStopCheckMicroseconds = 50'000;

// Errors that say nothing of the task: the worker did not come to it, or nobody knows how far it came. Then
// it is done again, and counts once.
constexpr std::array<std::string_view, 4> kNotReached{Messaging::kServiceStopping, Messaging::kQueueFull,
                                                      Messaging::kServiceNotFound, Messaging::kBusAway};

// There is nothing for this coordinator to do any more.
bool IsLeft(JobRecords::Outcome outcome) {
    return outcome == JobRecords::Outcome::Gone || outcome == JobRecords::Outcome::Taken;
}

std::string_view StateDuring(Stage stage) {
    return stage == Stage::Evaluation ? JobStates::Readied : JobStates::Tasked;
}

}  // namespace

TaskSlot::TaskSlot(Worker worker, std::string realm, std::int64_t leaseNumber,
                   std::shared_ptr<Messaging::BusMessaging> messaging, JobBoard& board, JobRecords& records)
    : m_worker(std::move(worker)),
      m_realm(m_worker.taskRealm.empty() ? std::move(realm) : m_worker.taskRealm),
      m_leaseNumber(leaseNumber),
      m_pMessaging(std::move(messaging)),
      m_board(board),
      m_records(records) {}

void TaskSlot::Run(const std::stop_token& stop) {
    while (auto ticket = m_board.Take(m_worker, stop)) {
        switch (CarryOut(*ticket, stop)) {
            case Result::Evaluated:
                ticket->stage = Stage::Work;
                m_board.PutBack(m_worker, *ticket);
                break;
            case Result::Over:
                m_board.Finish(m_worker, *ticket);
                break;
            case Result::Interrupted:
                m_board.PutBack(m_worker, *ticket);
                PauseUnlessStopped(kPause, stop);
                break;
        }
    }
}

TaskSlot::Result TaskSlot::CarryOut(const JobTicket& ticket, const std::stop_token& stop) {
    const auto begun = Begin(ticket, stop);
    if (const Result* const result = std::get_if<Result>(&begun)) {
        return *result;
    }
    const Task& task = std::get<Task>(begun);
    m_board.SetBusy(m_worker, ticket.Step().taskKind, task.user);
    const TaskEnd end = Perform(ticket, task.processingData, stop);
    return end.kind == TaskEnd::Kind::Interrupted ? Result::Interrupted : NoteEnd(ticket, end, stop);
}

std::variant<TaskSlot::Task, TaskSlot::Result> TaskSlot::Begin(const JobTicket& ticket,
                                                               const std::stop_token& stop) {
    std::variant<Task, Result> begun = Result::Over;
    const auto outcome = Persist(
        ticket.jobId,
        [&](Record& job) {
            begun = Result::Over;
            if (!IsOpen(job)) {
                return false;
            }
            try {
                if (NextStage(*ticket.operation, ReadJobState(job)) > ticket.stage) {
                    begun = Result::Evaluated;  // under another announcement of the same job
                    return false;
                }
                Task task{ReadProcessingData(job), ReadCreator(job)};
                MoveTo(job, StateDuring(ticket.stage));
                SetProgress(job, 0);
                begun = std::move(task);
            } catch (const std::runtime_error& broken) {
                Fail(job, NowText(),
                     std::string("The job's processing data cannot be read: ") + broken.what());
            }
            return true;
        },
        stop);
    if (!outcome) {
        return Result::Interrupted;
    }
    return IsLeft(*outcome) ? Result::Over : begun;
}

TaskSlot::TaskEnd TaskSlot::Perform(const JobTicket& ticket, const Parameters& processingData,
                                    const std::stop_token& stop) const {
    const TaskStep& step = ticket.Step();
    ServiceMessageDispatch task(std::string(step.service), m_realm, kServiceVersion,
                                std::string(Operations::PerformTask));
    task.parameters.SetParameter(Keys::JobId, ticket.jobId);
    task.parameters.SetParameter(Keys::WorkerId, m_worker.id);
    task.parameters.SetParameter(Keys::TaskKind, step.taskKind);
    task.parameters.SetParameter(Shared::JobKind, ticket.operation->jobKind);
    WriteLeaseNumber(task.parameters, m_leaseNumber);
    task.parameters.SetChildParameters(Shared::ProcessingData, processingData);

    const auto future = m_pMessaging->SendRequest(task);
    while (!future->WaitForDone(kStopCheckMicroseconds)) {
        if (stop.stop_requested() || m_board.IsLost(m_worker)) {
            return {TaskEnd::Kind::Interrupted, ""};
        }
    }
    if (!future->HasError()) {
        return {TaskEnd::Kind::Done, ""};
    }
    std::string code;
    std::string reason = "The worker gave no reason.";
    future->GetErrorDetails(code, reason);
    if (code == Messaging::kServiceNotFound && !m_worker.taskRealm.empty()) {
        m_board.NoteSilence(m_worker);  // its process has ended, so it leaves the jobs to others
    }
    const bool isReached = std::ranges::find(kNotReached, code) == kNotReached.end();
    return {isReached ? TaskEnd::Kind::Failed : TaskEnd::Kind::Interrupted, reason};
}

TaskSlot::Result TaskSlot::NoteEnd(const JobTicket& ticket, const TaskEnd& end, const std::stop_token& stop) {
    const bool isDone = end.kind == TaskEnd::Kind::Done;
    const bool isEvaluated = isDone && ticket.stage == Stage::Evaluation;
    bool hasNextTask = false;
    const auto outcome = Persist(
        ticket.jobId,
        [&](Record& job) {
            const std::string state = ReadJobState(job);
            // A store that failed to answer may have taken the state all the same.
            hasNextTask = isEvaluated && (state == JobStates::Readied || state == JobStates::Evaluated);
            // Whoever has moved the job to another state meanwhile, such as "Canceled", has the last word.
            if (state != StateDuring(ticket.stage)) {
                return false;
            }
            if (!isDone) {
                Fail(job, NowText(), end.reason);
            } else if (isEvaluated) {
                MoveTo(job, JobStates::Evaluated);
            } else {
                Complete(job, NowText());
            }
            return true;
        },
        stop);
    if (!outcome) {
        return Result::Interrupted;
    }
    return hasNextTask && !IsLeft(*outcome) ? Result::Evaluated : Result::Over;
}

std::optional<JobRecords::Outcome> TaskSlot::Persist(const std::string& jobId, const JobRecords::Edit& edit,
                                                     const std::stop_token& stop) {
    bool hasSpoken = false;
    do {
        try {
            return m_records.Change(jobId, edit);
        } catch (const CommonServices::ObjectStoreException& failure) {
            if (!std::exchange(hasSpoken, true)) {
                Warning("The state of the job " + jobId + " waits for the store: " + failure.what());
            }
        } catch (const std::exception& broken) {
            Warning("The job " + jobId + " is left alone, for it cannot be read: " + broken.what());
            return JobRecords::Outcome::Gone;
        }
        PauseUnlessStopped(kPause, stop);
    } while (!stop.stop_requested());
    return std::nullopt;
}

}  // namespace Quillon::Farm
