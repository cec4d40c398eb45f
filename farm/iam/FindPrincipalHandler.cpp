#include "farm/iam/FindPrincipalHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
namespace Keys = Weftline::Keys;

namespace {

Parameters Entity(Parameters entity) {
    Parameters tree;
    tree.SetChildParameters(Keys::Entity, std::move(entity));
    return tree;
}

Parameters ExampleRequest() {
    Parameters entity;
    entity.SetParameter(Keys::Id, "u-17");
    return Entity(std::move(entity));
}

}  // namespace

FindPrincipalHandler::FindPrincipalHandler(std::shared_ptr<const PrincipalDirectory> principals)
    : m_pPrincipals(std::move(principals)) {}

RegistrationParams FindPrincipalHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::FindPrincipal))
        .SetDescription("Tells the display name of a principal")
        .AddExample({"find a principal by id", ExampleRequest()})
        .GetResult();
}

Parameters FindPrincipalHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    const auto id = RequiredValue<std::string>(request.GetChildParameters(Keys::Entity), Keys::Id);
    const auto displayName = m_pPrincipals->FindDisplayName(id);
    if (!displayName) {
        throw PlatformAbstraction::Messaging::ResourceNotFoundHandlerError("There is no principal \"" + id +
                                                                           "\".");
    }
    Parameters entity;
    entity.SetParameter(Keys::Id, id);
    entity.SetParameter(Keys::DisplayName, *displayName);
    return Entity(std::move(entity));
}

}  // namespace Quillon::Farm
