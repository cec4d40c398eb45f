#include "FindMobIDsFromContainerHandler.h"

#include <utility>

#include "QueryResults.h"
#include "RegParamsBuilder.h"
#include "ResultsArray.h"
#include "SubmissionRegistration.h"
#include "Vocabulary.h"

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
