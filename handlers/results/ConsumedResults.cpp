#include "ConsumedResults.h"

#include <exception>
#include <string>

#include "Vocabulary.h"

namespace Weftline::Services::Scheduler {

using PlatformAbstraction::Messaging::ServiceMessageResponse;

bool RespondWithConsumedResults(const ResultKind& kind, const CoreServices::Parameters& request,
                                ServiceMessageResponse& response, const AnswerFromResults& answer) {
    try {
        const std::vector<Record> results = FindResults(kind, request);
        if (results.empty()) {
            response.GetParameters().SetParameter(Keys::Status, AnswerStatus::Failed);
            response.RespondOK();
            return true;
        }
        DeleteResults(results);
        answer(results, response);
    } catch (const std::exception& failure) {
        response.RespondGenericError(std::string("Exception: ") + failure.what());
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
