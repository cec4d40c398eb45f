#include "Job.h"

#include <gtest/gtest.h>

#include "JobCreatedEvent.h"

namespace Weftline::DataModel {
namespace {

using CoreServices::Parameters;

TEST(Job, StartsWithDefaultsAndWritesEveryFieldInOrder) {
    const Record record = Job("x").ToRecord();

    EXPECT_EQ(record.recordID, "x");
    EXPECT_EQ(record.recordType, "Job");
    EXPECT_EQ(record.recordVersion, 1);
    EXPECT_EQ(record.recordTopic, "V2_WFJobs");
    EXPECT_EQ(record.tags, "[]");
    EXPECT_EQ(record.recordData,
              R"({"parent":"","clientKey":"","jobMonitorID":"","jobLastState":"","jobEvalTaskKind":"",)"
              R"("clientMachine":"","requiredWorkerMachine":"","excludedWorkerMachine":"",)"
              R"("storeJobSpecificOutputMetadataInJobMonitor":true,"identity":"","processingData":"",)"
              R"("jobRunCaseData":"","jobBlueprintData":"","globalConfigContext":"",)"
              R"("emailSettingsParams":"","failJobOnFirstFailedTask":true})");
    EXPECT_EQ(record.recordPublicData,
              R"({"jobKind":"","jobState":"","jobQueue":"","jobQueueName":"","createdBy":"",)"
              R"("priority":50,"progress":0,"createdDateTime":"","completedDateTime":""})");
}

TEST(Job, PutsEachValueUnderItsOwnKey) {
    Job job("x");
    job.SetName("Transcode");
    job.SetDescription("nightly");
    job.SetJobKind("kind");
    job.SetJobQueue("queue");
    job.SetPriority(7);
    job.SetCreatedBy("Ada");
    job.SetCreatedDateTime("2024-05-06T07:08:09");
    job.SetParent("compound");
    job.SetJobEvalTaskKind("task");
    job.SetClientMachine("client");
    job.SetRequiredWorkerMachine("required");
    job.SetExcludedWorkerMachine("excluded");
    job.SetStoreJobSpecificOutputMetadataInJobMonitor(false);
    job.SetFailJobOnFirstFailedTask(false);
    job.SetIdentity(Parameters::fromJSON(R"({"identityId":"i"})"));
    job.SetEmailSettingsParams(Parameters{});
    job.SetProcessingData(Parameters::fromJSON(R"({"jobParams":{"n":1.0}})"));
    job.SetJobRunCaseData(Parameters::fromJSON(R"({"jobParams":{}})"));
    job.SetJobBlueprintData(Parameters::fromJSON(R"({"n":1.0})"));

    const Record record = job.ToRecord();
    EXPECT_EQ(record.name, "Transcode");
    EXPECT_EQ(record.description, "nightly");
    EXPECT_EQ(record.recordPublicData,
              R"({"jobKind":"kind","jobState":"","jobQueue":"queue","jobQueueName":"","createdBy":"Ada",)"
              R"("priority":7,"progress":0,"createdDateTime":"2024-05-06T07:08:09","completedDateTime":""})");
    // Trees stand in the private data as escaped text and are not nested in it.
    EXPECT_EQ(record.recordData,
              R"({"parent":"compound","clientKey":"","jobMonitorID":"","jobLastState":"",)"
              R"("jobEvalTaskKind":"task","clientMachine":"client","requiredWorkerMachine":"required",)"
              R"("excludedWorkerMachine":"excluded","storeJobSpecificOutputMetadataInJobMonitor":false,)"
              R"("identity":"{\"identityId\":\"i\"}","processingData":"{\"jobParams\":{\"n\":1.0}}",)"
              R"("jobRunCaseData":"{\"jobParams\":{}}","jobBlueprintData":"{\"n\":1.0}",)"
              R"("globalConfigContext":"","emailSettingsParams":"{}","failJobOnFirstFailedTask":false})");
    EXPECT_EQ(job.GetJobQueue(), "queue");
    EXPECT_EQ(job.ToRecord().recordData, record.recordData) << "making a record changed the job";
}

TEST(JobCreatedEvent, NamesTheJobAndHasAnIdOfItsOwn) {
    const Record event = MakeJobCreatedEvent("job", "queue");
    EXPECT_EQ(event.recordType, "JobCreated");
    EXPECT_EQ(event.recordVersion, 1);
    EXPECT_EQ(event.recordTopic, "V2_WFJobEvents");
    EXPECT_EQ(event.recordData, R"({"id":"job","jobQueue":"queue"})");
    EXPECT_EQ(event.recordPublicData, R"({"tags":[]})");
    EXPECT_NE(event.recordID, "job");
    EXPECT_NE(event.recordID, MakeJobCreatedEvent("job", "queue").recordID);
}

}  // namespace
}  // namespace Weftline::DataModel
