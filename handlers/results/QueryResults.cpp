#include "QueryResults.h"

#include <string>

#include "ObjectStore.h"
#include "RequiredValues.h"
#include "StoreLimits.h"
#include "Vocabulary.h"

namespace Weftline::Services::Scheduler {

using CommonServices::ObjectStore;

std::vector<Record> FindResults(const ResultKind& kind, const CoreServices::Parameters& request) {
    const std::string queryID = GetRequiredString(request, Keys::QueryID);
    return ObjectStore().FindRecordsWithReferencedID(std::string(kind.collection),
                                                     std::string(kind.recordType), std::string(Keys::QueryID),
                                                     queryID, 0, kAllRecords);
}

void DeleteResults(const std::vector<Record>& results) {
    std::vector<std::string> ids;
    ids.reserve(results.size());
    for (const Record& result : results) {
        ids.push_back(result.recordID);
    }
    ObjectStore().DeleteMany(ids);
}

}  // namespace Weftline::Services::Scheduler
