#pragma once

#include "Core/src/JobData.h"
#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"

/// How the two parts of a job stand in JSON. The order is that of writing.
namespace Weftline::DataModel {

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

}  // namespace Weftline::DataModel
