#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "farm/workers/Catalogues.h"
#include "farm/workers/ResultRecords.h"

namespace Quillon::Farm {

/// One kind of query: the task that carries it out, where its results go, and how they come about.
struct QueryKind {
    using Answer = std::vector<CoreServices::Parameters>;

    std::string_view taskKind;
    ResultPlace place;
    /// From the request that submitted the query. Equal requests have equal answers. Throws
    /// `std::runtime_error` that names what a request has to have and has not.
    Answer (*answer)(const CoreServices::Parameters& request, const Catalogues& catalogues);
};

/// The kind that the task carries out, or null where it is no query.
const QueryKind* FindQueryKind(std::string_view taskKind);

}  // namespace Quillon::Farm
