#pragma once

#include <boost/hana/string.hpp>
#include <cstdint>
#include <string>

#include "Core/src/DataRecord.h"
#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"

namespace Weftline::DataModel {

/// The private part of a job. Its trees are stored as texts that hold their JSON.
struct JobData {
    std::string parent;  ///< the compound job that this one belongs to
    std::string clientKey;
    std::string jobMonitorID;
    std::string jobLastState;
    std::string jobEvalTaskKind;
    std::string clientMachine;
    std::string requiredWorkerMachine;
    std::string excludedWorkerMachine;
    CoreServices::Parameters identity;          ///< who submitted the job
    CoreServices::Parameters processingData;    ///< the request with its directories and its job parameters
    CoreServices::Parameters jobRunCaseData;    ///< the same with the job parameters emptied
    CoreServices::Parameters jobBlueprintData;  ///< the job parameters alone
    std::string globalConfigContext;
    CoreServices::Parameters emailSettingsParams;
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

inline constexpr auto kJobTypeName = BOOST_HANA_STRING("Job");
inline constexpr auto kJobCollection = BOOST_HANA_STRING("V2_WFJobs");

/// One submitted job: what is to be done, by whom, on which queue. It lives for one submission, on its
/// thread; once stored, the job belongs to the services that carry it out and is never read back here.
class Job final
    : public DataRecordV2<decltype(kJobTypeName), 1, decltype(kJobCollection), JobData, PublicJobData> {
public:
    explicit Job(std::string id);

    // The record itself.
    void SetName(std::string name);
    void SetDescription(std::string description);

    // Public data.
    void SetJobKind(std::string jobKind);
    void SetJobQueue(std::string jobQueue);
    std::string GetJobQueue() const;
    void SetPriority(std::int32_t priority);  ///< 1 to 100, as the caller sees to it
    void SetCreatedBy(std::string displayName);
    void SetCreatedDateTime(std::string extendedIsoUtc);

    // Private data.
    void SetParent(std::string compoundJobId);
    void SetJobEvalTaskKind(std::string taskKind);
    void SetClientMachine(std::string machine);
    void SetRequiredWorkerMachine(std::string machine);
    void SetExcludedWorkerMachine(std::string machine);
    void SetStoreJobSpecificOutputMetadataInJobMonitor(bool store);
    void SetFailJobOnFirstFailedTask(bool fail);

    // Private data that is stored as the tree's JSON text.
    void SetIdentity(CoreServices::Parameters tree);
    void SetEmailSettingsParams(CoreServices::Parameters tree);
    void SetProcessingData(CoreServices::Parameters tree);
    void SetJobRunCaseData(CoreServices::Parameters tree);
    void SetJobBlueprintData(CoreServices::Parameters tree);

    /// The record to store, with the JSON of both structures. The job does not change.
    Record ToRecord() const;
};

/// The event that makes a stored job known to the farm, with an id of its own. `jobId` is the id of the job's
/// record; a reader finds the rest of the job there.
Record MakeJobCreatedEvent(const std::string& jobId, const std::string& jobQueue);

/// The id of the job that the event announces; empty where it announces none.
std::string ReadJobCreatedEvent(const Record& event);

}  // namespace Weftline::DataModel
