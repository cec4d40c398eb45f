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

/// The three trees that a job carries for the workers.
struct JobTrees {
    CoreServices::Parameters processing;  ///< the whole submission
    CoreServices::Parameters runCase;     ///< the same with its job parameters emptied
    CoreServices::Parameters blueprint;   ///< the job parameters alone
};

/// Splits a submission. The job parameters stand under `jobParams` or, where that key is not there, under
/// `JobParams`; without either, the blueprint is empty and the run case is the whole.
JobTrees SplitIntoJobTrees(const CoreServices::Parameters& submission);

}  // namespace Weftline::Services
