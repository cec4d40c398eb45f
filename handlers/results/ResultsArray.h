#pragma once

#include <string_view>

#include "base/parameters/Parameters.h"
#include "handlers/results/QueryResults.h"

namespace Weftline::Services::Scheduler {

/// What the find messages do that hand results back as they are stored: a tree with the one array `arrayKey`,
/// empty where there are no results. The results are deleted once the answer is built, so that a fetch that
/// failed before can be tried again. Fails by throwing.
CoreServices::Parameters FetchResultsArray(const ResultKind& kind, std::string_view arrayKey,
                                           const CoreServices::Parameters& request);

}  // namespace Weftline::Services::Scheduler
