#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

// The records in which the farm leaves the results of a query, each referring to the query's id. A fetch
// consumes them. Nothing guards them between finding and deleting: two fetches at once may both have them.
// Store failures are thrown. Any thread may call.

/// The query id in documented examples.
inline constexpr std::string_view kExampleQueryID = "c38c9b22-8000-440a-8f25-4a5a6907da19";

/// Where the results of one kind of query lie.
struct ResultKind {
    std::string_view collection;
    std::string_view recordType;
};

/// All results of the query that `queryID` of the request names, in the store's order. Throws
/// `std::runtime_error` when the request names none.
std::vector<Record> FindResults(const ResultKind& kind, const CoreServices::Parameters& request);

/// The trees of the results whose places `keep(place)` picks, in order. The others are parsed too and
/// dropped: a result that is not JSON fails here, with a `std::runtime_error`, wherever it stands.
template <class Keep>
std::vector<CoreServices::Parameters> ParseResults(const std::vector<Record>& results, Keep keep) {
    std::vector<CoreServices::Parameters> trees;
    for (std::size_t place = 0; place < results.size(); ++place) {
        auto tree = CoreServices::Parameters::fromJSON(results[place].recordData);
        if (keep(place)) {
            trees.push_back(std::move(tree));
        }
    }
    return trees;
}

/// A store that refuses is not noticed: the results then stay for the next fetch.
void DeleteResults(const std::vector<Record>& results);

}  // namespace Weftline::Services::Scheduler
