#include "handlers/results/FindMobIDsFromContainerHandler.h"

#include <utility>

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

constexpr ResultKind kKind{Collections::MobIDs, RecordTypes::MobID};

}  // namespace

FindMobIDsFromContainerHandler::FindMobIDsFromContainerHandler(std::string realm)
    : m_realm(std::move(realm)) {}

RegistrationParams FindMobIDsFromContainerHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findMobIDsFromContainer")
        .SetDescription("Find MobIDsFromContainer result")
        .SetRESTPath("findMobIDsFromContainer")
        .AddExample({"Find MobIDsFromContainer result by ID obtained via submitMobIDsFromContainerQuery",
                     TreeOf({{Keys::QueryID, kExampleQueryID}})})
        .GetResult();
}

Parameters FindMobIDsFromContainerHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    return FetchResultsArray(kKind, Keys::Results, request);
}

}  // namespace Weftline::Services::Scheduler
