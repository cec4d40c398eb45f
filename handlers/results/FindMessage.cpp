#include "handlers/results/FindMessage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/RequestValues.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services::Scheduler {

using CommonServices::ObjectStore;
using PlatformAbstraction::RegParamsBuilder;

namespace {

constexpr std::string_view kExampleQueryID = "c38c9b22-8000-440a-8f25-4a5a6907da19";
constexpr std::int32_t kExamplePageSize = 50;
constexpr std::int32_t kNoLimit = std::numeric_limits<std::int32_t>::max();

// A query's results go all at once, so that a process that dies meanwhile leaves all of them or none. Only
// more than any query has are cut: submissions wait for each piece, a second or two.
constexpr std::size_t kMostDeletedAtOnce = 50'000;

}  // namespace

PlatformAbstraction::RegistrationParams DescribeFindMessage(const FindMessage& message) {
    RegParamsBuilder builder;
    builder.SetName(std::string(message.name))
        .SetDescription(std::string(message.description))
        .SetRESTPath(std::string(message.name))
        .SetTakesAway()
        .AddExample({std::string(message.example), TreeOf({{Keys::QueryID, kExampleQueryID}})});
    if (!message.pagedExample.empty()) {
        builder.AddExample({std::string(message.pagedExample), TreeOf({{Keys::QueryID, kExampleQueryID},
                                                                       {Keys::PageOffset, 0},
                                                                       {Keys::PageSize, kExamplePageSize}})});
    }
    return builder.GetResult();
}

std::vector<Record> FindResults(const FindMessage& message, const CoreServices::Parameters& request) {
    const std::string queryID = RequestedString(request, Keys::QueryID);
    return ObjectStore().FindRecordsWithReferencedID(std::string(message.collection),
                                                     std::string(message.recordType),
                                                     std::string(Keys::QueryID), queryID, 0, kNoLimit);
}

void DeleteResults(const std::vector<Record>& results) {
    for (std::size_t begin = 0; begin < results.size(); begin += kMostDeletedAtOnce) {
        std::vector<std::string> ids;
        const std::size_t end = std::min(results.size(), begin + kMostDeletedAtOnce);
        for (std::size_t place = begin; place < end; ++place) {
            ids.push_back(results[place].recordID);
        }
        // The answer is the same where they could not be deleted.
        static_cast<void>(ObjectStore().DeleteMany(ids));
    }
}

std::vector<std::string> TakeResults(const FindMessage& message, const CoreServices::Parameters& request) {
    const std::string queryID = RequestedString(request, Keys::QueryID);
    return ObjectStore().TakeDataWithReferencedID(std::string(message.collection),
                                                  std::string(message.recordType), std::string(Keys::QueryID),
                                                  queryID);
}

}  // namespace Weftline::Services::Scheduler
