#include "Core/src/Job.h"

#include <stdexcept>
#include <utility>

#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"
#include "base/parameters/JsonObjectText.h"

namespace Weftline::DataModel {

// How the two parts of a job stand in JSON. The order is that of writing.

template <>
struct StructureFields<JobData> {
    static constexpr FieldList kFields{
        Field{Keys::Parent, &JobData::parent},
        Field{Keys::ClientKey, &JobData::clientKey},
        Field{Keys::JobMonitorID, &JobData::jobMonitorID},
        Field{Keys::JobLastState, &JobData::jobLastState},
        Field{Keys::JobEvalTaskKind, &JobData::jobEvalTaskKind},
        Field{Keys::ClientMachine, &JobData::clientMachine},
        Field{Keys::RequiredWorkerMachine, &JobData::requiredWorkerMachine},
        Field{Keys::ExcludedWorkerMachine, &JobData::excludedWorkerMachine},
        Field{Keys::StoreJobSpecificOutputMetadataInJobMonitor,
              &JobData::storeJobSpecificOutputMetadataInJobMonitor},
        Field{Keys::Identity, &JobData::identity},
        Field{Keys::ProcessingData, &JobData::processingData},
        Field{Keys::JobRunCaseData, &JobData::jobRunCaseData},
        Field{Keys::JobBlueprintData, &JobData::jobBlueprintData},
        Field{Keys::GlobalConfigContext, &JobData::globalConfigContext},
        Field{Keys::EmailSettingsParams, &JobData::emailSettingsParams},
        Field{Keys::FailJobOnFirstFailedTask, &JobData::failJobOnFirstFailedTask},
    };
};

template <>
struct StructureFields<PublicJobData> {
    static constexpr FieldList kFields{
        Field{Keys::JobKind, &PublicJobData::jobKind},
        Field{Keys::JobState, &PublicJobData::jobState},
        Field{Keys::JobQueue, &PublicJobData::jobQueue},
        Field{Keys::JobQueueName, &PublicJobData::jobQueueName},
        Field{Keys::CreatedBy, &PublicJobData::createdBy},
        Field{Keys::Priority, &PublicJobData::priority},
        Field{Keys::Progress, &PublicJobData::progress},
        Field{Keys::CreatedDateTime, &PublicJobData::createdDateTime},
        Field{Keys::CompletedDateTime, &PublicJobData::completedDateTime},
    };
};

using CoreServices::Parameters;

static_assert(Job::TypeName() == RecordTypes::Job);
static_assert(Job::Collection() == Collections::Jobs);

Job::Job(std::string id) : DataRecordV2("") {
    GetRecord().recordID = std::move(id);
}

void Job::SetName(std::string name) {
    GetRecord().name = std::move(name);
}

void Job::SetDescription(std::string description) {
    GetRecord().description = std::move(description);
}

void Job::SetJobKind(std::string jobKind) {
    PublicData().jobKind = std::move(jobKind);
}

void Job::SetJobQueue(std::string jobQueue) {
    PublicData().jobQueue = std::move(jobQueue);
}

std::string Job::GetJobQueue() const {
    return PublicData().jobQueue;
}

void Job::SetPriority(std::int32_t priority) {
    PublicData().priority = priority;
}

void Job::SetCreatedBy(std::string displayName) {
    PublicData().createdBy = std::move(displayName);
}

void Job::SetCreatedDateTime(std::string extendedIsoUtc) {
    PublicData().createdDateTime = std::move(extendedIsoUtc);
}

void Job::SetParent(std::string compoundJobId) {
    PrivateData().parent = std::move(compoundJobId);
}

void Job::SetJobEvalTaskKind(std::string taskKind) {
    PrivateData().jobEvalTaskKind = std::move(taskKind);
}

void Job::SetClientMachine(std::string machine) {
    PrivateData().clientMachine = std::move(machine);
}

void Job::SetRequiredWorkerMachine(std::string machine) {
    PrivateData().requiredWorkerMachine = std::move(machine);
}

void Job::SetExcludedWorkerMachine(std::string machine) {
    PrivateData().excludedWorkerMachine = std::move(machine);
}

void Job::SetStoreJobSpecificOutputMetadataInJobMonitor(bool store) {
    PrivateData().storeJobSpecificOutputMetadataInJobMonitor = store;
}

void Job::SetFailJobOnFirstFailedTask(bool fail) {
    PrivateData().failJobOnFirstFailedTask = fail;
}

void Job::SetIdentity(Parameters tree) {
    PrivateData().identity = std::move(tree);
}

void Job::SetEmailSettingsParams(Parameters tree) {
    PrivateData().emailSettingsParams = std::move(tree);
}

void Job::SetProcessingData(Parameters tree) {
    PrivateData().processingData = std::move(tree);
}

void Job::SetJobRunCaseData(Parameters tree) {
    PrivateData().jobRunCaseData = std::move(tree);
}

void Job::SetJobBlueprintData(Parameters tree) {
    PrivateData().jobBlueprintData = std::move(tree);
}

Record Job::ToRecord() const {
    Record record = GetRecord();
    record.recordData = WriteStructureText(PrivateData());
    // None of its fields is one that a record keeps beside its public data.
    record.recordPublicData = WriteStructureText(PublicData());
    return record;
}

Record MakeJobCreatedEvent(const std::string& jobId, const std::string& jobQueue) {
    constexpr std::int32_t kVersion = 1;
    CoreServices::JsonObjectText body;
    body.AddText(Keys::Id, jobId);
    body.AddText(Keys::JobQueue, jobQueue);

    Record event(std::string(RecordTypes::JobCreated), kVersion, std::string(Topics::JobEvents));
    event.recordData = body.Finish();
    return event;
}

std::string ReadJobCreatedEvent(const Record& event) {
    std::string jobId;
    if (event.recordType == RecordTypes::JobCreated) {
        try {
            Parameters::fromJSON(event.recordData).GetParameter(Keys::Id, jobId);
        } catch (const std::runtime_error&) {
            // Broken JSON names no job.
        }
    }
    return jobId;
}

}  // namespace Weftline::DataModel
