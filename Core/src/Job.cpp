#include "Core/src/Job.h"

#include <utility>

#include "Core/src/JobDataFields.h"

namespace Weftline::DataModel {

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

void Job::SetIdentity(const Parameters& tree) {
    PrivateData().identity = tree.toJSON();
}

void Job::SetEmailSettingsParams(const Parameters& tree) {
    PrivateData().emailSettingsParams = tree.toJSON();
}

void Job::SetProcessingData(const Parameters& tree) {
    PrivateData().processingData = tree.toJSON();
}

void Job::SetJobRunCaseData(const Parameters& tree) {
    PrivateData().jobRunCaseData = tree.toJSON();
}

void Job::SetJobBlueprintData(const Parameters& tree) {
    PrivateData().jobBlueprintData = tree.toJSON();
}

Record Job::ToRecord() const {
    Record record = GetRecord();
    record.recordData = WriteStructure(PrivateData()).toJSON();
    record.SetPublicData(WriteStructure(PublicData()));
    return record;
}

}  // namespace Weftline::DataModel
