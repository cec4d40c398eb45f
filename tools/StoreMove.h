#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"

namespace CommonServices {
class EventLog;
class RecordStore;
namespace Sqlite {
class StoreContents;
}
}  // namespace CommonServices

namespace Quillon::Tools {

/// What somebody asks of a move.
struct MoveWishes {
    bool isDry = false;        ///< only looks
    bool withHistory = false;  ///< also the events of jobs that have ended
    bool despiteRefusals = false;
};

/// Where they go; without `records` a dry move looks at the file alone.
struct MoveTarget {
    CommonServices::RecordStore* records = nullptr;
    CommonServices::EventLog* events = nullptr;
};

struct MovedRecords {
    std::uint64_t moved = 0;
    std::uint64_t there = 0;  ///< the same already
    std::uint64_t refused = 0;
};

struct MovedEvents {
    std::uint64_t sent = 0;
    std::uint64_t sentBefore = 0;  ///< by a run before this one, and other events up to the last of these
    std::uint64_t doneWith = 0;    ///< their jobs have ended, as the farm has noted
    std::uint64_t ofNoJob = 0;     ///< they announce jobs that are not in the target
};

/// Moves what lies in a store's file to the stores of many machines: first all records in the file's order,
/// then the events in theirs. What the local farm keeps for itself stays behind.
///
/// It may die at any moment and be run again. Records are inserted under their ids where there is none; how
/// far it has come is kept as a record of the target, at least once for each `kBatch` records and events, so
/// that no more events than these are sent twice. A record whose id the target has with another content is
/// refused, with a line in the log, and left as it is there; then no events are sent, unless wished.
///
/// One thread. Throws `ObjectStoreException` where the file or the target fails.
class StoreMove {
public:
    StoreMove(CommonServices::Sqlite::StoreContents& file, const MoveTarget& target,
              const MoveWishes& wishes);

    /// False where records were refused and so the events were not sent. Called once.
    [[nodiscard]] bool Run();

    const std::map<std::string, MovedRecords>& Records() const { return m_records; }  ///< by collection
    const MovedEvents& Events() const { return m_events; }

    static constexpr std::size_t kBatch = 128;

private:
    using Record = Weftline::Record;

    /// How far a move of this file has come, as the target tells.
    struct Progress {
        std::string fileState;      // as the records were read
        std::int64_t records = 0;   // up to this place of the file
        std::int64_t events = 0;    // up to this offset of the file
        std::int64_t doneWith = 0;  // job events up to here were left out as done with
    };
    struct Row {
        std::int64_t place;
        Record record;
    };

    void LoadProgress();
    void KeepProgress();
    void MoveRecords();
    void MoveBatch(const std::vector<Row>& rows);
    void Insert(const Record& record);
    void Refuse(const Record& record, const std::string& why);
    std::int64_t FarmsPosition();
    void MoveEvents();
    void SendBatch(const std::vector<Row>& rows);
    void TellHowFar();

    CommonServices::Sqlite::StoreContents& m_file;
    const MoveTarget m_target;
    const MoveWishes m_wishes;
    Progress m_progress;
    bool m_isRefusing = false;
    std::map<std::string, MovedRecords> m_records;
    MovedEvents m_events;
    std::chrono::steady_clock::time_point m_tellAt;
};

}  // namespace Quillon::Tools
