#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"

namespace Quillon::Farm {

/// Where the results of one kind of query lie in the object store.
struct ResultPlace {
    std::string_view collection;
    std::string_view recordType;
};

/// Stores each result as a record that refers to the query by `queryID`. The records of one query always have
/// the same ids, so that storing them once more leaves each there once. Throws `std::runtime_error` when one
/// is not taken.
void StoreResults(const ResultPlace& place, const std::string& queryId,
                  const std::vector<CoreServices::Parameters>& results);

}  // namespace Quillon::Farm
