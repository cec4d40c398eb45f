#include "FindPrincipalHandler.h"

#include <utility>

#include "FarmRequests.h"
#include "HandlerErrors.h"
#include "RegParamsBuilder.h"
#include "Vocabulary.h"

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

FindPrincipalHandler::FindPrincipalHandler(std::map<std::string, std::string> displayNamesById)
    : m_displayNamesById(std::move(displayNamesById)) {}

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
    const auto found = m_displayNamesById.find(id);
    if (found == m_displayNamesById.end()) {
        throw PlatformAbstraction::Messaging::ResourceNotFoundHandlerError("There is no principal \"" + id +
                                                                           "\".");
    }
    Parameters entity;
    entity.SetParameter(Keys::Id, found->first);
    entity.SetParameter(Keys::DisplayName, found->second);
    return Entity(std::move(entity));
}

}  // namespace Quillon::Farm
