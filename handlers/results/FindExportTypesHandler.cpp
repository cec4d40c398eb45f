#include "handlers/results/FindExportTypesHandler.h"

#include <cstdint>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "handlers/results/ConsumedResults.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr ResultKind kKind{Collections::ExportTypes, RecordTypes::ExportType};

// Many workers report the same types. Texts that are equal byte for byte fold into one, and the order is that
// of their bytes, whoever wrote first.
Parameters MakeAnswer(const std::vector<Record>& results) {
    std::set<std::string_view> texts;
    for (const Record& result : results) {
        texts.insert(result.recordData);
    }
    Parameters answer;
    for (const std::string_view text : texts) {
        answer.AddArrayChildParameters(Keys::ExportTypesList, Parameters::fromJSON(text));
    }
    answer.SetParameter(Keys::FoundExportTypes, static_cast<std::int32_t>(texts.size()));
    answer.SetParameter(Keys::Status, AnswerStatus::Completed);
    return answer;
}

}  // namespace

FindExportTypesHandler::FindExportTypesHandler(std::string realm) : m_realm(std::move(realm)) {}

RegistrationParams FindExportTypesHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findExportTypes")
        .SetDescription("Find Specific Export Types")
        .SetRESTPath("findExportTypes")
        .AddExample({"Find Export types by ID obtained via submitExportQuery",
                     TreeOf({{Keys::QueryID, kExampleQueryID}})})
        .GetResult();
}

bool FindExportTypesHandler::HandleMessage(std::shared_ptr<MessageContext> /*context*/,
                                           const Parameters& request, ServiceMessageResponse& response) {
    const auto answer = [](const std::vector<Record>& results, ServiceMessageResponse& with) {
        with.AssignParameters(MakeAnswer(results));
        with.RespondOK();
    };
    return RespondWithConsumedResults(kKind, request, response, answer);
}

}  // namespace Weftline::Services::Scheduler
