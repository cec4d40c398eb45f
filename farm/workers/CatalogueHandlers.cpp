#include "farm/workers/CatalogueHandlers.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/messaging/RegistrationParams.h"

namespace Quillon::Farm {

using CoreServices::Parameters;

CatalogueHandlerBase::CatalogueHandlerBase(const CatalogueMessage& message,
                                           const std::shared_ptr<const Catalogues>& owner)
    : m_message(message), m_pCatalogue(owner, &((*owner).*message.catalogue)) {}

PlatformAbstraction::RegistrationParams CatalogueHandlerBase::GetRegistrationParams() const {
    const std::string entries(m_message.entries);
    Parameters example;
    std::visit([&](const auto& value) { example.SetParameter(m_message.example.key, value); },
               m_message.example.value);
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(m_message.name))
        .SetDescription("Lists the " + entries + " of the farm")
        .AddExample({entries + " by " + std::string(m_message.example.criterion), std::move(example)})
        .GetResult();
}

Parameters CatalogueHandlerBase::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    const CatalogueKind& kind = m_pCatalogue->GetKind();
    std::vector<Parameters> found = m_pCatalogue->Find(request);
    const auto count = static_cast<std::int32_t>(found.size());
    Parameters results;
    results.AddEmptyArray(kind.listKey);
    for (Parameters& entry : found) {
        results.AddArrayChildParameters(kind.listKey, std::move(entry));
    }
    results.SetParameter(kind.countKey, count);
    Parameters answer;
    answer.SetChildParameters(Weftline::Keys::Results, std::move(results));
    return answer;
}

}  // namespace Quillon::Farm
