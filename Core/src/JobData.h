#pragma once

#include <cstdint>
#include <string>

namespace Weftline::DataModel {

/// The private part of a job. The members that hold whole trees hold them as JSON text.
struct JobData {
    std::string parent;  ///< the compound job that this one belongs to
    std::string clientKey;
    std::string jobMonitorID;
    std::string jobLastState;
    std::string jobEvalTaskKind;
    std::string clientMachine;
    std::string requiredWorkerMachine;
    std::string excludedWorkerMachine;
    std::string identity;          ///< JSON text: who submitted the job
    std::string processingData;    ///< JSON text: the request with its directories and its job parameters
    std::string jobRunCaseData;    ///< JSON text: the same with the job parameters emptied
    std::string jobBlueprintData;  ///< JSON text: the job parameters alone
    std::string globalConfigContext;
    std::string emailSettingsParams;  ///< JSON text
    bool failJobOnFirstFailedTask = true;
    bool storeJobSpecificOutputMetadataInJobMonitor = true;
};

/// The public part of a job.
struct PublicJobData {
    std::string jobKind;
    std::string jobState;  ///< blank while no one but this service has written the job
    std::string jobQueue;
    std::string jobQueueName;
    std::string createdBy;       ///< a display name
    std::int32_t priority = 50;  ///< 1 to 100
    std::int32_t progress = 0;
    std::string createdDateTime;  ///< as `ExtendedIsoUtc` writes it
    std::string completedDateTime;
};

}  // namespace Weftline::DataModel
