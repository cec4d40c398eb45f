#include "handlers/results/ResultsArray.h"

#include <vector>

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;

Parameters FetchResultsArray(const ResultKind& kind, std::string_view arrayKey, const Parameters& request) {
    const std::vector<Record> results = FindResults(kind, request);
    Parameters answer;
    answer.AddEmptyArray(arrayKey);
    for (const Record& result : results) {
        answer.AddArrayChildParameters(arrayKey, Parameters::fromJSON(result.recordData));
    }
    DeleteResults(results);
    return answer;
}

}  // namespace Weftline::Services::Scheduler
