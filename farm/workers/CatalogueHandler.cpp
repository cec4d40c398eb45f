#include "farm/workers/CatalogueHandler.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"

namespace Quillon::Farm {

using CoreServices::Parameters;

CatalogueHandler::CatalogueHandler(const CataloguesPointer& owner, const Catalogue Catalogues::*catalogue)
    : m_pCatalogue(owner, &((*owner).*catalogue)) {}

Parameters CatalogueHandler::HandleMessageV2(
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
