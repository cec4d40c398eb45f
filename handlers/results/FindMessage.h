#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {

/// What a find message is called, and which records it hands out: those in which the farm leaves the results
/// of a query, each referring to the query's id. A fetch consumes them.
struct FindMessage {
    std::string_view name;  ///< the REST path too
    std::string_view description;
    std::string_view example;       ///< label of the example that names a query
    std::string_view pagedExample;  ///< of the one that asks for a page of it; empty where there are no pages
    std::string_view collection;
    std::string_view recordType;
};

PlatformAbstraction::RegistrationParams DescribeFindMessage(const FindMessage& message);

// Failures of the store are thrown. Any thread may call.

/// All results of the query that `queryID` of the request names, in the store's order. Throws
/// `std::runtime_error` when the request names none.
std::vector<Record> FindResults(const FindMessage& message, const CoreServices::Parameters& request);

/// Nothing guards results between finding and deleting: two fetches at once may both have them. A store that
/// refuses is not noticed: the results then stay for the next fetch.
void DeleteResults(const std::vector<Record>& results);

/// The private data of the results that `FindResults` would give, which are deleted as `DeleteResults` does.
/// The embedded store gives each of them to one fetch alone.
std::vector<std::string> TakeResults(const FindMessage& message, const CoreServices::Parameters& request);

}  // namespace Weftline::Services::Scheduler
