#pragma once

#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"
#include "farm/workers/Catalogues.h"

namespace Quillon::Farm {

/// Where the task carries out a query: stores each result of the request as a record that refers to the query
/// by `queryID`. Equal requests have equal results, and the records of one query always have the same ids, so
/// that carrying it out once more leaves each there once. Every other task leaves nothing.
///
/// Throws `std::runtime_error` that names what the request has to have and has not, or the result that the
/// store did not take.
void StoreQueryResults(std::string_view taskKind, const std::string& queryId,
                       const CoreServices::Parameters& request, const Catalogues& catalogues);

}  // namespace Quillon::Farm
