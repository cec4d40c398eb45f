#include "handlers/admin/WorkerPoolInfo.h"

#include <cstddef>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"

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

}  // namespace

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

}  // namespace Weftline::Services::Scheduler
