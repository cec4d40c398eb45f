#include "handlers/results/QueryResults.h"

#include <vector>

#include "Core/src/Vocabulary.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;

constexpr QueryResults kSourceAvailabilityResults{
    .message = {.name = "findSourceAvailability",
                .description = "Find Source Availability result",
                .example = "Find Source Availability result by ID obtained via submitSourceAvailabilityQuery",
                .pagedExample = {},
                .collection = Collections::SourceAvailabilities,
                .recordType = RecordTypes::SourceAvailability},
    .arrayKey = Keys::Results,
};

constexpr QueryResults kMobIDsFromContainerResults{
    .message = {.name = "findMobIDsFromContainer",
                .description = "Find MobIDsFromContainer result",
                .example =
                    "Find MobIDsFromContainer result by ID obtained via submitMobIDsFromContainerQuery",
                .pagedExample = {},
                .collection = Collections::MobIDs,
                .recordType = RecordTypes::MobID},
    .arrayKey = Keys::Results,
};

constexpr QueryResults kSuitableMastersResults{
    .message = {.name = "findSuitableMasters",
                .description = "Find Suitable Masters",
                .example = "Find Suitable Masters by ID obtained via submitSuitableMastersQuery",
                .pagedExample = {},
                .collection = Collections::MasterMobDescs,
                .recordType = RecordTypes::MasterMobDesc},
    .arrayKey = Keys::MasterMobDescs,
};

Parameters FetchQueryResults(const QueryResults& row, const Parameters& request) {
    const std::vector<Record> records = FindResults(row.message, request);
    Parameters answer;
    answer.AddEmptyArray(row.arrayKey);
    for (const Record& record : records) {
        answer.AddArrayChildParameters(row.arrayKey, Parameters::fromJSON(record.recordData));
    }
    DeleteResults(records);
    return answer;
}

}  // namespace Weftline::Services::Scheduler
