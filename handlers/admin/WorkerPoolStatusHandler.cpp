#include "handlers/admin/WorkerPoolStatusHandler.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Core/src/StructureFields.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "handlers/support/ServiceQueries.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {
namespace {

/// A worker as the coordinator reports it.
struct WorkerStatusRecord {
    std::string id;
    std::string status;
    std::string task;  ///< kind of the task at hand
    std::string user;
    std::string machine;
    std::string tag;
    std::string workerKind;
    bool metadataOnly = false;
    std::int32_t processID = 0;
    std::string time;
};

/// A worker as clients see it.
struct WorkerRow {
    std::string status;
    std::string taskType;  ///< for people; empty for a task that workers do not run
    std::string workingForUser;
    std::string workerName;  ///< its machine: workers have no names of their own
    std::string machineName;
    std::string workerTag;
    std::int32_t processID = 0;
    std::string time;
};

struct WorkerPoolInfo {
    std::vector<WorkerRow> rows;  ///< in the coordinator's order
    bool partitionOK = true;
    std::int32_t count = 0;
    std::string workerStatusJobID;  ///< always empty
};

}  // namespace
}  // namespace Weftline::Services::Scheduler

namespace Weftline::DataModel {

using Services::Scheduler::WorkerRow;
using Services::Scheduler::WorkerStatusRecord;

template <>
struct StructureFields<WorkerStatusRecord> {
    static constexpr FieldList kFields{
        Field{Keys::Id, &WorkerStatusRecord::id},
        Field{Keys::Status, &WorkerStatusRecord::status},
        Field{Keys::Task, &WorkerStatusRecord::task},
        Field{Keys::User, &WorkerStatusRecord::user},
        Field{Keys::Machine, &WorkerStatusRecord::machine},
        Field{Keys::Tag, &WorkerStatusRecord::tag},
        Field{Keys::WorkerKind, &WorkerStatusRecord::workerKind},
        Field{Keys::MetadataOnly, &WorkerStatusRecord::metadataOnly},
        Field{Keys::ProcessID, &WorkerStatusRecord::processID},
        Field{Keys::Time, &WorkerStatusRecord::time},
    };
};

template <>
struct StructureFields<WorkerRow> {
    static constexpr FieldList kFields{
        Field{Keys::WorkerRow::Status, &WorkerRow::status},
        Field{Keys::WorkerRow::TaskType, &WorkerRow::taskType},
        Field{Keys::WorkerRow::WorkingForUser, &WorkerRow::workingForUser},
        Field{Keys::WorkerRow::WorkerName, &WorkerRow::workerName},
        Field{Keys::WorkerRow::MachineName, &WorkerRow::machineName},
        Field{Keys::WorkerRow::WorkerTag, &WorkerRow::workerTag},
        Field{Keys::WorkerRow::ProcessID, &WorkerRow::processID},
        Field{Keys::WorkerRow::Time, &WorkerRow::time},
    };
};

}  // namespace Weftline::DataModel

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;

namespace {

WorkerRow MakeRow(const WorkerStatusRecord& record) {
    return {
        .status = record.status,
        .taskType = std::string(TaskDisplayName(record.task)),
        .workingForUser = record.user,
        .workerName = record.machine,
        .machineName = record.machine,
        .workerTag = record.tag,
        .processID = record.processID,
        .time = record.time,
    };
}

/// The elements of `results`, none where it is missing. Throws `std::runtime_error` ("Failed to extract: "
/// and the key) for the first value that is missing or of another type.
std::vector<WorkerStatusRecord> ReadWorkerStatusRecords(const Parameters& answer) {
    const std::size_t count = answer.GetArrayNumValues(Keys::Results);
    std::vector<WorkerStatusRecord> records;
    records.reserve(count);
    for (std::size_t n = 0; n < count; ++n) {
        records.push_back(DataModel::ReadStructure<WorkerStatusRecord>(
            answer.GetArrayNthChildParameters(Keys::Results, n)));
    }
    return records;
}

/// All workers but those that serve metadata only.
WorkerPoolInfo MakeWorkerPoolInfo(const std::vector<WorkerStatusRecord>& records) {
    WorkerPoolInfo info;
    for (const WorkerStatusRecord& record : records) {
        if (!record.metadataOnly) {
            info.rows.push_back(MakeRow(record));
        }
    }
    info.count = static_cast<std::int32_t>(info.rows.size());
    return info;
}

Parameters WriteWorkerPoolInfo(const WorkerPoolInfo& info) {
    Parameters pool;
    pool.AddEmptyArray(Keys::Workers);
    for (const WorkerRow& row : info.rows) {
        pool.AddArrayChildParameters(Keys::Workers, DataModel::WriteStructure(row));
    }
    Parameters tree;
    tree.SetChildParameters(Keys::WorkerPoolInfo, std::move(pool));
    tree.SetParameter(Keys::PartitionOK, info.partitionOK);
    tree.SetParameter(Keys::Count, info.count);
    tree.SetParameter(Keys::WorkerStatusJobID, info.workerStatusJobID);
    return tree;
}

}  // namespace

WorkerPoolStatusHandler::WorkerPoolStatusHandler(std::string realm) : m_realm(std::move(realm)) {}

RegistrationParams WorkerPoolStatusHandler::GetRegistrationParams() const {
    const std::string name(Operations::WorkerPoolStatus);
    return RegParamsBuilder()
        .SetName(name)
        .SetDescription("Gets the status of the pool of workers that have reported in.")
        .SetRESTPath(name)
        .AddExample({name, {}})
        .GetResult();
}

Parameters WorkerPoolStatusHandler::HandleMessageV2(const Parameters& /*request*/,
                                                    std::shared_ptr<MessageContext> context) {
    const Parameters report =
        QueryCoordinatorService(context, m_realm, std::string(Operations::WorkerPoolStatus), Parameters());
    const WorkerPoolInfo info = MakeWorkerPoolInfo(ReadWorkerStatusRecords(report));
    Parameters answer;
    answer.SetChildParameters(Keys::Results, WriteWorkerPoolInfo(info));
    return answer;
}

}  // namespace Weftline::Services::Scheduler
