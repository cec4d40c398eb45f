#include "handlers/results/FindSuitableMastersHandler.h"

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

constexpr ResultKind kKind{Collections::MasterMobDescs, RecordTypes::MasterMobDesc};

}  // namespace

RegistrationParams FindSuitableMastersHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findSuitableMasters")
        .SetDescription("Find Suitable Masters")
        .SetRESTPath("findSuitableMasters")
        .AddExample({"Find Suitable Masters by ID obtained via submitSuitableMastersQuery",
                     TreeOf({{Keys::QueryID, kExampleQueryID}})})
        .GetResult();
}

Parameters FindSuitableMastersHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    return FetchResultsArray(kKind, Keys::MasterMobDescs, request);
}

}  // namespace Weftline::Services::Scheduler
