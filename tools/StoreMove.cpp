#include "tools/StoreMove.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "Core/src/Job.h"
#include "Core/src/Vocabulary.h"
#include "base/failpoint/Failpoint.h"
#include "base/log/PlatformLog.h"
#include "base/parameters/Parameters.h"
#include "farm/protocol/FarmState.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/StoreContents.h"

namespace Quillon::Tools {

using CommonServices::IsSameRecord;
using CommonServices::ObjectStoreException;
using CommonServices::ReplaceOutcome;
using CoreServices::Parameters;
namespace Log = PlatformAbstraction::Log;

namespace {

constexpr const char* kProgressCollection = "V2_WFStoreMoves";
constexpr const char* kProgressType = "StoreMove";
constexpr const char* kProgressId = "store.move.";  // and the file's identity
constexpr std::int32_t kProgressVersion = 1;
constexpr const char* kFileState = "fileState";
constexpr const char* kRecords = "records";
constexpr const char* kEvents = "events";
constexpr const char* kDoneWith = "doneWith";

constexpr std::size_t kBatchBytes = std::size_t{4} * 1024 * 1024;
constexpr std::chrono::seconds kTellEvery{5};

std::size_t SizeOf(const Weftline::Record& record) {
    return record.recordData.size() + record.recordPublicData.size();
}

// As texts, since they outgrow the numbers of a tree.
std::int64_t ReadNumber(const Parameters& tree, const char* key) {
    std::string text;
    std::int64_t number = 0;
    tree.GetParameter(key, text);
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

bool IsOfFarm(const Weftline::Record& record) {
    return record.recordTopic == Farm::kStateCollection;
}

bool IsOfJobs(const Weftline::Record& event) {
    return event.recordTopic == Weftline::Topics::JobEvents;
}

/// Rows until they are enough for one step.
template <typename Row>
class Batch {
public:
    bool IsEmpty() const { return m_rows.empty(); }
    bool IsFull() const { return m_rows.size() == StoreMove::kBatch || m_bytes >= kBatchBytes; }
    void Add(Row row) {
        m_bytes += SizeOf(row.record);
        m_rows.push_back(std::move(row));
    }
    std::vector<Row> Take() {
        m_bytes = 0;
        return std::exchange(m_rows, {});
    }

private:
    std::vector<Row> m_rows;
    std::size_t m_bytes = 0;
};

}  // namespace

StoreMove::StoreMove(CommonServices::Sqlite::StoreContents& file, const MoveTarget& target,
                     const MoveWishes& wishes)
    : m_file(file), m_target(target), m_wishes(wishes) {}

bool StoreMove::Run() {
    m_tellAt = std::chrono::steady_clock::now() + kTellEvery;
    LoadProgress();
    MoveRecords();
    if (m_isRefusing && !m_wishes.despiteRefusals) {
        return false;
    }
    MoveEvents();
    return true;
}

void StoreMove::LoadProgress() {
    if (m_target.records != nullptr) {
        const auto kept = m_target.records->FindByID(kProgressId + m_file.Identity(), kProgressCollection);
        try {
            const Parameters tree = kept ? Parameters::fromJSON(kept->recordData) : Parameters();
            tree.GetParameter(kFileState, m_progress.fileState);
            m_progress.records = ReadNumber(tree, kRecords);
            m_progress.events = ReadNumber(tree, kEvents);
            m_progress.doneWith = ReadNumber(tree, kDoneWith);
        } catch (const std::runtime_error&) {
            m_progress = {};  // nobody's; all is looked at again
        }
    }
    // Somebody used the file meanwhile, who may have changed any record of it.
    if (std::string state = m_file.State(); m_progress.fileState != state) {
        m_progress.fileState = std::move(state);
        m_progress.records = 0;
    }
    if (m_progress.events == 0) {
        m_progress.doneWith = m_wishes.withHistory ? 0 : FarmsPosition();
    } else if (m_wishes.withHistory && m_progress.doneWith != 0) {
        m_progress.events = 0;
        m_progress.doneWith = 0;
    }
}

void StoreMove::KeepProgress() {
    if (m_wishes.isDry) {
        return;
    }
    Weftline::Record record(kProgressType, kProgressVersion, kProgressCollection);
    record.recordID = kProgressId + m_file.Identity();
    record.systemCreated = true;
    Parameters tree;
    tree.SetParameter(kFileState, m_progress.fileState);
    tree.SetParameter(kRecords, std::to_string(m_progress.records));
    tree.SetParameter(kEvents, std::to_string(m_progress.events));
    tree.SetParameter(kDoneWith, std::to_string(m_progress.doneWith));
    record.recordData = tree.toJSON();
    if (!m_target.records->UpsertOne(record)) {
        throw ObjectStoreException("The target did not take the note of how far the move has come");
    }
}

void StoreMove::MoveRecords() {
    Batch<Row> batch;
    const auto move = [&] {
        MoveBatch(batch.Take());
        TellHowFar();
    };
    m_file.VisitRecords(m_progress.records, [&](std::int64_t place, Record&& record) {
        if (!IsOfFarm(record)) {
            batch.Add({place, std::move(record)});
        }
        if (batch.IsFull()) {
            move();
        }
        return true;
    });
    if (!batch.IsEmpty()) {
        move();
    }
}

// What is there already is found with one question for each collection; what is not is inserted one after the
// other, which keeps the order.
void StoreMove::MoveBatch(const std::vector<Row>& rows) {
    std::map<std::string, std::vector<std::string>> idsOf;
    for (const Row& row : rows) {
        idsOf[row.record.recordTopic].push_back(row.record.recordID);
    }
    std::map<std::string, Record> there;  // by id, which no two rows share
    for (const auto& [collection, ids] : idsOf) {
        if (m_target.records == nullptr) {
            break;
        }
        for (auto& found : m_target.records->FindManyByID(ids, collection)) {
            if (found) {
                std::string id = found->recordID;
                there.emplace(std::move(id), std::move(*found));
            }
        }
    }
    for (const Row& row : rows) {
        MovedRecords& count = m_records[row.record.recordTopic];
        if (const auto found = there.find(row.record.recordID); found == there.end()) {
            Insert(row.record);
        } else if (IsSameRecord(found->second, row.record)) {
            ++count.there;
        } else {
            Refuse(row.record, "the target has another one under its id");
        }
        if (!m_isRefusing) {
            m_progress.records = row.place;
        }
    }
    KeepProgress();
}

void StoreMove::Insert(const Record& record) {
    MovedRecords& count = m_records[record.recordTopic];
    if (m_wishes.isDry) {
        ++count.moved;
        return;
    }
    const ReplaceOutcome outcome = m_target.records->ReplaceIf(std::nullopt, record);
    QUILLON_FAILPOINT("after-moved-record");
    if (outcome == ReplaceOutcome::Replaced) {
        ++count.moved;
        return;
    }
    // An answer may have been lost on the way; and a target that is away is no fault of the record.
    const auto found = m_target.records->FindByID(record.recordID, record.recordTopic);
    if (found && IsSameRecord(*found, record)) {
        ++count.moved;
    } else if (found || outcome == ReplaceOutcome::Changed) {
        Refuse(record, "the target has another one under its id");
    } else {
        Refuse(record, "the target does not take it");
    }
}

void StoreMove::Refuse(const Record& record, const std::string& why) {
    Log::Error("The record " + record.recordID + " of the collection " + record.recordTopic +
               " is not moved: " + why);
    ++m_records[record.recordTopic].refused;
    m_isRefusing = true;
}

// All job events up to it announce jobs that have ended. 0 where there is none, or where it is no place of
// this file's events: then the farm itself would read them all.
std::int64_t StoreMove::FarmsPosition() {
    const auto kept = m_file.FindRecord(Farm::kPositionId, Farm::kStateCollection);
    const std::int64_t position = kept ? Farm::OffsetOf(*kept) : 0;
    bool isInLog = false;
    m_file.VisitEvents(std::max<std::int64_t>(position - 1, 0), [&isInLog](std::int64_t, Record&& event) {
        isInLog = IsOfJobs(event);
        return !isInLog;
    });
    return isInLog ? position : 0;
}

void StoreMove::MoveEvents() {
    Batch<Row> batch;
    m_file.VisitEvents(0, [&](std::int64_t offset, Record&& event) {
        if (IsOfJobs(event) && offset <= m_progress.doneWith) {
            ++m_events.doneWith;
        } else if (offset <= m_progress.events) {
            ++m_events.sentBefore;
        } else {
            batch.Add({offset, std::move(event)});
        }
        if (batch.IsFull()) {
            SendBatch(batch.Take());
        }
        return true;
    });
    if (!batch.IsEmpty()) {
        SendBatch(batch.Take());
    }
}

// An announcement without its job would be one of a job that was removed; whoever reads it looks in vain.
void StoreMove::SendBatch(const std::vector<Row>& rows) {
    std::vector<std::string> ids;
    for (const Row& row : rows) {
        ids.push_back(IsOfJobs(row.record) ? Weftline::DataModel::ReadJobCreatedEvent(row.record) : "");
    }
    std::vector<std::optional<Record>> jobs(rows.size());
    if (m_target.records != nullptr && !m_wishes.isDry) {
        jobs = m_target.records->FindManyWithoutData(ids, std::string(Weftline::Collections::Jobs));
    }
    std::vector<const Record*> wanted;
    for (std::size_t n = 0; n < rows.size(); ++n) {
        if (!m_wishes.isDry && !ids[n].empty() && !jobs[n]) {
            ++m_events.ofNoJob;
        } else {
            wanted.push_back(&rows[n].record);
        }
    }
    if (!m_wishes.isDry) {
        const std::vector<bool> taken = m_target.events->ProduceAll(wanted);
        if (std::ranges::find(taken, false) != taken.end()) {
            throw ObjectStoreException("Kafka did not take all of the events behind the offset " +
                                       std::to_string(m_progress.events));
        }
    }
    QUILLON_FAILPOINT("after-moved-events");
    m_events.sent += wanted.size();
    m_progress.events = rows.back().place;
    KeepProgress();
    TellHowFar();
}

void StoreMove::TellHowFar() {
    if (const auto now = std::chrono::steady_clock::now(); now >= m_tellAt) {
        m_tellAt = now + kTellEvery;
        std::uint64_t records = 0;
        for (const auto& [collection, count] : m_records) {
            records += count.moved + count.there;
        }
        Log::Info("So far " + std::to_string(records) + " records and " + std::to_string(m_events.sent) +
                  " events");
    }
}

}  // namespace Quillon::Tools
