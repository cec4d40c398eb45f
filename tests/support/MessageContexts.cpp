#include "MessageContexts.h"

#include <utility>

namespace TestSupport {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::MessageContext;

std::shared_ptr<MessageContext> MakeAnonymousContext(std::shared_ptr<BusMessaging> messaging) {
    return std::make_shared<MessageContext>(Parameters(), std::move(messaging));
}

std::shared_ptr<MessageContext> MakeContextOf(const std::string& identityId,
                                              std::shared_ptr<BusMessaging> messaging) {
    Parameters identity;
    identity.SetParameter("identityId", identityId);
    Parameters context;
    context.SetChildParameters("identity", identity);
    Parameters contextParameters;
    contextParameters.SetChildParameters("context", context);
    contextParameters.SetChildParameters("identity", identity);
    return std::make_shared<MessageContext>(contextParameters, std::move(messaging));
}

}  // namespace TestSupport
