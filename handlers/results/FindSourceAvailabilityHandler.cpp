#include "handlers/results/FindSourceAvailabilityHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/results/QueryResults.h"
#include "handlers/results/ResultsArray.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;

namespace {

constexpr ResultKind kKind{Collections::SourceAvailabilities, RecordTypes::SourceAvailability};

}  // namespace

RegistrationParams FindSourceAvailabilityHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findSourceAvailability")
        .SetDescription("Find Source Availability result")
        .SetRESTPath("findSourceAvailability")
        .AddExample({"Find Source Availability result by ID obtained via submitSourceAvailabilityQuery",
                     TreeOf({{Keys::QueryID, kExampleQueryID}})})
        .GetResult();
}

Parameters FindSourceAvailabilityHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    return FetchResultsArray(kKind, Keys::Results, request);
}

}  // namespace Weftline::Services::Scheduler
