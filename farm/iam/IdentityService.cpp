#include "farm/iam/IdentityService.h"

#include <cstdint>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/iam/FindPrincipalHandler.h"

namespace Quillon::Farm {

namespace {

constexpr std::int32_t kIdentityServiceVersion = 3;

}  // namespace

std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeIdentityService(
    std::shared_ptr<const PrincipalDirectory> principals) {
    auto service = std::make_shared<PlatformAbstraction::Messaging::ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::Identity),
                                 std::string(Weftline::Realms::Global), kIdentityServiceVersion);
    service->AddMessageHandlerV2(std::make_shared<FindPrincipalHandler>(std::move(principals)));
    return service;
}

}  // namespace Quillon::Farm
