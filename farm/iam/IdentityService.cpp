#include "IdentityService.h"

#include <cstdint>
#include <map>
#include <utility>

#include "FindPrincipalHandler.h"
#include "Vocabulary.h"

namespace Quillon::Farm {

namespace {

constexpr std::int32_t kIdentityServiceVersion = 3;

}  // namespace

std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeIdentityService(
    const std::vector<Principal>& principals) {
    std::map<std::string, std::string> displayNamesById;
    for (const Principal& principal : principals) {
        displayNamesById.emplace(principal.identityId, principal.displayName);
    }
    auto service = std::make_shared<PlatformAbstraction::Messaging::ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::Identity),
                                 std::string(Weftline::Realms::Global), kIdentityServiceVersion);
    service->AddMessageHandlerV2(std::make_shared<FindPrincipalHandler>(std::move(displayNamesById)));
    return service;
}

}  // namespace Quillon::Farm
