#include "farm/coordinator/JobFollower.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "Core/src/Job.h"
#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "base/parameters/Parameters.h"
#include "farm/protocol/FarmState.h"
#include "farm/protocol/Pause.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"

namespace Quillon::Farm {

using CommonServices::ObjectStore;
using PlatformAbstraction::Log::Debug;
using PlatformAbstraction::Log::Error;
using PlatformAbstraction::Log::Info;
using PlatformAbstraction::Log::Warning;
using Weftline::Record;
namespace StoreChoice = CommonServices::StoreChoice;

namespace {

constexpr std::size_t kBatch = 256;
constexpr std::size_t kReadAtOnce = 8;  // records, of which each may be megabytes
constexpr std::chrono::milliseconds kKeepEvery{1000};
constexpr std::chrono::milliseconds kPauseAfterFailure{1000};

bool HasEventBehind(std::int64_t offset) {
    return !StoreChoice::Events()->Read(std::string(Weftline::Topics::JobEvents), offset, 1, {}).empty();
}

// A log that is away shows nothing, as an empty one does, and to read all of a long one anew would take
// hours: so nothing is decided before it shows its first event.
bool IsInLog(std::int64_t offset) {
    if (HasEventBehind(offset - 1)) {
        return true;
    }
    if (!HasEventBehind(0)) {
        throw CommonServices::ObjectStoreException("the event log is empty, or does not answer");
    }
    return HasEventBehind(offset - 1);
}

}  // namespace

KeptPosition::KeptPosition(std::shared_ptr<const LeaseTerm> term) : m_pTerm(std::move(term)) {
    m_stored = ObjectStore().FindByID(kPositionId, kStateCollection);
    const std::int64_t offset = m_stored ? OffsetOf(*m_stored) : 0;
    const bool isClaim = m_stored && offset == 0 && ReadLeaseNumber(*m_stored) != 0;
    // From a position behind the end of the log no job would be heard of. From the first event on, those that
    // have ended are passed over.
    if (m_stored && !isClaim && (offset == 0 || !IsInLog(offset))) {
        Warning("The coordinator's position cannot be used, so all events are read.");
    } else {
        m_offset = offset;
    }
    if (m_pTerm->Number() != 0 && !Keep(m_offset)) {
        throw CommonServices::ObjectStoreException("The coordinator's position cannot be claimed");
    }
}

bool KeptPosition::Keep(std::int64_t offset) {
    if (m_pTerm->IsOver() ||
        (m_stored && m_pTerm->Number() != 0 && ReadLeaseNumber(*m_stored) > m_pTerm->Number())) {
        return false;
    }
    Record position = PositionRecord(offset, m_pTerm->Number());
    switch (ObjectStore().ReplaceIf(m_stored, position)) {
        case CommonServices::ReplaceOutcome::Replaced:
            m_stored = std::move(position);
            m_offset = offset;
            return true;
        case CommonServices::ReplaceOutcome::Changed:
            m_stored = ObjectStore().FindByID(kPositionId, kStateCollection);
            return false;
        case CommonServices::ReplaceOutcome::Failed:
            return false;
    }
    return false;
}

JobFollower::JobFollower(JobBoard& board, JobRecords& records, std::shared_ptr<const LeaseTerm> term)
    : m_board(board), m_records(records), m_pTerm(std::move(term)) {}

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
    if (!m_kept) {
        m_kept.emplace(m_pTerm);
        m_read = m_kept->Offset();
    }
    KeepPosition();
    auto wait = StoreChoice::LongestEventWait();
    if (m_kept->Offset() != m_read) {
        wait = std::min(wait, kKeepEvery);  // there are jobs that have not ended, as far as anybody has seen
    }
    const auto events =
        StoreChoice::Events()->Read(std::string(Weftline::Topics::JobEvents), m_read, kBatch, {wait, stop});
    for (std::size_t begin = 0; begin < events.size() && !stop.stop_requested(); begin += kReadAtOnce) {
        const std::size_t end = std::min(begin + kReadAtOnce, events.size());
        std::vector<std::string> ids;
        for (std::size_t n = begin; n < end; ++n) {
            ids.push_back(Weftline::DataModel::ReadJobCreatedEvent(events[n].record));
        }
        const auto jobs = ObjectStore().FindManyByID(ids, std::string(Weftline::Collections::Jobs));
        for (std::size_t n = begin; n < end; ++n) {
            if (const auto& job = jobs[n - begin]) {  // else it announces no job, or one that was removed
                TakeJob(*job, events[n].offset);
            }
            m_read = events[n].offset;
        }
    }
}

void JobFollower::TakeJob(const Record& job, std::int64_t offset) {
    if (!IsOpen(job)) {
        return;
    }
    JobFacts facts;
    try {
        facts = ReadJobFacts(job);
    } catch (const std::runtime_error& broken) {
        Refuse(job.recordID, std::string("The job's record cannot be read: ") + broken.what());
        return;
    }
    const auto* const operation = Weftline::SubmitOperations::FindByJobKind(facts.kind);
    if (operation == nullptr) {
        Refuse(job.recordID, "The farm has no worker for jobs of the kind \"" + facts.kind + "\".");
        return;
    }
    m_board.Post({job.recordID, offset, operation, NextStage(*operation, facts.state), facts.priority,
                  std::move(facts.queue), std::move(facts.wishes)});
}

void JobFollower::Refuse(const std::string& jobId, const std::string& reason) {
    const auto outcome = m_records.Change(jobId, [&](Record& job) {
        const bool isOpen = IsOpen(job);
        if (isOpen) {
            Fail(job, NowText(), reason);
        }
        return isOpen;
    });
    if (outcome == JobRecords::Outcome::Written) {
        Warning("The job " + jobId + " failed: " + reason);
    }
}

void JobFollower::KeepPosition() {
    const auto now = std::chrono::steady_clock::now();
    if (!m_kept || m_kept->Offset() == m_read || now - m_keptAt < kKeepEvery) {
        return;
    }
    m_keptAt = now;
    const std::int64_t low = std::min(m_read, m_board.OldestOffset() - 1);
    if (low != m_kept->Offset() && !m_kept->Keep(low)) {
        Debug("The coordinator's position was not kept this time.");
    }
}

}  // namespace Quillon::Farm
