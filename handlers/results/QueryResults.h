#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "handlers/results/FindMessage.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// A find message that hands results back as they are stored, in a tree with the one array `arrayKey`, empty
/// where there are no results.
struct QueryResults {
    FindMessage message;
    std::string_view arrayKey;
};

extern const QueryResults kSourceAvailabilityResults;
extern const QueryResults kMobIDsFromContainerResults;
extern const QueryResults kSuitableMastersResults;

/// The results are deleted once the answer is built, so that a fetch that failed before can be tried again.
/// Fails by throwing.
CoreServices::Parameters FetchQueryResults(const QueryResults& row, const CoreServices::Parameters& request);

template <const QueryResults& kRow>
class FindQueryResultsHandler : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const final {
        return DescribeFindMessage(kRow.message);
    }
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) final {
        return FetchQueryResults(kRow, request);
    }
};

using FindSourceAvailabilityHandler = FindQueryResultsHandler<kSourceAvailabilityResults>;
using FindSuitableMastersHandler = FindQueryResultsHandler<kSuitableMastersResults>;

class FindMobIDsFromContainerHandler final : public FindQueryResultsHandler<kMobIDsFromContainerResults> {
public:
    explicit FindMobIDsFromContainerHandler(std::string realm) : m_realm(std::move(realm)) {}

private:
    const std::string m_realm;  // where the service is registered; the store knows no realms
};

}  // namespace Weftline::Services::Scheduler
