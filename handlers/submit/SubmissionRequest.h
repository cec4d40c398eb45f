#pragma once

#include <cstdint>
#include <string>

#include "base/parameters/Parameters.h"

namespace Weftline::Services {

/// What every submission may say about its job, whatever the operation. No key is required, and a value of
/// another type counts as absent.
struct SubmissionRequest {
    std::string jobQueue;
    std::int32_t priority = 0;  ///< within 1..100
    bool failJobOnFirstFailedTask = false;
    std::string clientMachine;
    std::string requiredWorkerMachine;
    std::string excludedWorkerMachine;
    bool storeJobSpecificOutputMetadataInJobMonitor = true;
    std::string compoundJobId;
    std::string description;
    CoreServices::Parameters emailSettings;
};

/// Reads the common keys with their defaults; `failJobDefault` is the operation's own.
SubmissionRequest ReadSubmissionRequest(const CoreServices::Parameters& request, bool failJobDefault);

}  // namespace Weftline::Services
