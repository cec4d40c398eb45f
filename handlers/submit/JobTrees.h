#pragma once

#include "base/parameters/Parameters.h"

namespace Weftline::Services {

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
