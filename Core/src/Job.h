#pragma once

#include <boost/hana/string.hpp>
#include <cstdint>
#include <string>

#include "Core/src/DataRecordV2.h"
#include "Core/src/JobData.h"
#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"

namespace Weftline::DataModel {

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

    // Private data that is kept as the tree's JSON text.
    void SetIdentity(const CoreServices::Parameters& tree);
    void SetEmailSettingsParams(const CoreServices::Parameters& tree);
    void SetProcessingData(const CoreServices::Parameters& tree);
    void SetJobRunCaseData(const CoreServices::Parameters& tree);
    void SetJobBlueprintData(const CoreServices::Parameters& tree);

    /// The record to store, with the JSON of both structures. The job does not change.
    Record ToRecord() const;
};

}  // namespace Weftline::DataModel
