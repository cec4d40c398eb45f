#pragma once

#include <memory>

#include "farm/workers/Catalogues.h"
#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

/// Answers one catalogue message with `results`: the list of the entries that meet the criteria of the
/// request, and their number. A derived class says which message and which catalogue. Constant after
/// construction.
class CatalogueHandler : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) final;

protected:
    using CataloguesPointer = std::shared_ptr<const Catalogues>;

    /// `catalogue` is one of `owner`'s.
    CatalogueHandler(const CataloguesPointer& owner, const Catalogue Catalogues::*catalogue);

private:
    const std::shared_ptr<const Catalogue> m_pCatalogue;
};

}  // namespace Quillon::Farm
