#include "farm/coordinator/JobFollower.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <stdexcept>
#include <utility>

#include "Core/src/Job.h"
#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "base/parameters/Parameters.h"
#include "farm/protocol/Pause.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"

namespace Quillon::Farm {

using CommonServices::ObjectStore;
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

constexpr char kCollection[] = "V2_WFFarm";
constexpr char kType[] = "FarmPosition";
constexpr char kRecordId[] = "farm.coordinator.position";
constexpr std::int32_t kVersion = 1;

// As a text: offsets outgrow the numbers of a tree.
std::int64_t ReadOffset(const std::string& json) try {
    std::string text;
    std::int64_t offset = 0;
    CoreServices::Parameters::fromJSON(json).GetParameter(Weftline::Keys::Offset, text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), offset);
    return error == std::errc() && end == text.data() + text.size() && offset > 0 ? offset : 0;
} catch (const std::runtime_error&) {
    return 0;
}

bool IsInLog(std::int64_t offset) {
    return !StoreChoice::Events()->Read(std::string(Weftline::Topics::JobEvents), offset - 1, 1, {}).empty();
}

}  // namespace

// From a position behind the end of the log no job would be heard of. From the first event on, those that
// have ended are passed over.
std::int64_t KeptPosition::Load() {
    const auto kept = ObjectStore().FindByID(kRecordId, kCollection);
    const std::int64_t offset = kept ? ReadOffset(kept->recordData) : 0;
    if (kept && (offset == 0 || !IsInLog(offset))) {
        Warning("The coordinator's position cannot be used, so all events are read.");
        return 0;
    }
    return offset;
}

bool KeptPosition::Keep(std::int64_t offset) {
    Weftline::Record position(kType, kVersion, kCollection);
    position.recordID = kRecordId;
    position.systemCreated = true;
    CoreServices::Parameters data;
    data.SetParameter(Weftline::Keys::Offset, std::to_string(offset));
    position.recordData = data.toJSON();
    return ObjectStore().UpsertOne(position);
}

JobFollower::JobFollower(JobBoard& board, JobRecords& records)
    : m_board(board), m_records(records), m_read(KeptPosition::Load()), m_kept(m_read) {}

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
    for (auto refusal = m_refusals.begin(); refusal != m_refusals.end();) {
        refusal = IsSettled(*refusal) ? m_refusals.erase(refusal) : std::next(refusal);
    }
    KeepPosition();
    auto wait = StoreChoice::LongestEventWait();
    if (m_kept != m_read) {
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
        Refuse({job.recordID, offset, std::string("The job's record cannot be read: ") + broken.what()});
        return;
    }
    const auto* const operation = Weftline::SubmitOperations::FindByJobKind(facts.kind);
    if (operation == nullptr) {
        Refuse({job.recordID, offset, "The farm has no worker for jobs of the kind \"" + facts.kind + "\"."});
        return;
    }
    m_board.Post({job.recordID, offset, operation, NextStage(*operation, facts.state), facts.priority,
                  std::move(facts.queue), std::move(facts.wishes)});
}

// A job in removal waits beside the log, whose further events it does not hold up.
void JobFollower::Refuse(Refusal refusal) {
    if (!IsSettled(refusal)) {
        m_refusals.push_back(std::move(refusal));
    }
}

bool JobFollower::IsSettled(const Refusal& refusal) {
    const auto outcome = m_records.Change(refusal.jobId, [&](Record& job) {
        const bool isOpen = IsOpen(job);
        if (isOpen) {
            Fail(job, NowText(), refusal.reason);
        }
        return isOpen;
    });
    if (outcome == JobRecords::Outcome::Written) {
        Warning("The job " + refusal.jobId + " failed: " + refusal.reason);
    }
    return outcome != JobRecords::Outcome::Withheld;
}

void JobFollower::KeepPosition() {
    const auto now = std::chrono::steady_clock::now();
    if (m_kept == m_read || now - m_keptAt < kKeepEvery) {
        return;
    }
    m_keptAt = now;
    std::int64_t open = m_board.OldestOffset();
    for (const Refusal& refusal : m_refusals) {
        open = std::min(open, refusal.offset);
    }
    const std::int64_t low = std::min(m_read, open - 1);
    if (low != m_kept && KeptPosition::Keep(low)) {
        m_kept = low;
    }
}

}  // namespace Quillon::Farm
