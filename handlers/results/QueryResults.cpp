#include "handlers/results/QueryResults.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "Core/src/RequiredValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/results/StoreLimits.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services::Scheduler {

using CommonServices::ObjectStore;

namespace {

// A query's results go all at once, so that a process that dies meanwhile leaves all of them or none. Only
// more than any query has are cut: submissions wait for each piece, a second or two.
constexpr std::size_t kMostDeletedAtOnce = 50'000;

}  // namespace

std::vector<Record> FindResults(const ResultKind& kind, const CoreServices::Parameters& request) {
    const std::string queryID = GetRequiredString(request, Keys::QueryID);
    return ObjectStore().FindRecordsWithReferencedID(std::string(kind.collection),
                                                     std::string(kind.recordType), std::string(Keys::QueryID),
                                                     queryID, 0, kAllRecords);
}

void DeleteResults(const std::vector<Record>& results) {
    for (std::size_t begin = 0; begin < results.size(); begin += kMostDeletedAtOnce) {
        std::vector<std::string> ids;
        const std::size_t end = std::min(results.size(), begin + kMostDeletedAtOnce);
        for (std::size_t place = begin; place < end; ++place) {
            ids.push_back(results[place].recordID);
        }
        ObjectStore().DeleteMany(ids);
    }
}

}  // namespace Weftline::Services::Scheduler
