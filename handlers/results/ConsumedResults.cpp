#include "handlers/results/ConsumedResults.h"

#include <cstddef>
#include <exception>
#include <future>
#include <string>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/BlockingRegion.h"

namespace Weftline::Services::Scheduler {

using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

// From here on the deletion takes long enough to be worth a thread.
constexpr std::size_t kManyResults = 500;

// As if the deletion came first: its failure counts before that of the answer, and nothing is said until it
// is through.
void DeleteWhileAnswering(const std::vector<Record>& results, ServiceMessageResponse& response,
                          const AnswerFromResults& answer) {
    std::future<void> deletion = std::async([&results] { DeleteResults(results); });
    ServiceMessageResponse prepared;
    std::exception_ptr failure;
    try {
        answer(results, prepared);
    } catch (...) {
        failure = std::current_exception();
    }
    {
        const PlatformAbstraction::BlockingRegion blocking(PlatformAbstraction::Wait::Disk);
        deletion.get();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    response = std::move(prepared);
}

}  // namespace

bool RespondWithConsumedResults(const ResultKind& kind, const CoreServices::Parameters& request,
                                ServiceMessageResponse& response, const AnswerFromResults& answer) {
    try {
        const std::vector<Record> results = FindResults(kind, request);
        if (results.empty()) {
            response.GetParameters().SetParameter(Keys::Status, AnswerStatus::Failed);
            response.RespondOK();
            return true;
        }
        if (results.size() < kManyResults) {
            DeleteResults(results);
            answer(results, response);
        } else {
            DeleteWhileAnswering(results, response, answer);
        }
    } catch (const std::exception& failure) {
        response.RespondGenericError(std::string("Exception: ") + failure.what());
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
