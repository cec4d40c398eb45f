#include "farm/iam/IdentityService.h"

#include <cstdint>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using PlatformAbstraction::MutexLock;
using PlatformAbstraction::Messaging::ServiceInfo;
namespace Keys = Weftline::Keys;

namespace {

constexpr std::int32_t kIdentityServiceVersion = 3;

Parameters Entity(Parameters entity) {
    Parameters tree;
    tree.SetChildParameters(Keys::Entity, std::move(entity));
    return tree;
}

/// Answers `entity`.`id` with `entity`: that `id`, and the `displayName` that goes with it. An id that nobody
/// has is an error. Constant after construction.
class FindPrincipalHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit FindPrincipalHandler(std::shared_ptr<const PrincipalDirectory> principals)
        : m_pPrincipals(std::move(principals)) {}

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override {
        Parameters entity;
        entity.SetParameter(Keys::Id, "u-17");
        return PlatformAbstraction::RegParamsBuilder()
            .SetName(std::string(Weftline::Operations::FindPrincipal))
            .SetDescription("Tells the display name of a principal")
            .AddExample({"find a principal by id", Entity(std::move(entity))})
            .GetResult();
    }

    Parameters HandleMessageV2(
        const Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) override {
        const auto id = RequiredValue<std::string>(request.GetChildParameters(Keys::Entity), Keys::Id);
        const auto displayName = m_pPrincipals->FindDisplayName(id);
        if (!displayName) {
            throw PlatformAbstraction::Messaging::ResourceNotFoundHandlerError("There is no principal \"" +
                                                                               id + "\".");
        }
        Parameters entity;
        entity.SetParameter(Keys::Id, id);
        entity.SetParameter(Keys::DisplayName, *displayName);
        return Entity(std::move(entity));
    }

private:
    const std::shared_ptr<const PrincipalDirectory> m_pPrincipals;
};

}  // namespace

void PrincipalDirectory::Replace(const std::vector<Principal>& principals) {
    std::map<std::string, std::string> displayNamesById;
    for (const Principal& principal : principals) {
        displayNamesById.emplace(principal.identityId, principal.displayName);
    }
    const MutexLock lock(m_mutex);
    m_displayNamesById.swap(displayNamesById);
}

std::optional<std::string> PrincipalDirectory::FindDisplayName(const std::string& identityId) const {
    const MutexLock lock(m_mutex);
    const auto found = m_displayNamesById.find(identityId);
    return found == m_displayNamesById.end() ? std::nullopt : std::optional(found->second);
}

std::shared_ptr<ServiceInfo> MakeIdentityService(std::shared_ptr<const PrincipalDirectory> principals) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::Identity),
                                 std::string(Weftline::Realms::Global), kIdentityServiceVersion);
    service->AddMessageHandlerV2(std::make_shared<FindPrincipalHandler>(std::move(principals)));
    return service;
}

}  // namespace Quillon::Farm
